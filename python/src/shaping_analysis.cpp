// What a sequence leaves of a vibration: residuals, sensitivity curves and the insensitivity.
// SPDX-License-Identifier: Apache-2.0
#include "velmora/shaping/analysis.hpp"

#include <nanobind/nanobind.h>

#include "conversions.hpp"
#include "records.hpp"
#include "register.hpp"

namespace velmora::python {
namespace {

using shaping::ImpulseSequence;
using shaping::InsensitivityBand;
using shaping::VibrationMode;

// clang-format off
constexpr const char* kResidualDocstring = R"(Return the residual vibration of a mode after a sequence, ``exp(-z w t_n) sqrt(C^2 + S^2)``.

Parameters
----------
sequence : ImpulseSequence
    The sequence.
mode : VibrationMode
    The machine's mode, which need not be the one that the sequence was designed for.

Returns
-------
float
    Amplitude at the end of the shaped command as a share of that at the end of the unshaped one: 0 for no vibration.

Raises
------
TypeError
    For arguments of other classes.

Notes
-----
Linear in the number of impulses. Any number of threads may call it at once. Source of the method: N. C. Singer,
W. P. Seering, "Preshaping command inputs to reduce system vibration", 1990.

Examples
--------
>>> from velmora import shaping
>>> sequence = shaping.zvd(shaping.VibrationMode(5.0, 0.0))
>>> round(shaping.residual_vibration(sequence, shaping.VibrationMode(5.5, 0.0)), 4)
0.0245
)";

constexpr const char* kOverFrequencyDocstring = R"(Return the residual vibration over frequency, all with the damping of a mode.

Parameters
----------
sequence : ImpulseSequence
    The sequence.
mode : VibrationMode
    Gives the damping ratio.
frequencies_hz : (F,) array_like of float
    Undamped natural frequencies in any order, finite and non-negative.

Returns
-------
(F,) numpy.ndarray
    Residual vibration at each of them.

Raises
------
InvalidArgumentError
    "frequencies_hz must be finite and non-negative."
TypeError, ValueError
    For arguments of another kind or number of dimensions; the message names the argument.

Notes
-----
Linear in F and the number of impulses. Any number of threads may call it at once.

Examples
--------
>>> from velmora import shaping
>>> mode = shaping.VibrationMode(2.0, 0.0)
>>> shaping.residual_over_frequency(shaping.zv(mode), mode, [1.8, 2.0, 2.2]).round(4).tolist()
[0.1564, 0.0, 0.1564]
)";

constexpr const char* kOverDampingDocstring = R"(Return the residual vibration over damping, all at the frequency of a mode.

Parameters
----------
sequence : ImpulseSequence
    The sequence.
mode : VibrationMode
    Gives the undamped natural frequency.
damping_ratios : (Z,) array_like of float
    Damping ratios in any order, at least 0 and below 1.

Returns
-------
(Z,) numpy.ndarray
    Residual vibration at each of them.

Raises
------
InvalidArgumentError
    "damping_ratios must be in [0, 1)."
TypeError, ValueError
    For arguments of another kind or number of dimensions; the message names the argument.

Notes
-----
Linear in Z and the number of impulses. Any number of threads may call it at once.

Examples
--------
>>> from velmora import shaping
>>> mode = shaping.VibrationMode(2.0, 0.0)
>>> shaping.residual_over_damping(shaping.zv(mode), mode, [0.0, 0.1]).round(4).tolist()
[0.0, 0.135]
)";

constexpr const char* kBandDocstring = R"(The connected band of frequencies in which a sequence keeps a tolerated residual.

Parameters
----------
low_hz, high_hz : float
    Ends of the band in Hz.
width : float
    ``(high_hz - low_hz) / f``, the insensitivity.

Examples
--------
>>> from velmora import shaping
>>> shaping.InsensitivityBand(4.0, 6.0, 0.4)
InsensitivityBand(low_hz=4.0, high_hz=6.0, width=0.4)
)";

constexpr const char* kInsensitivityDocstring = R"(Return the connected band of frequencies around a mode in which the residual is at most the tolerance.

A hump within the band belongs to it where it exceeds the tolerance by no more than a millionth of it: humps that are
designed to touch the tolerance do so up to roundings, and must not cut the band. With a hump that is higher the band ends
before it. The search ends at ten times the frequency of the mode.

Parameters
----------
sequence : ImpulseSequence
    The sequence.
mode : VibrationMode
    The mode in the band; its damping ratio holds for all of it.
tolerance : float
    Tolerated residual vibration, above 0 and below 1.

Returns
-------
InsensitivityBand
    The band; of width 0 where the residual of the mode itself is larger.

Raises
------
InvalidArgumentError
    "tolerance must be in (0, 1)."
TypeError, ValueError
    For arguments of another kind; the message names the argument.

Notes
-----
Any number of threads may call it at once. Source of the method: J. Vaughan, A. Yano, W. Singhose, "Comparison of robust
input shapers", 2008.

Examples
--------
>>> from velmora import shaping
>>> mode = shaping.VibrationMode(5.0, 0.0)
>>> round(shaping.insensitivity(shaping.zvd(mode), mode, 0.05).width, 3)
0.287
)";
// clang-format on

}  // namespace

void RegisterAnalysis(nb::module_& module) {
  nb::class_<InsensitivityBand> band(module, "InsensitivityBand", kBandDocstring);
  band.def(
          "__init__",
          [](InsensitivityBand* place, nb::handle low_hz, nb::handle high_hz, nb::handle width) {
            new (place)
                InsensitivityBand{ToDouble(low_hz, "low_hz"), ToDouble(high_hz, "high_hz"), ToDouble(width, "width")};
          },
          nb::arg("low_hz").none(), nb::arg("high_hz").none(), nb::arg("width").none(),
          nb::sig("def __init__(self, low_hz: velmora._typing.Real, high_hz: velmora._typing.Real, width: "
                  "velmora._typing.Real) -> None"))
      .def_prop_ro("low_hz", [](const InsensitivityBand& self) { return self.low_hz; })
      .def_prop_ro("high_hz", [](const InsensitivityBand& self) { return self.high_hz; })
      .def_prop_ro("width", [](const InsensitivityBand& self) { return self.width; })
      .def(
          "__eq__",
          [](const InsensitivityBand& a, const InsensitivityBand& b) {
            return a.low_hz == b.low_hz && a.high_hz == b.high_hz && a.width == b.width;
          },
          nb::is_operator(), nb::sig("def __eq__(self, other: object) -> bool"));
  AddRecordMethods(band, {"low_hz", "high_hz", "width"});

  module.def("residual_vibration", &shaping::ResidualVibration, nb::arg("sequence"), nb::arg("mode"),
             kResidualDocstring);
  module.def(
      "residual_over_frequency",
      [](const ImpulseSequence& sequence, const VibrationMode& mode, nb::handle frequencies_hz) {
        const Vector given = ToVector(frequencies_hz, "frequencies_hz");
        return ToArray(shaping::ResidualOverFrequency(sequence, mode, given));
      },
      nb::arg("sequence"), nb::arg("mode"), nb::arg("frequencies_hz").none(),
      nb::sig("def residual_over_frequency(sequence: ImpulseSequence, mode: VibrationMode, frequencies_hz: "
              "velmora._typing.VectorLike) -> velmora._typing.FloatArray"),
      kOverFrequencyDocstring);
  module.def(
      "residual_over_damping",
      [](const ImpulseSequence& sequence, const VibrationMode& mode, nb::handle damping_ratios) {
        const Vector given = ToVector(damping_ratios, "damping_ratios");
        return ToArray(shaping::ResidualOverDamping(sequence, mode, given));
      },
      nb::arg("sequence"), nb::arg("mode"), nb::arg("damping_ratios").none(),
      nb::sig("def residual_over_damping(sequence: ImpulseSequence, mode: VibrationMode, damping_ratios: "
              "velmora._typing.VectorLike) -> velmora._typing.FloatArray"),
      kOverDampingDocstring);
  module.def(
      "insensitivity",
      [](const ImpulseSequence& sequence, const VibrationMode& mode, nb::handle tolerance) {
        const double given = ToDouble(tolerance, "tolerance");
        const nb::gil_scoped_release unlocked;
        return shaping::Insensitivity(sequence, mode, given);
      },
      nb::arg("sequence"), nb::arg("mode"), nb::arg("tolerance").none(),
      nb::sig("def insensitivity(sequence: ImpulseSequence, mode: VibrationMode, tolerance: velmora._typing.Real) -> "
              "InsensitivityBand"),
      kInsensitivityDocstring);
}

}  // namespace velmora::python
