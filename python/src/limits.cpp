// The classes JointStateBox and JointStateLimits.
#include "velmora/util/timing/limits.hpp"

#include <nanobind/nanobind.h>

#include <optional>

#include "conversions.hpp"
#include "records.hpp"
#include "register.hpp"

namespace velmora::python {
namespace {

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
  JointStateBox* box = nullptr;
  if (!nb::try_cast(source, box)) {
    RefuseType(source, argument, "a JointStateBox or None");
  }
  return *box;
}

template <std::optional<JointStateBox> JointStateLimits::*kBox>
const JointStateBox* GetBox(const JointStateLimits& self) {
  const std::optional<JointStateBox>& box = self.*kBox;
  return box ? &*box : nullptr;
}

}  // namespace

void RegisterLimits(nb::module_& module) {
  nb::class_<JointStateBox> box(module, "JointStateBox");
  box.def(
         "__init__",
         [](JointStateBox* place, nb::handle lower, nb::handle upper) {
           new (place) JointStateBox(ToVector(lower, "lower"), ToVector(upper, "upper"));
         },
         nb::arg("lower").none(), nb::arg("upper").none())
      .def_prop_ro("lower", [](Box self) { return ViewOf(self.p->lower, self.h); })
      .def_prop_ro("upper", [](Box self) { return ViewOf(self.p->upper, self.h); })
      .def("__eq__", &SameBox, nb::is_operator());
  AddRecordMethods(box, {"lower", "upper"});

  nb::class_<JointStateLimits> limits(module, "JointStateLimits");
  limits
      .def(
          "__init__",
          [](JointStateLimits* place, nb::handle position, nb::handle velocity, nb::handle acceleration,
             nb::handle jerk) {
            new (place) JointStateLimits(ToOptionalBox(position, "position"), ToOptionalBox(velocity, "velocity"),
                                         ToOptionalBox(acceleration, "acceleration"), ToOptionalBox(jerk, "jerk"));
          },
          nb::arg("position").none() = nb::none(), nb::arg("velocity").none() = nb::none(),
          nb::arg("acceleration").none() = nb::none(), nb::arg("jerk").none() = nb::none())
      .def_prop_ro("position", &GetBox<&JointStateLimits::position>, nb::rv_policy::reference_internal)
      .def_prop_ro("velocity", &GetBox<&JointStateLimits::velocity>, nb::rv_policy::reference_internal)
      .def_prop_ro("acceleration", &GetBox<&JointStateLimits::acceleration>, nb::rv_policy::reference_internal)
      .def_prop_ro("jerk", &GetBox<&JointStateLimits::jerk>, nb::rv_policy::reference_internal)
      .def(
          "__eq__",
          [](const JointStateLimits& a, const JointStateLimits& b) {
            return SameOptionalBox(a.position, b.position) && SameOptionalBox(a.velocity, b.velocity) &&
                   SameOptionalBox(a.acceleration, b.acceleration) && SameOptionalBox(a.jerk, b.jerk);
          },
          nb::is_operator());
  AddRecordMethods(limits, {"position", "velocity", "acceleration", "jerk"});
}

}  // namespace velmora::python
