// The smooth ramp, of a number or of every element of an array.
// SPDX-License-Identifier: Apache-2.0
#include "velmora/util/smootherstep.hpp"

#include <nanobind/nanobind.h>
#include <nanobind/ndarray.h>

#include <algorithm>

#include "conversions.hpp"
#include "register.hpp"

namespace velmora::python {
namespace {

constexpr const char* kDocstring =
    R"doc(Quintic ramp 6 x^5 - 15 x^4 + 10 x^3, flat to the second derivative at both ends.

Parameters
----------
unit_progress : float or array_like of float
    Progress along the ramp, finite, of any shape; clamped to [0, 1], where -0.0 stays -0.0.

Returns
-------
float or numpy.ndarray
    Value of the ramp from 0 to 1, in the shape of `unit_progress`; an array is read-only.

Raises
------
InvalidArgumentError
    "unit_progress must be finite", with argument name "unit_progress".
TypeError, ValueError
    For anything but real numbers; the message names the argument.

Notes
-----
Linear in the number of elements. Any number of threads may call it at once. The ramp is that of K. Perlin, "Improving
noise", ACM Transactions on Graphics 21 (2002).

Examples
--------
>>> import velmora as vm
>>> vm.smootherstep(0.25)
0.103515625
>>> vm.smootherstep([-1.0, 0.5, 2.0])
array([0. , 0.5, 1. ])
)doc";

nb::object Ramp(nb::handle unit_progress) {
  if (PyFloat_Check(unit_progress.ptr()) || PyLong_Check(unit_progress.ptr())) {
    return nb::cast(util::Smootherstep(ToDouble(unit_progress, "unit_progress")));
  }
  const nb::object array = ToFloatArray(unit_progress, "unit_progress");
  const nb::object shape = array.attr("shape");
  if (nb::len(shape) == 0) return nb::cast(util::Smootherstep(nb::cast<double>(array.attr("item")())));
  Vector values = ToVector(array.attr("reshape")(-1), "unit_progress");
  {
    const nb::gil_scoped_release unlocked;
    std::transform(values.begin(), values.end(), values.begin(), &util::Smootherstep);
  }
  return ToArray(std::move(values)).attr("reshape")(shape);
}

}  // namespace

void RegisterSmootherstep(nb::module_& module) {
  module.def("smootherstep", &Ramp, nb::arg("unit_progress").none(),
             nb::sig("def smootherstep(unit_progress: velmora._typing.Real) -> float"), kDocstring);
}

}  // namespace velmora::python
