// The blend of a shaped tail with the raw endpoint held at rest.
// SPDX-License-Identifier: Apache-2.0
#include "velmora/control/shaper/tail_blend.hpp"

#include <nanobind/nanobind.h>

#include "conversions.hpp"
#include "register.hpp"

namespace velmora::python {
namespace {

constexpr const char* kDocstring =
    R"doc(Blend the part of a shaped trajectory beyond the end of the raw one with the raw endpoint, held at rest.

Positions are mixed between `raw_position` and the tail, velocities and accelerations between zero and the tail, all by
`blend_arrays` with the same weight. The times are copied.

Parameters
----------
raw_position : (J,) array_like of float
    Final joint position of the raw trajectory.
shaped_tail : ShapedTrajectory
    N samples of J joints; N may be 0.
weight : float
    Share of the shaped tail: 1 keeps it, 0 gives the held endpoint. It is not checked; validate it first with
    `validate_vibration_shaping_weight`.

Returns
-------
ShapedTrajectory
    N samples of J joints.

Raises
------
InvalidArgumentError
    "raw_position length mismatch", then "shaped_tail fields must have matching sample and joint shapes".
TypeError, ValueError
    For arguments that are no arrays of real numbers of these dimensions; the message names the argument.

Notes
-----
Linear in the number of elements. Any number of threads may call it at once.

Examples
--------
>>> import velmora as vm
>>> tail = vm.ShapedTrajectory([[2.0], [1.5]], [[-1.0], [0.0]], [[0.0], [0.0]], [1.0, 1.1])
>>> vm.blend_tail_with_held_raw_endpoint([1.0], tail, 0.5).positions
array([[1.5 ],
       [1.25]])
)doc";

using native::ShapedTrajectory;

ShapedTrajectory BlendTail(nb::handle raw_position, nb::handle shaped_tail, nb::handle weight) {
  const Vector given_position = ToVector(raw_position, "raw_position");
  const auto& given_tail = ToInstance<ShapedTrajectory>(shaped_tail, "shaped_tail", "a ShapedTrajectory");
  const double given_weight = ToDouble(weight, "weight");
  const nb::gil_scoped_release unlocked;
  return control::shaper::BlendTailWithHeldRawEndpoint(given_position, given_tail, given_weight);
}

}  // namespace

void RegisterTailBlend(nb::module_& module) {
  module.def("blend_tail_with_held_raw_endpoint", &BlendTail, nb::arg("raw_position").none(),
             nb::arg("shaped_tail").none(), nb::arg("weight").none(),
             nb::sig("def blend_tail_with_held_raw_endpoint(raw_position: velmora._typing.VectorLike, shaped_tail: "
                     "ShapedTrajectory, weight: velmora._typing.Real) -> ShapedTrajectory"),
             kDocstring);
}

}  // namespace velmora::python
