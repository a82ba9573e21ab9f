// Forward differences that keep one row per sample.
#include "velmora/util/timing/differentiation.hpp"

#include <nanobind/nanobind.h>

#include "conversions.hpp"
#include "register.hpp"

namespace velmora::python {
namespace {

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
  module.def("sample_aligned_first_difference", &Difference, nb::arg("signal").none(),
             nb::arg("sample_spacing").none());
}

}  // namespace velmora::python
