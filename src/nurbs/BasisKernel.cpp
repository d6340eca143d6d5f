// SPDX-License-Identifier: MIT

// Reference: the Cox-de Boor recurrence for basis functions and their derivatives (Piegl and
// Tiller, The NURBS Book, 2nd ed., algorithm A2.3), instantiated for the common degrees.

#include "BasisKernel.h"

namespace yd_detail {

void BasisDersOnSpan(const double* U, int span, int p, int nd, double u, double* scratch,
                     double* out) {
    // The usual degrees get their own unrolled copy; the arithmetic is the template's in
    // every case.
    switch (p) {
        case 1:
            BasisDersOnSpanT<1>(U, span, p, nd, u, scratch, out);
            return;
        case 2:
            BasisDersOnSpanT<2>(U, span, p, nd, u, scratch, out);
            return;
        case 3:
            BasisDersOnSpanT<3>(U, span, p, nd, u, scratch, out);
            return;
        case 4:
            BasisDersOnSpanT<4>(U, span, p, nd, u, scratch, out);
            return;
        case 5:
            BasisDersOnSpanT<5>(U, span, p, nd, u, scratch, out);
            return;
        default:
            BasisDersOnSpanT<-1>(U, span, p, nd, u, scratch, out);
            return;
    }
}

}  // namespace yd_detail
