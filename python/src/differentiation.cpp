// Forward differences that keep one row per sample.
// SPDX-License-Identifier: Apache-2.0
#include "velmora/util/timing/differentiation.hpp"

#include <nanobind/nanobind.h>

#include "conversions.hpp"
#include "register.hpp"

namespace velmora::python {
namespace {

constexpr const char* kDocstring =
    R"doc(Forward difference that keeps one row per sample; the last row repeats the last difference.

Row i is ``(x[i + 1] - x[i]) / (t[i + 1] - t[i])``. One sample gives one row of zeros, no sample gives no row.

Parameters
----------
signal : (N, J) array_like of float
    A row per sample.
sample_spacing : float or (N,) array_like of float
    Seconds between samples, finite and positive; or the sample times in seconds, strictly increasing (the times
    themselves, not the gaps between them).

Returns
-------
(N, J) numpy.ndarray
    Differences per second, read-only.

Raises
------
InvalidArgumentError
    "sample_spacing must be finite and positive." for a number; "sample_spacing length must match signal samples." or
    "sample_spacing times must be strictly increasing." for times; none of them for one sample.
TypeError, ValueError
    For arguments that are no arrays of real numbers of these dimensions; the message names the argument.

Notes
-----
Linear in the number of elements. Any number of threads may call it at once. The first-order divided difference: e.g.
Quarteroni, Sacco, Saleri, "Numerical Mathematics", section 10.10.

Examples
--------
>>> import velmora as vm
>>> vm.sample_aligned_first_difference([[0.0], [1.0], [3.0]], 0.5)
array([[2.],
       [4.],
       [4.]])
)doc";

Matrix DifferenceUnlocked(const Matrix& signal, const std::variant<double, Vector>& sample_spacing) {
  const nb::gil_scoped_release unlocked;
  return std::visit([&](const auto& spacing) { return util::timing::SampleAlignedFirstDifference(signal, spacing); },
                    sample_spacing);
}

nb::object Difference(nb::handle signal, nb::handle sample_spacing) {
  const Matrix given_signal = ToMatrix(signal, "signal");
  const std::variant<double, Vector> given_spacing = ToDoubleOrVector(sample_spacing, "sample_spacing");
  return ToArray(DifferenceUnlocked(given_signal, given_spacing));
}

}  // namespace

void RegisterDifferentiation(nb::module_& module) {
  module.def("sample_aligned_first_difference", &Difference, nb::arg("signal").none(), nb::arg("sample_spacing").none(),
             nb::sig("def sample_aligned_first_difference(signal: velmora._typing.MatrixLike, sample_spacing: "
                     "velmora._typing.Real | velmora._typing.VectorLike) -> velmora._typing.FloatArray"),
             kDocstring);
}

}  // namespace velmora::python
