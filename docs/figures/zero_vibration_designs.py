# SPDX-License-Identifier: Apache-2.0
# Impulses and residuals of the designs without vibration at the mode.
from design_panels import MODE, draw
from velmora import shaping

draw({"ZV": shaping.zv(MODE), "MZV": shaping.mzv(MODE), "ZVD": shaping.zvd(MODE), "ZVDD": shaping.zvdd(MODE)})
