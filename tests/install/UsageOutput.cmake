# SPDX-License-Identifier: MIT

# What the README's usage example prints: the fitted quarter circle of radius 10 has the
# length 5 pi = 15.708 and passes (7.071, 7.071, 0) at its middle, to within the fit's 0.01.
set(YDNURBS_USAGE_OUTPUT
    "^[0-9]+ control points, length 15\\.7[01][0-9], C\\(0\\.5\\) = \\(7\\.0[67][0-9], 7\\.0[67][0-9], -?0\\.000\\)")
