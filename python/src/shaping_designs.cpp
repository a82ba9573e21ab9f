// The designs of velmora.shaping: impulse sequences for one vibration mode.
// SPDX-License-Identifier: Apache-2.0
#include "velmora/shaping/designs.hpp"

#include <nanobind/nanobind.h>

#include <string>

#include "conversions.hpp"
#include "register.hpp"

namespace velmora::python {
namespace {

using shaping::ImpulseSequence;
using shaping::VibrationMode;

// What the docstrings of all designs have in common: the text of one, its extra parameters and errors, and a call for a
// mode of 2 Hz without damping, with the delays and amplitudes that it gives.
std::string Docstring(const char* text, const char* parameters, const char* errors, const char* source,
                      const char* call, const char* delays, const char* amplitudes) {
  return std::string(text) + R"(

Parameters
----------
mode : VibrationMode
    The mode that is to be left at rest.
)" + parameters +
         R"(
Returns
-------
ImpulseSequence
    The sequence; the same bits on every machine.

Raises
------
InvalidArgumentError
)" + errors +
         R"(    The messages of `ImpulseSequence`, for a mode so slow or so fast that its times leave the range of numbers.
TypeError, ValueError
    For arguments of another kind; the message names the argument.

Notes
-----
Any number of threads may call it at once. Source of the method:
)" + source +
         R"(

Examples
--------
>>> from velmora import shaping
>>> mode = shaping.VibrationMode(2.0, 0.0)
>>> sequence = shaping.)" +
         call + R"(
>>> sequence.times_s.round(3).tolist()
)" + delays +
         R"(
>>> sequence.amplitudes.round(3).tolist()
)" + amplitudes +
         "\n";
}

constexpr const char* kNone = "";
constexpr const char* kTolerance =
    "tolerance : float\n    Tolerated residual vibration as a share of the unshaped one, above 0 and below 1.\n";
constexpr const char* kExtraErrors =
    "    \"tolerance must be in (0, 1).\"; \"No sequence of this design was found for this damping_ratio and "
    "tolerance.\"\n";
constexpr const char* kUnityErrors = "    \"No sequence of this design was found for this damping_ratio.\"\n";
constexpr const char* kSinger =
    "N. C. Singer, W. P. Seering, \"Preshaping command inputs to reduce system vibration\", 1990.";
constexpr const char* kSinghose =
    "W. Singhose, W. Seering, N. Singer, \"Residual vibration reduction using vector diagrams\", 1994.";
constexpr const char* kHumps =
    "W. Singhose, L. Porter, T. Tuttle, N. Singer, \"Vibration reduction using multi-hump input shapers\", 1997.";
constexpr const char* kNegative = "W. Singhose, N. Singer, W. Seering, \"Time-optimal negative input shapers\", 1997.";
constexpr const char* kRobust = "J. Vaughan, A. Yano, W. Singhose, \"Comparison of robust input shapers\", 2008.";

template <ImpulseSequence (*kDesign)(const VibrationMode&)>
void AddDesign(nb::module_& module, const char* name, const std::string& docstring) {
  module.def(
      name, [](const VibrationMode& mode) { return kDesign(mode); }, nb::arg("mode"),
      nb::call_guard<nb::gil_scoped_release>(), docstring.c_str());
}

template <ImpulseSequence (*kDesign)(const VibrationMode&, double)>
void AddTolerantDesign(nb::module_& module, const char* name, const std::string& docstring) {
  module.def(
      name,
      [](const VibrationMode& mode, nb::handle tolerance) {
        const double given = ToDouble(tolerance, "tolerance");
        const nb::gil_scoped_release unlocked;
        return kDesign(mode, given);
      },
      nb::arg("mode"), nb::arg("tolerance").none(),
      nb::sig(("def " + std::string(name) + "(mode: VibrationMode, tolerance: velmora._typing.Real) -> ImpulseSequence")
                  .c_str()),
      docstring.c_str());
}

ImpulseSequence Specified(const VibrationMode& mode, nb::handle low_hz, nb::handle high_hz, nb::handle tolerance) {
  const double low = ToDouble(low_hz, "low_hz");
  const double high = ToDouble(high_hz, "high_hz");
  const double given = ToDouble(tolerance, "tolerance");
  const nb::gil_scoped_release unlocked;
  return shaping::SpecifiedInsensitivity(mode, low, high, given);
}

}  // namespace

void RegisterDesigns(nb::module_& module) {
  AddDesign<&shaping::Zv>(module, "zv",
                          Docstring("Zero vibration: two impulses half a damped period apart.", kNone, kNone, kSinger,
                                    "zv(mode)", "[0.0, 0.25]", "[0.5, 0.5]"));
  AddDesign<&shaping::Zvd>(module, "zvd",
                           Docstring("Zero vibration and derivative: three impulses that last one damped period.",
                                     kNone, kNone, kSinger, "zvd(mode)", "[0.0, 0.25, 0.5]", "[0.25, 0.5, 0.25]"));
  AddDesign<&shaping::Zvdd>(
      module, "zvdd",
      Docstring("Zero vibration and two derivatives: four impulses that last one and a half "
                "damped periods.",
                kNone, kNone, kSinger, "zvdd(mode)", "[0.0, 0.25, 0.5, 0.75]", "[0.125, 0.375, 0.375, 0.125]"));
  AddDesign<&shaping::Mzv>(module, "mzv",
                           Docstring("Zero vibration by three impulses 3/8 of a damped period apart.", kNone, kNone,
                                     kSinger, "mzv(mode)", "[0.0, 0.188, 0.375]", "[0.293, 0.414, 0.293]"));
  AddTolerantDesign<&shaping::Ei>(
      module, "ei",
      Docstring("Extra insensitive: the tolerance at the mode, where the residual is largest in between, and exactly "
                "zero on both sides.",
                kTolerance, kExtraErrors, kSinghose, "ei(mode, 0.05)", "[0.0, 0.25, 0.5]", "[0.262, 0.475, 0.262]"));
  AddTolerantDesign<&shaping::TwoHumpEi>(
      module, "two_hump_ei",
      Docstring("Two-hump extra insensitive: zero at the mode and on both sides, the tolerance on the humps between.",
                kTolerance, kExtraErrors, kHumps, "two_hump_ei(mode, 0.05)", "[0.0, 0.25, 0.5, 0.75]",
                "[0.16, 0.34, 0.34, 0.16]"));
  AddTolerantDesign<&shaping::ThreeHumpEi>(
      module, "three_hump_ei",
      Docstring("Three-hump extra insensitive: the tolerance at the mode and on a hump on either side of it.",
                kTolerance, kExtraErrors, kHumps, "three_hump_ei(mode, 0.05)", "[0.0, 0.25, 0.5, 0.75, 1.0]",
                "[0.112, 0.238, 0.3, 0.238, 0.112]"));
  AddDesign<&shaping::UmZv>(
      module, "um_zv",
      Docstring("Unity-magnitude zero vibration: amplitudes 1, -1, 1. Shorter than `zv`, but a shaped command may "
                "exceed\nthe raw one's velocities and accelerations up to 3 times.",
                kNone, kUnityErrors, kNegative, "um_zv(mode)", "[0.0, 0.083, 0.167]", "[1.0, -1.0, 1.0]"));
  AddDesign<&shaping::UmZvd>(
      module, "um_zvd",
      Docstring("Unity-magnitude zero vibration and derivative: amplitudes 1, -1, 1, -1, 1. See `um_zv`; here up to 5 "
                "times.",
                kNone, kUnityErrors, kNegative, "um_zvd(mode)", "[0.0, 0.045, 0.183, 0.321, 0.366]",
                "[1.0, -1.0, 1.0, -1.0, 1.0]"));
  module.def("specified_insensitivity", &Specified, nb::arg("mode"), nb::arg("low_hz").none(),
             nb::arg("high_hz").none(), nb::arg("tolerance").none(),
             nb::sig("def specified_insensitivity(mode: VibrationMode, low_hz: velmora._typing.Real, high_hz: "
                     "velmora._typing.Real, tolerance: velmora._typing.Real) -> ImpulseSequence"),
             Docstring("Specified insensitivity: the shortest positive sequence that keeps the tolerance over a range "
                       "of frequencies.",
                       "low_hz, high_hz : float\n    The range, which holds the frequency of the mode.\n"
                       "tolerance : float\n    Tolerated residual vibration, from 1e-7 on and below 1.\n",
                       "    \"tolerance must be in (0, 1).\"; \"low_hz must be finite and positive.\"; \"high_hz must "
                       "be finite and\n    positive.\"; \"mode.frequency_hz must lie between low_hz and high_hz.\"; "
                       "\"high_hz must not exceed 4 times low_hz.\"; "
                       "\"No sequence of this design was\n    found for this range and tolerance.\"\n",
                       kRobust, "specified_insensitivity(mode, 1.6, 2.4, 0.05)", "[0.0, 0.239, 0.262, 0.262, 0.501]",
                       "[0.261, 0.239, 0.178, 0.061, 0.261]")
                 .c_str());
}

}  // namespace velmora::python
