// Validation of the parameters that steer a vibration-shaping blend.
// SPDX-License-Identifier: Apache-2.0
#include "velmora/control/shaper/parameters.hpp"

#include <nanobind/nanobind.h>

#include "conversions.hpp"
#include "register.hpp"

namespace velmora::python {
namespace {

constexpr const char* kWeightDocstring =
    R"doc(Accept a share of the shaped trajectory from 0 (raw) to 1 (shaped), both included.

Parameters
----------
vibration_shaping_weight : float
    The share, without a unit.

Raises
------
InvalidArgumentError
    "vibration_shaping_weight must be in [0.0, 1.0]", also for NaN and infinities.
TypeError, ValueError
    For anything but a real number; the message names the argument.

Notes
-----
Takes constant time. Any number of threads may call it at once.

Examples
--------
>>> import velmora as vm
>>> vm.validate_vibration_shaping_weight(0.5)
>>> vm.validate_vibration_shaping_weight(1.5)
Traceback (most recent call last):
    ...
velmora._errors.InvalidArgumentError: vibration_shaping_weight must be in [0.0, 1.0]
)doc";

constexpr const char* kTransitionDocstring = R"doc(Accept the duration of a change of weight, zero included.

Parameters
----------
vibration_weight_transition_s : float
    The duration in seconds.

Raises
------
InvalidArgumentError
    "vibration_weight_transition_s must be non-negative", also for NaN and infinities.
TypeError, ValueError
    For anything but a real number; the message names the argument.

Notes
-----
Takes constant time. Any number of threads may call it at once.

Examples
--------
>>> import velmora as vm
>>> vm.validate_vibration_weight_transition_s(0.0)
>>> vm.validate_vibration_weight_transition_s(-0.1)
Traceback (most recent call last):
    ...
velmora._errors.InvalidArgumentError: vibration_weight_transition_s must be non-negative
)doc";

constexpr const char* kRateDocstring = R"doc(Accept a rate of change of weight above zero.

Parameters
----------
vibration_weight_rate_per_s : float
    The rate in 1/s.

Raises
------
InvalidArgumentError
    "vibration_weight_rate_per_s must be positive", also for NaN and infinities.
TypeError, ValueError
    For anything but a real number; the message names the argument.

Notes
-----
Takes constant time. Any number of threads may call it at once.

Examples
--------
>>> import velmora as vm
>>> vm.validate_vibration_weight_rate_per_s(2.0)
>>> vm.validate_vibration_weight_rate_per_s(0.0)
Traceback (most recent call last):
    ...
velmora._errors.InvalidArgumentError: vibration_weight_rate_per_s must be positive
)doc";

}  // namespace

void RegisterParameters(nb::module_& module) {
  using namespace control::shaper;
  module.def(
      "validate_vibration_shaping_weight",
      [](nb::handle value) { ValidateVibrationShapingWeight(ToDouble(value, "vibration_shaping_weight")); },
      nb::arg("vibration_shaping_weight").none(),
      nb::sig("def validate_vibration_shaping_weight(vibration_shaping_weight: velmora._typing.Real) -> None"),
      kWeightDocstring);
  module.def(
      "validate_vibration_weight_transition_s",
      [](nb::handle value) { ValidateVibrationWeightTransitionS(ToDouble(value, "vibration_weight_transition_s")); },
      nb::arg("vibration_weight_transition_s").none(),
      nb::sig(
          "def validate_vibration_weight_transition_s(vibration_weight_transition_s: velmora._typing.Real) -> None"),
      kTransitionDocstring);
  module.def(
      "validate_vibration_weight_rate_per_s",
      [](nb::handle value) { ValidateVibrationWeightRatePerS(ToDouble(value, "vibration_weight_rate_per_s")); },
      nb::arg("vibration_weight_rate_per_s").none(),
      nb::sig("def validate_vibration_weight_rate_per_s(vibration_weight_rate_per_s: velmora._typing.Real) -> None"),
      kRateDocstring);
}

}  // namespace velmora::python
