// SPDX-License-Identifier: MIT

// Reference: Gauss-Legendre quadrature on [-1, 1]: the abscissae and weights of the 2- to 11-point
// rules to 12 significant digits (Abramowitz and Stegun, Handbook of Mathematical Functions, table
// 25.4).

#include <cstddef>

#include "../geometry/IndexCast.h"
#include "YdNurbsLib/nurbs/YdNurbsHelper.h"

using yd_detail::idx;

namespace {

// Gauss-Legendre rules on [-1, 1] with 2 to 11 points: abscissae ascending, weights in the
// same order, each the exact value rounded to 12 significant digits. Lengths and fairing
// energies are expected to match those made with these very digits, so the table is kept as
// constants rather than computed (more precisely) at run time.
constexpr double kNodes2[2] = {-0.57735026919, 0.57735026919};
constexpr double kWeights2[2] = {1.0, 1.0};
constexpr double kNodes3[3] = {-0.774596669241, 0.0, 0.774596669241};
constexpr double kWeights3[3] = {0.555555555556, 0.888888888889, 0.555555555556};
constexpr double kNodes4[4] = {-0.861136311594, -0.339981043585, 0.339981043585, 0.861136311594};
constexpr double kWeights4[4] = {0.347854845137, 0.652145154863, 0.652145154863, 0.347854845137};
constexpr double kNodes5[5] = {-0.906179845939, -0.538469310106, 0.0, 0.538469310106,
                               0.906179845939};
constexpr double kWeights5[5] = {0.236926885056, 0.478628670499, 0.568888888889, 0.478628670499,
                                 0.236926885056};
constexpr double kNodes6[6] = {-0.932469514203, -0.661209386466, -0.238619186083,
                               0.238619186083,  0.661209386466,  0.932469514203};
constexpr double kWeights6[6] = {0.171324492379, 0.360761573048, 0.467913934573,
                                 0.467913934573, 0.360761573048, 0.171324492379};
constexpr double kNodes7[7] = {-0.949107912343, -0.741531185599, -0.405845151377, 0.0,
                               0.405845151377,  0.741531185599,  0.949107912343};
constexpr double kWeights7[7] = {0.129484966169, 0.279705391489, 0.381830050505, 0.417959183673,
                                 0.381830050505, 0.279705391489, 0.129484966169};
constexpr double kNodes8[8] = {-0.960289856498, -0.796666477414, -0.525532409916, -0.183434642496,
                               0.183434642496,  0.525532409916,  0.796666477414,  0.960289856498};
constexpr double kWeights8[8] = {0.10122853629,  0.222381034453, 0.313706645878, 0.362683783378,
                                 0.362683783378, 0.313706645878, 0.222381034453, 0.10122853629};
constexpr double kNodes9[9] = {
    -0.968160239508, -0.836031107327, -0.613371432701, -0.324253423404, 0.0,
    0.324253423404,  0.613371432701,  0.836031107327,  0.968160239508};
constexpr double kWeights9[9] = {0.0812743883616, 0.180648160695, 0.260610696403,
                                 0.31234707704,   0.330239355001, 0.31234707704,
                                 0.260610696403,  0.180648160695, 0.0812743883616};
constexpr double kNodes10[10] = {-0.973906528517, -0.865063366689, -0.679409568299, -0.433395394129,
                                 -0.148874338982, 0.148874338982,  0.433395394129,  0.679409568299,
                                 0.865063366689,  0.973906528517};
constexpr double kWeights10[10] = {0.0666713443087, 0.149451349151, 0.219086362516, 0.26926671931,
                                   0.295524224715,  0.295524224715, 0.26926671931,  0.219086362516,
                                   0.149451349151,  0.0666713443087};
constexpr double kNodes11[11] = {
    -0.978228658146, -0.887062599768, -0.730152005574, -0.519096129207, -0.269543155952, 0.0,
    0.269543155952,  0.519096129207,  0.730152005574,  0.887062599768,  0.978228658146};
constexpr double kWeights11[11] = {0.0556685671162, 0.125580369465, 0.186290210928, 0.233193764592,
                                   0.26280454451,   0.272925086778, 0.26280454451,  0.233193764592,
                                   0.186290210928,  0.125580369465, 0.0556685671162};

struct GaussRule {
    const double* nodes;
    const double* weights;
};

// Indexed by point count.
constexpr GaussRule kRules[12] = {
    {nullptr, nullptr},   {nullptr, nullptr},   {kNodes2, kWeights2},   {kNodes3, kWeights3},
    {kNodes4, kWeights4}, {kNodes5, kWeights5}, {kNodes6, kWeights6},   {kNodes7, kWeights7},
    {kNodes8, kWeights8}, {kNodes9, kWeights9}, {kNodes10, kWeights10}, {kNodes11, kWeights11}};

}  // namespace

void YdNurbsHelper::GetGaussWeightsAndKnots(int order, std::vector<double>& nodes,
                                            std::vector<double>& weights) {
    // Below 2 the point count order / 2 + 1 would be 1 while the smallest rule has 2 points.
    if (order < 2) {
        order = 2;
    }
    const int count = order / 2 + 1;
    nodes.resize(idx(count));
    weights.resize(idx(count));
    // No rule above 11 points: the vectors are only sized, so fresh ones integrate to 0.
    if (count > 11) {
        return;
    }
    const GaussRule& rule = kRules[count];
    for (int i = 0; i < count; ++i) {
        nodes[idx(i)] = rule.nodes[i];
        weights[idx(i)] = rule.weights[i];
    }
}
