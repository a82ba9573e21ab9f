// The smooth ramp, of a number or of every element of an array.
#include "velmora/util/smootherstep.hpp"

#include <nanobind/nanobind.h>
#include <nanobind/ndarray.h>

#include <algorithm>

#include "conversions.hpp"
#include "register.hpp"

namespace velmora::python {
namespace {

nb::object Ramp(nb::handle unit_progress) {
  if (PyFloat_Check(unit_progress.ptr())) return nb::cast(util::Smootherstep(PyFloat_AsDouble(unit_progress.ptr())));
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

void RegisterSmootherstep(nb::module_& module) { module.def("smootherstep", &Ramp, nb::arg("unit_progress").none()); }

}  // namespace velmora::python
