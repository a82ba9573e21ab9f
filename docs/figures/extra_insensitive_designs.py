# SPDX-License-Identifier: Apache-2.0
# Impulses and residuals of the designs that spend a tolerance on the width of their band.
from design_panels import MODE, draw
from velmora import shaping

TOLERANCE = 0.05
draw(
    {
        "EI": shaping.ei(MODE, TOLERANCE),
        "two humps": shaping.two_hump_ei(MODE, TOLERANCE),
        "three humps": shaping.three_hump_ei(MODE, TOLERANCE),
    },
    ratios=(0.4, 1.6),
    most=0.2,
    tolerance=TOLERANCE,
)
