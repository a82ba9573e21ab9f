// Sampling at given times, resampling onto a regular grid, and the names of their options.
#include "velmora/util/timing/resampling.hpp"

#include <nanobind/nanobind.h>
#include <nanobind/stl/unique_ptr.h>

#include <limits>
#include <memory>

#include "conversions.hpp"
#include "register.hpp"
#include "shared_trajectory.hpp"

namespace velmora::python {
namespace {

using util::timing::ParseResamplingMethod;
using util::timing::ParseResamplingTimeGridMode;
using util::timing::ResamplingMethod;
using util::timing::ResamplingTimeGridMode;

// The value of a text or of an integer; the library judges integers that are no member's.
template <typename Option, Option (*kParse)(std::string_view)>
Option ToOption(nb::handle source, const char* argument, const char* expected) {
  if (nb::isinstance<nb::str>(source)) return kParse(nb::cast<std::string>(source));
  int value = 0;
  if (!PyLong_Check(source.ptr()) || PyBool_Check(source.ptr()) || !nb::try_cast(source, value)) {
    RefuseType(source, argument, expected);
  }
  return static_cast<Option>(value);
}

std::unique_ptr<SharedTrajectory> Sample(const SharedTrajectory& trajectory, nb::handle query_time_s,
                                         nb::handle include_derivatives) {
  const Vector queries = ToVector(query_time_s, "query_time_s");
  const bool derivatives = ToBool(include_derivatives, "include_derivatives");
  const nb::gil_scoped_release unlocked;
  // The library asks for them itself, without a lock.
  if (derivatives && queries.size() > 0) {
    trajectory.Get(kVelocities);
    trajectory.Get(kAccelerations);
  }
  return std::make_unique<SharedTrajectory>(trajectory.Read(
      [&](const JointTrajectory& held) { return util::timing::SampleTrajectoryAtTimes(held, queries, derivatives); }));
}

std::unique_ptr<SharedTrajectory> Resample(const SharedTrajectory& trajectory, nb::handle sample_time_s,
                                           nb::handle method, nb::handle grid_mode, nb::handle strict_cubic) {
  const double spacing = ToDouble(sample_time_s, "sample_time_s");
  const auto given_method =
      ToOption<ResamplingMethod, &ParseResamplingMethod>(method, "method", "a ResamplingMethod or its name");
  const auto given_mode = ToOption<ResamplingTimeGridMode, &ParseResamplingTimeGridMode>(
      grid_mode, "grid_mode", "a ResamplingTimeGridMode or its name");
  const bool strict = ToBool(strict_cubic, "strict_cubic");
  const nb::gil_scoped_release unlocked;
  return std::make_unique<SharedTrajectory>(trajectory.ReadSamples([&](const JointTrajectory& held) {
    return util::timing::ResampleTrajectory(held, spacing, given_method, given_mode, strict);
  }));
}

}  // namespace

void RegisterResampling(nb::module_& module) {
  // Kept for as long as the process runs, as the functions are.
  const nb::object enums = nb::module_::import_("velmora._enums");
  static const nb::handle method = nb::object(enums.attr("ResamplingMethod")).release();
  static const nb::handle mode = nb::object(enums.attr("ResamplingTimeGridMode")).release();

  module.def(
      "parse_resampling_method",
      [](nb::handle text) { return method(static_cast<int>(ParseResamplingMethod(ToText(text, "text")))); },
      nb::arg("text").none());
  module.def(
      "parse_resampling_time_grid_mode",
      [](nb::handle text) { return mode(static_cast<int>(ParseResamplingTimeGridMode(ToText(text, "text")))); },
      nb::arg("text").none());
  module.def("sample_trajectory_at_times", &Sample, nb::arg("trajectory"), nb::arg("query_time_s").none(),
             nb::arg("include_derivatives").none() = true);
  module.def("resample_trajectory", &Resample, nb::arg("trajectory"), nb::arg("sample_time_s").none(),
             nb::arg("method").none() = method(1), nb::arg("grid_mode").none() = mode(0),
             nb::arg("strict_cubic").none() = false);
}

}  // namespace velmora::python
