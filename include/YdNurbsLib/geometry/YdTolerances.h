// SPDX-License-Identifier: MIT

#pragma once

// The fixed tolerances of the geometric primitives. They are constants, not settings: hosts
// rely on results that do not change from one installation to the next. Every test against
// them is strict (less than) unless the member's comment says otherwise.

/// Row-scale and pivot threshold of the pivoted LU pair of YdMatrix.
inline constexpr double kTol1e10 = 1e-10;
/// Pivot threshold of the unpivoted LU pair of YdMatrix; off-diagonal bound of IsIdentity.
inline constexpr double kTol1e9 = 1e-9;
/// Parallel test of YdLineSeg::Intersect and YdLineSeg::IntersectNew.
inline constexpr double kTol1e8 = 1e-8;
/// Point equality, YdVector::IsZero, parallelism, degenerate lengths and containment.
inline constexpr double kTol1e7 = 1e-7;
/// Vector equality only: the single-precision 1e-7 widened to double. Kept on purpose, because
/// hosts rely on vector equality being a hair looser than point equality.
inline constexpr double kTol1e7f = 1.0000000116860974e-07;
/// Convergence bound of YdMatrix::JacobiEigen.
inline constexpr double kTol1e6 = 1e-6;

static_assert(kTol1e7f == static_cast<double>(1e-7f), "kTol1e7f is the widened float 1e-7");
