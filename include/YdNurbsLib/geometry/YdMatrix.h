#pragma once

#include <vector>

#include "YdNurbsLib/YdNurbsLibExport.h"
#include "YdNurbsLib/geometry/YdPoint.h"
#include "YdNurbsLib/geometry/YdVector.h"

struct YdMatrixTestAccess;

/// A heap-allocated dense row-major matrix of doubles with two LU factor/solve pairs (never to
/// be mixed), an inverse, a banded normal-matrix product, a Jacobi eigen-solver and 3 x 3
/// rotation factories. Matrices apply to column vectors; a 4 x 4 transform keeps its
/// translation in column 3.
///
/// Member names across this library are part of the exported interface and are kept letter
/// for letter, irregular spellings included; do not rename them.
class YDNURBSLIB_EXPORT YdMatrix {
  public:
    YdMatrix();
    YdMatrix(int rows, int cols);
    YdMatrix(const YdMatrix& m);
    ~YdMatrix();
    YdMatrix& operator=(const YdMatrix& m);

    int GetRow() const { return m_nRow; }
    int GetCol() const { return m_nCol; }
    double* operator[](int i) const { return m_ppRow[i]; }

    YdMatrix operator+(const YdMatrix& b);
    YdMatrix operator*(double s);

    void Set(int rows, int cols, double* data);
    void SetIdentity();
    bool IsIdentity() const;
    void Transpose();
    void ToArray(double* const out) const;

    bool LUDecompose();
    bool GetSolutionAfterLUDecompose(double* b, double* x);
    bool GetSolutionAfterLUDecompose(const std::vector<YdPoint>& b, std::vector<YdPoint>& x);

    bool LUDecompose(std::vector<int>& pivots);
    bool GetSolutionAfterLUDecompose(const std::vector<int>& pivots, double* b);
    bool GetSolutionAfterLUDecompose(const std::vector<int>& pivots, std::vector<YdPoint>& b);

    bool Inverse();
    YdMatrix GetNormalMatrix(int* first, int* last, double* maxAbs);
    bool JacobiEigen(double* const values, YdMatrix& vectors) const;

    static YdMatrix s_GetRotationMatrix(const YdVector& axis, double angle);
    static YdMatrix s_GetRotationMatrix(const YdVector& from, const YdVector& to);

  private:
    friend struct YdMatrixTestAccess;

    int m_nRow;
    int m_nCol;
    double* m_pData;
    double** m_ppRow;
};

YDNURBSLIB_EXPORT YdPoint operator*(const YdMatrix& m, const YdPoint& p);
YDNURBSLIB_EXPORT YdVector operator*(const YdMatrix& m, const YdVector& v);
YDNURBSLIB_EXPORT YdMatrix operator*(const YdMatrix& a, const YdMatrix& b);
