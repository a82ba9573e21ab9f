# SPDX-License-Identifier: Apache-2.0
# The shortest sequences for two ranges of frequency, and what they leave inside and outside of these.
from design_panels import MODE, draw
from velmora import shaping

TOLERANCE = 0.05
draw(
    {
        f"{low} to {high}": shaping.specified_insensitivity(MODE, low, high, TOLERANCE)
        for low, high in ((0.9, 1.1), (0.8, 1.2), (0.6, 1.4))
    },
    ratios=(0.4, 1.6),
    most=0.2,
    tolerance=TOLERANCE,
)
