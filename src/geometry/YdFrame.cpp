// SPDX-License-Identifier: MIT

// Reference: the frame of a point cloud by principal component analysis (the Jacobi
// eigen-decomposition of its covariance matrix); the rigid motion that carries one frame onto
// another.

#include "YdNurbsLib/geometry/YdFrame.h"

#include <cmath>
#include <cstddef>

YdFrame::YdFrame() : m_origin(0.0, 0.0, 0.0), m_dirX(), m_dirY(), m_dirZ() {}

YdFrame::YdFrame(const YdPoint& o, const YdVector& x, const YdVector& y) : m_origin(o) {
    SetFrame(x, y);
}

YdFrame& YdFrame::operator=(const YdFrame& f) {
    m_origin = f.m_origin;
    m_dirX = f.m_dirX;
    m_dirY = f.m_dirY;
    m_dirZ = f.m_dirZ;
    return *this;
}

void YdFrame::SetFrame(const YdVector& x, const YdVector& y) {
    m_dirX = x;
    m_dirX.Normalize();
    m_dirY = y;
    m_dirY.Normalize();
    m_dirZ = m_dirX * m_dirY;
    m_dirZ.Normalize();
}

bool YdFrame::operator==(const YdFrame& o) const {
    if (this == &o) {
        return true;
    }
    return m_origin == o.m_origin && m_dirX == o.m_dirX && m_dirY == o.m_dirY && m_dirZ == o.m_dirZ;
}

bool YdFrame::IsValid() const {
    return !m_dirZ.IsZero();
}

void YdFrame::Transform(const YdMatrix& m) {
    m_origin = m * m_origin;
    m_dirX = m * m_dirX;
    m_dirY = m * m_dirY;
    m_dirZ = m * m_dirZ;
    m_dirX.Normalize();
    m_dirY.Normalize();
    m_dirZ.Normalize();
}

YdMatrix YdFrame::GetTransformToNewFrame(const YdFrame& target) const {
    YdMatrix a(3, 3);
    YdMatrix b(3, 3);
    const YdVector* const mine[3] = {&m_dirX, &m_dirY, &m_dirZ};
    const YdVector* const theirs[3] = {&target.m_dirX, &target.m_dirY, &target.m_dirZ};
    for (int c = 0; c < 3; ++c) {
        for (int r = 0; r < 3; ++r) {
            a[r][c] = (*mine[c])[r];
            b[r][c] = (*theirs[c])[r];
        }
    }
    // A singular source frame leaves `a` as it is; the result is then meaningless, which the
    // contract states rather than reports.
    a.Inverse();
    const YdMatrix rot = b * a;

    const YdVector moved = rot * static_cast<YdVector>(m_origin);
    YdMatrix result(4, 4);
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 3; ++c) {
            result[r][c] = rot[r][c];
        }
        result[r][3] = target.m_origin[r] - moved[r];
    }
    result[3][3] = 1.0;
    return result;
}

YdFrame* YdFrame::CreateByPCA(const std::vector<YdPoint>& pts, bool sortAxes) {
    const std::size_t n = pts.size();
    if (n < 3) {
        return nullptr;
    }
    const double count = static_cast<double>(n);

    double cx = 0.0;
    double cy = 0.0;
    double cz = 0.0;
    for (const YdPoint& p : pts) {
        cx += p[0];
        cy += p[1];
        cz += p[2];
    }
    cx /= count;
    cy /= count;
    cz /= count;

    double xx = 0.0;
    double xy = 0.0;
    double xz = 0.0;
    double yy = 0.0;
    double yz = 0.0;
    double zz = 0.0;
    for (const YdPoint& p : pts) {
        const double dx = p[0] - cx;
        const double dy = p[1] - cy;
        const double dz = p[2] - cz;
        xx += dx * dx;
        xy += dx * dy;
        xz += dx * dz;
        yy += dy * dy;
        yz += dy * dz;
        zz += dz * dz;
    }
    // Population covariance: divided by n, not n - 1 (the axes do not depend on the choice,
    // the eigenvalues do, and they are what the sort compares).
    double cov[9] = {xx, xy, xz, xy, yy, yz, xz, yz, zz};
    for (double& v : cov) {
        v /= count;
    }

    YdMatrix m;
    m.Set(3, 3, cov);
    YdMatrix vecs(3, 3);
    double values[3] = {0.0, 0.0, 0.0};
    if (!m.JacobiEigen(values, vecs)) {
        return nullptr;
    }

    YdVector axes[3];
    for (int k = 0; k < 3; ++k) {
        axes[k] = YdVector(vecs[0][k], vecs[1][k], vecs[2][k]);
    }
    if (sortAxes) {
        for (int i = 0; i < 3; ++i) {
            for (int j = i + 1; j < 3; ++j) {
                if (std::fabs(values[i]) > std::fabs(values[j])) {
                    const double tv = values[i];
                    values[i] = values[j];
                    values[j] = tv;
                    const YdVector ta = axes[i];
                    axes[i] = axes[j];
                    axes[j] = ta;
                }
            }
        }
    }
    return new YdFrame(YdPoint(cx, cy, cz), axes[0], axes[1]);
}
