// Blending of raw and shaped sample arrays, and the arc length of a joint path.
// SPDX-License-Identifier: Apache-2.0
#include "velmora/control/shaper/blending.hpp"

#include <nanobind/nanobind.h>

#include "conversions.hpp"
#include "register.hpp"

namespace velmora::python {
namespace {

constexpr const char* kBlendDocstring =
    R"doc(Mix a raw array with its shaped counterpart: ``(1 - w) * raw + w * shaped``, element by element.

``w * shaped`` is rounded, then fused with ``(1 - w) * raw`` in one multiply-add. Under a weight that changes with
time, blended velocities are not the derivative of blended positions: the term "rate of the weight times (shaped - raw)"
is the caller's to add.

Parameters
----------
raw : (N, J) array_like of float
    The raw array.
shaped : (N, J) array_like of float
    Its shaped counterpart.
weight : float or (N,) array_like of float
    Share of the shaped array: one value, or one per sample. It is neither checked nor clamped; validate it first with
    `validate_vibration_shaping_weight`. NaN gives NaN, and 0 or 1 still multiplies the other array by zero.

Returns
-------
(N, J) numpy.ndarray
    The blend, read-only.

Raises
------
InvalidArgumentError
    "raw and shaped arrays must have the same shape", then "per-sample shaping weights must match the sample count".
TypeError, ValueError
    For arguments that are no arrays of real numbers of these dimensions; the message names the argument.

Notes
-----
Linear in the number of elements. Any number of threads may call it at once.

Examples
--------
>>> import velmora as vm
>>> vm.blend_arrays([[0.0], [0.0]], [[1.0], [4.0]], [0.5, 0.25])
array([[0.5],
       [1. ]])
)doc";

constexpr const char* kPathDocstring =
    R"doc(Cumulative arc length along a joint path: entry i is the length of the path from sample 0 to sample i.

It starts at 0, never falls, and is not normalised. Nothing is checked: a position that is not finite makes the entries
from its sample on not finite.

Parameters
----------
positions : (N, J) array_like of float
    A row per sample.

Returns
-------
(N,) numpy.ndarray
    Lengths in the unit of the positions, read-only.

Raises
------
TypeError, ValueError
    For anything but a two-dimensional array of real numbers; the message names the argument.

Notes
-----
Linear in the number of elements. Any number of threads may call it at once.

Examples
--------
>>> import velmora as vm
>>> vm.joint_path_coordinate([[0.0, 0.0], [3.0, 4.0], [3.0, 5.0]])
array([0., 5., 6.])
)doc";

Matrix BlendUnlocked(const Matrix& raw, const Matrix& shaped, const std::variant<double, Vector>& weight) {
  const nb::gil_scoped_release unlocked;
  return control::shaper::BlendArrays(raw, shaped, weight);
}

nb::object Blend(nb::handle raw, nb::handle shaped, nb::handle weight) {
  const Matrix given_raw = ToMatrix(raw, "raw");
  const Matrix given_shaped = ToMatrix(shaped, "shaped");
  const std::variant<double, Vector> given_weight = ToDoubleOrVector(weight, "weight");
  return ToArray(BlendUnlocked(given_raw, given_shaped, given_weight));
}

Vector PathUnlocked(const Matrix& positions) {
  const nb::gil_scoped_release unlocked;
  return control::shaper::JointPathCoordinate(positions);
}

nb::object Path(nb::handle positions) { return ToArray(PathUnlocked(ToMatrix(positions, "positions"))); }

}  // namespace

void RegisterBlending(nb::module_& module) {
  module.def("blend_arrays", &Blend, nb::arg("raw").none(), nb::arg("shaped").none(), nb::arg("weight").none(),
             nb::sig("def blend_arrays(raw: velmora._typing.MatrixLike, shaped: velmora._typing.MatrixLike, weight: "
                     "velmora._typing.Real | velmora._typing.VectorLike) -> velmora._typing.FloatArray"),
             kBlendDocstring);
  module.def("joint_path_coordinate", &Path, nb::arg("positions").none(),
             nb::sig("def joint_path_coordinate(positions: velmora._typing.MatrixLike) -> velmora._typing.FloatArray"),
             kPathDocstring);
}

}  // namespace velmora::python
