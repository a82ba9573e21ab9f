# SPDX-License-Identifier: Apache-2.0
# Impulses and residuals of the designs with negative impulses, also where other modes of the machine may lie.
from design_panels import MODE, draw
from velmora import shaping

draw(
    {"ZV": shaping.zv(MODE), "UM-ZV": shaping.um_zv(MODE), "UM-ZVD": shaping.um_zvd(MODE)}, ratios=(0.0, 5.0), most=3.5
)
