// SPDX-License-Identifier: MIT

#pragma once

// Umbrella header: every public header of the library.

#include "YdNurbsLib/YdNurbsLibExport.h"
#include "YdNurbsLib/curve/YdBSplineCurve.h"
#include "YdNurbsLib/filters/YdArcFitFilter.h"
#include "YdNurbsLib/filters/YdCurveFitFilter.h"
#include "YdNurbsLib/geometry/YdFrame.h"
#include "YdNurbsLib/geometry/YdLine.h"
#include "YdNurbsLib/geometry/YdLineSeg.h"
#include "YdNurbsLib/geometry/YdMatrix.h"
#include "YdNurbsLib/geometry/YdPoint.h"
#include "YdNurbsLib/geometry/YdSegment.h"
#include "YdNurbsLib/geometry/YdTolerances.h"
#include "YdNurbsLib/geometry/YdVector.h"
#include "YdNurbsLib/nurbs/YdKnotVec.h"
#include "YdNurbsLib/nurbs/YdNurbsHelper.h"
