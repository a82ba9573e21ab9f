// The classes JointStateBox and JointStateLimits.
// SPDX-License-Identifier: Apache-2.0
#include "velmora/util/timing/limits.hpp"

#include <nanobind/nanobind.h>

#include <optional>

#include "conversions.hpp"
#include "records.hpp"
#include "register.hpp"

namespace velmora::python {
namespace {

constexpr const char* kBoxDocstring = R"doc(Per-joint closed interval [lower, upper] of one quantity.

Parameters
----------
lower, upper : (J,) array_like of float
    Finite limits, ``upper[j] >= lower[j]``. Equal limits pin a joint; no limits at all are valid.

Raises
------
InvalidArgumentError
    "Lower and upper limits must have matching shapes.", "Joint-state limits must contain only finite values." or
    "Lower limits cannot exceed upper limits.", checked in this order.
TypeError, ValueError
    For arguments of another kind or number of dimensions; the message names the argument.

Notes
-----
Unchangeable, so that any number of threads may use it. It can be copied and pickled, and equals a box of the same bits.

Examples
--------
>>> import velmora as vm
>>> vm.JointStateBox([-1.0, 0.0], [1.0, 2.0])
JointStateBox(lower=array([-1.,  0.]), upper=array([1., 2.]))
)doc";

constexpr const char* kLimitsDocstring =
    R"doc(Optional boxes for the joint state and its derivatives, all for the same number of joints.

Parameters
----------
position, velocity, acceleration, jerk : JointStateBox, optional
    Limits of the positions and of their first, second and third derivative.

Raises
------
InvalidArgumentError
    "Position, velocity, acceleration, and jerk limits must have matching shapes."
TypeError
    For anything but a `JointStateBox` or None; the message names the argument.

Notes
-----
Unchangeable, so that any number of threads may use it. It can be copied and pickled, and equals limits of the same bits.

Examples
--------
>>> import velmora as vm
>>> limits = vm.JointStateLimits(velocity=vm.JointStateBox([-2.0], [2.0]))
>>> limits.velocity.upper
array([2.])
>>> limits.position is None
True
)doc";

using util::timing::JointStateBox;
using util::timing::JointStateLimits;

using Box = nb::pointer_and_handle<JointStateBox>;

bool SameBox(const JointStateBox& a, const JointStateBox& b) {
  return SameBits(a.lower, b.lower) && SameBits(a.upper, b.upper);
}

bool SameOptionalBox(const std::optional<JointStateBox>& a, const std::optional<JointStateBox>& b) {
  return a.has_value() == b.has_value() && (!a || SameBox(*a, *b));
}

std::optional<JointStateBox> ToOptionalBox(nb::handle source, const char* argument) {
  if (source.is_none()) return std::nullopt;
  return ToInstance<JointStateBox>(source, argument, "a JointStateBox or None");
}

template <std::optional<JointStateBox> JointStateLimits::*kBox>
const JointStateBox* GetBox(const JointStateLimits& self) {
  const std::optional<JointStateBox>& box = self.*kBox;
  return box ? &*box : nullptr;
}

}  // namespace

void RegisterLimits(nb::module_& module) {
  nb::class_<JointStateBox> box(module, "JointStateBox", kBoxDocstring);
  box.def(
         "__init__",
         [](JointStateBox* place, nb::handle lower, nb::handle upper) {
           new (place) JointStateBox(ToVector(lower, "lower"), ToVector(upper, "upper"));
         },
         nb::arg("lower").none(), nb::arg("upper").none(),
         nb::sig("def __init__(self, lower: velmora._typing.VectorLike, upper: velmora._typing.VectorLike) -> None"))
      .def_prop_ro(
          "lower", [](Box self) { return ViewOf(self.p->lower, self.h); },
          nb::for_getter(nb::sig("def lower(self) -> velmora._typing.FloatArray")), "(J,) lower limits.")
      .def_prop_ro(
          "upper", [](Box self) { return ViewOf(self.p->upper, self.h); },
          nb::for_getter(nb::sig("def upper(self) -> velmora._typing.FloatArray")), "(J,) upper limits.")
      .def("__eq__", &SameBox, nb::is_operator(), nb::sig("def __eq__(self, other: object) -> bool"));
  AddRecordMethods(box, {"lower", "upper"});

  nb::class_<JointStateLimits> limits(module, "JointStateLimits", kLimitsDocstring);
  limits
      .def(
          "__init__",
          [](JointStateLimits* place, nb::handle position, nb::handle velocity, nb::handle acceleration,
             nb::handle jerk) {
            new (place) JointStateLimits(ToOptionalBox(position, "position"), ToOptionalBox(velocity, "velocity"),
                                         ToOptionalBox(acceleration, "acceleration"), ToOptionalBox(jerk, "jerk"));
          },
          nb::arg("position").none() = nb::none(), nb::arg("velocity").none() = nb::none(),
          nb::arg("acceleration").none() = nb::none(), nb::arg("jerk").none() = nb::none(),
          nb::sig("def __init__(self, position: JointStateBox | None = None, velocity: JointStateBox | None = None, "
                  "acceleration: JointStateBox | None = None, jerk: JointStateBox | None = None) -> None"))
      .def_prop_ro("position", &GetBox<&JointStateLimits::position>, nb::rv_policy::reference_internal,
                   nb::for_getter(nb::sig("def position(self) -> JointStateBox | None")),
                   "Limits of the positions, or None.")
      .def_prop_ro("velocity", &GetBox<&JointStateLimits::velocity>, nb::rv_policy::reference_internal,
                   nb::for_getter(nb::sig("def velocity(self) -> JointStateBox | None")),
                   "Limits of the first derivative, or None.")
      .def_prop_ro("acceleration", &GetBox<&JointStateLimits::acceleration>, nb::rv_policy::reference_internal,
                   nb::for_getter(nb::sig("def acceleration(self) -> JointStateBox | None")),
                   "Limits of the second derivative, or None.")
      .def_prop_ro("jerk", &GetBox<&JointStateLimits::jerk>, nb::rv_policy::reference_internal,
                   nb::for_getter(nb::sig("def jerk(self) -> JointStateBox | None")),
                   "Limits of the third derivative, or None.")
      .def(
          "__eq__",
          [](const JointStateLimits& a, const JointStateLimits& b) {
            return SameOptionalBox(a.position, b.position) && SameOptionalBox(a.velocity, b.velocity) &&
                   SameOptionalBox(a.acceleration, b.acceleration) && SameOptionalBox(a.jerk, b.jerk);
          },
          nb::is_operator(), nb::sig("def __eq__(self, other: object) -> bool"));
  AddRecordMethods(limits, {"position", "velocity", "acceleration", "jerk"});
}

}  // namespace velmora::python
