// The class VibrationMode of velmora.shaping.
// SPDX-License-Identifier: Apache-2.0
#include "velmora/shaping/vibration_mode.hpp"

#include <nanobind/nanobind.h>

#include "conversions.hpp"
#include "records.hpp"
#include "register.hpp"

namespace velmora::python {
namespace {

using shaping::VibrationMode;

// clang-format off
constexpr const char* kDocstring = R"(One vibration mode of a machine: ``q'' + 2 z w q' + w^2 q = 0``.

Parameters
----------
frequency_hz : float
    Undamped natural frequency f in Hz, ``w = 2 pi f``; finite and positive.
damping_ratio : float
    Damping ratio z, at least 0 and below 1.

Attributes
----------
damped_frequency_hz : float
    Frequency of the free oscillation, ``f sqrt(1 - z^2)``.
damped_period_s : float
    Its period.
half_period_decay : float
    Share K of its amplitude that a free oscillation keeps over half a period, ``exp(-z pi / sqrt(1 - z^2))``.

Raises
------
InvalidArgumentError
    "VibrationMode.frequency_hz must be finite and positive.", then "VibrationMode.damping_ratio must be in [0, 1)."
TypeError, ValueError
    For arguments that are no real numbers; the message names the argument.

Notes
-----
Unchangeable, so that any number of threads may use it. It can be copied and pickled, and equals a mode of the same
values.

Examples
--------
>>> from velmora import shaping
>>> shaping.VibrationMode(4.0, 0.0).damped_period_s
0.25
)";
// clang-format on

}  // namespace

void RegisterVibrationMode(nb::module_& module) {
  nb::class_<VibrationMode> mode(module, "VibrationMode", kDocstring);
  mode.def(
          "__init__",
          [](VibrationMode* place, nb::handle frequency_hz, nb::handle damping_ratio) {
            new (place) VibrationMode(ToDouble(frequency_hz, "frequency_hz"), ToDouble(damping_ratio, "damping_ratio"));
          },
          nb::arg("frequency_hz").none(), nb::arg("damping_ratio").none(),
          nb::sig(
              "def __init__(self, frequency_hz: velmora._typing.Real, damping_ratio: velmora._typing.Real) -> None"))
      .def_prop_ro("frequency_hz", [](const VibrationMode& self) { return self.frequency_hz; })
      .def_prop_ro("damping_ratio", [](const VibrationMode& self) { return self.damping_ratio; })
      .def_prop_ro("damped_frequency_hz", &VibrationMode::damped_frequency_hz)
      .def_prop_ro("damped_period_s", &VibrationMode::damped_period_s)
      .def_prop_ro("half_period_decay", &VibrationMode::half_period_decay)
      .def(
          "__eq__",
          [](const VibrationMode& a, const VibrationMode& b) {
            return a.frequency_hz == b.frequency_hz && a.damping_ratio == b.damping_ratio;
          },
          nb::is_operator(), nb::sig("def __eq__(self, other: object) -> bool"));
  AddRecordMethods(mode, {"frequency_hz", "damping_ratio"});
}

}  // namespace velmora::python
