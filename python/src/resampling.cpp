// Sampling at given times, resampling onto a regular grid, and the names of their options.
// SPDX-License-Identifier: Apache-2.0
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

constexpr const char* kParseMethodDocstring =
    R"doc(Return the method of this name: "linear" or "cubic", compared byte for byte.

Parameters
----------
text : str
    Name of a member of `ResamplingMethod`.

Returns
-------
ResamplingMethod
    That member.

Raises
------
InvalidArgumentError
    "Unsupported resampling method: '<text>'."
TypeError
    For anything but a str.

Notes
-----
Any number of threads may call it at once.

Examples
--------
>>> import velmora as vm
>>> vm.parse_resampling_method("linear")
<ResamplingMethod.linear: 0>
)doc";

constexpr const char* kParseModeDocstring = R"doc(Return the mode of the time grid of this name, compared byte for byte.

Parameters
----------
text : str
    Name of a member of `ResamplingTimeGridMode`.

Returns
-------
ResamplingTimeGridMode
    That member.

Raises
------
InvalidArgumentError
    "Unsupported resampling time-grid mode: '<text>'."
TypeError
    For anything but a str.

Notes
-----
Any number of threads may call it at once.

Examples
--------
>>> import velmora as vm
>>> vm.parse_resampling_time_grid_mode("exact_dt_trim")
<ResamplingTimeGridMode.exact_dt_trim: 1>
)doc";

constexpr const char* kSampleDocstring =
    R"doc(Return the trajectory at given times, by linear interpolation between its samples.

A query at a sample gives that sample; one between two samples gives ``(1 - w) * before + w * after``, w the elapsed
share of the step. No query at all gives a copy of the whole trajectory, derivatives included.

Parameters
----------
trajectory : JointTrajectory
    N samples, J joints.
query_time_s : (Q,) array_like of float
    Times in seconds, strictly increasing, inside the sampled span (both ends included).
include_derivatives : bool
    Whether velocities and accelerations are sampled too, and supplied to the result. Jerks are never carried over.

Returns
-------
JointTrajectory
    One sample per query time; its `time` is `query_time_s`.

Raises
------
InvalidArgumentError
    "query_time_s must lie inside trajectory.time."; "JointTrajectory.time must be strictly increasing." for repeated
    or falling queries, and the other messages of `JointTrajectory`, among them "JointTrajectory.positions must contain
    only finite values." for a NaN.
TypeError, ValueError
    For arguments of another kind or number of dimensions; the message names the argument.

Notes
-----
Takes time in Q times J, and in the logarithm of N for a query that is not in or right after the step of the one before.
Any number of threads may call it at once.

Examples
--------
>>> import velmora as vm
>>> trajectory = vm.JointTrajectory([[0.0], [1.0], [4.0]], dt=1.0)
>>> vm.sample_trajectory_at_times(trajectory, [0.5, 1.5]).positions
array([[0.5],
       [2.5]])
)doc";

// The method, which Python shows without its first argument.
constexpr const char* kSampleMethodDocstring =
    R"doc(Return this trajectory at given times, by linear interpolation between its samples.

A query at a sample gives that sample. No query at all gives a copy of the whole trajectory, derivatives included.

Parameters
----------
query_time_s : (Q,) array_like of float
    Times in seconds, strictly increasing, inside the sampled span (both ends included).
include_derivatives : bool
    Whether velocities and accelerations are sampled too, and supplied to the result. Jerks are never carried over.

Returns
-------
JointTrajectory
    One sample per query time; its `time` is `query_time_s`.

Raises
------
InvalidArgumentError
    "query_time_s must lie inside trajectory.time."; "JointTrajectory.time must be strictly increasing." for repeated
    or falling queries; "JointTrajectory.positions must contain only finite values." for a NaN, and the other messages
    of `sample_trajectory_at_times`.
TypeError, ValueError
    For arguments of another kind or number of dimensions; the message names the argument.

See Also
--------
sample_trajectory_at_times : the same as a function, with its cost.

Notes
-----
Derivatives that are sampled are held from then on; a call that fails leaves the trajectory as it was. Any number of
threads may call it at once.

Examples
--------
>>> import velmora as vm
>>> trajectory = vm.JointTrajectory([[0.0], [1.0], [4.0]], dt=1.0)
>>> trajectory.sample([0.5, 1.5]).positions
array([[0.5],
       [2.5]])
)doc";

constexpr const char* kResampleDocstring = R"doc(Return the trajectory on a regular time grid.

"linear" interpolates the positions; the result computes its own derivatives on request. "cubic" fits a not-a-knot cubic
spline through the positions of every joint (a parabola through 3 samples, a line through 2) and supplies its positions,
velocities and accelerations to the result.

Parameters
----------
trajectory : JointTrajectory
    N samples, J joints. Its derivatives are neither read nor computed.
sample_time_s : float
    Spacing in seconds, finite and positive.
method : ResamplingMethod or {"cubic", "linear"}
    Interpolation between samples.
grid_mode : ResamplingTimeGridMode or str
    Placement of the G entries of the grid, each computed from its index. "exact_dt_append_endpoint": exact spacing, and
    the end time as the last sample. "exact_dt_trim": exact spacing; what does not fill a step is dropped.
    "exact_duration_adjust_dt": equal steps, as near to the spacing as the whole span allows.
    "exact_dt_extend_endpoint": exact spacing up to or beyond the end, where the last sample is held.
strict_cubic : bool
    Whether a failure of the cubic path is an error; otherwise the result is linear then.

Returns
-------
JointTrajectory
    One sample per grid entry; its `time` is the grid.

Raises
------
InvalidArgumentError
    "Unsupported resampling method: '<text>'."; "Unsupported resampling time-grid mode: '<text>'.";
    "sample_time_s must be positive." (also for NaN and infinities); "Unsupported resampling time-grid mode." for an
    integer that is no member's; with `strict_cubic` "`x` must contain at least 2 elements." and "Cubic-spline
    construction produced non-finite coefficients."; and the messages of `JointTrajectory`, where values overflow or a
    spacing below the resolution of the times repeats grid entries.
MemoryError
    Where memory runs out, and for a grid too long to be counted.
TypeError, ValueError
    For arguments of another kind or number of dimensions; the message names the argument.

Notes
-----
Takes time in N + G times J, and in the logarithm of N for an entry that does not lie in or right after the step of the
one before. Any number of threads may call it at once. The spline is that of C. de Boor, "A Practical Guide to Splines",
chapter IV.

Examples
--------
>>> import velmora as vm
>>> parabola = vm.JointTrajectory([[0.0], [1.0], [4.0], [9.0]], dt=1.0)
>>> vm.resample_trajectory(parabola, 1.5).positions
array([[0.  ],
       [2.25],
       [9.  ]])
)doc";

using util::timing::ParseResamplingMethod;
using util::timing::ParseResamplingTimeGridMode;
using util::timing::ResamplingMethod;
using util::timing::ResamplingTimeGridMode;

std::unique_ptr<SharedTrajectory> Sample(nb::handle source, nb::handle query_time_s, nb::handle include_derivatives) {
  const auto& trajectory = ToInstance<SharedTrajectory>(source, "trajectory", "a JointTrajectory");
  const Vector queries = ToVector(query_time_s, "query_time_s");
  const bool derivatives = ToBool(include_derivatives, "include_derivatives");
  const nb::gil_scoped_release unlocked;
  const auto sample = [&](const JointTrajectory& held) {
    return util::timing::SampleTrajectoryAtTimes(held, queries, derivatives);
  };
  return std::make_unique<SharedTrajectory>(derivatives ? trajectory.ReadDerivatives(sample) : trajectory.Read(sample));
}

std::unique_ptr<SharedTrajectory> Resample(nb::handle source, nb::handle sample_time_s, nb::handle method,
                                           nb::handle grid_mode, nb::handle strict_cubic) {
  const auto& trajectory = ToInstance<SharedTrajectory>(source, "trajectory", "a JointTrajectory");
  const double spacing = ToDouble(sample_time_s, "sample_time_s");
  const ResamplingMethod given_method = ToResamplingMethod(method, "method");
  const ResamplingTimeGridMode given_mode = ToResamplingTimeGridMode(grid_mode, "grid_mode");
  const bool strict = ToBool(strict_cubic, "strict_cubic");
  const nb::gil_scoped_release unlocked;
  // It reads samples alone, so that no lock is needed.
  return std::make_unique<SharedTrajectory>(
      util::timing::ResampleTrajectory(trajectory.samples(), spacing, given_method, given_mode, strict));
}

}  // namespace

void RegisterResampling(nb::module_& module) {
  module.def(
      "parse_resampling_method", [](nb::handle text) { return ToMember(ParseResamplingMethod(ToText(text, "text"))); },
      nb::arg("text").none(), nb::sig("def parse_resampling_method(text: str) -> velmora._enums.ResamplingMethod"),
      kParseMethodDocstring);
  module.def(
      "parse_resampling_time_grid_mode",
      [](nb::handle text) { return ToMember(ParseResamplingTimeGridMode(ToText(text, "text"))); },
      nb::arg("text").none(),
      nb::sig("def parse_resampling_time_grid_mode(text: str) -> velmora._enums.ResamplingTimeGridMode"),
      kParseModeDocstring);
  const nb::handle trajectory_class = module.attr("JointTrajectory").ptr();
  nb::cpp_function_def(&Sample, nb::scope(trajectory_class), nb::name("sample"), nb::is_method(),
                       nb::arg("query_time_s").none(), nb::arg("include_derivatives").none() = true,
                       nb::sig("def sample(self, query_time_s: velmora._typing.VectorLike, "
                               "include_derivatives: bool = True) -> JointTrajectory"),
                       kSampleMethodDocstring);
  module.def("sample_trajectory_at_times", &Sample, nb::arg("trajectory").none(), nb::arg("query_time_s").none(),
             nb::arg("include_derivatives").none() = true,
             nb::sig("def sample_trajectory_at_times(trajectory: JointTrajectory, query_time_s: "
                     "velmora._typing.VectorLike, include_derivatives: bool = True) -> JointTrajectory"),
             kSampleDocstring);
  module.def("resample_trajectory", &Resample, nb::arg("trajectory").none(), nb::arg("sample_time_s").none(),
             nb::arg("method").none() = ToMember(ResamplingMethod::cubic),
             nb::arg("grid_mode").none() = ToMember(ResamplingTimeGridMode::exact_dt_append_endpoint),
             nb::arg("strict_cubic").none() = false,
             nb::sig("def resample_trajectory(trajectory: JointTrajectory, sample_time_s: velmora._typing.Real, "
                     "method: velmora._typing.Method = 'cubic', "
                     "grid_mode: velmora._typing.GridMode = 'exact_dt_append_endpoint', "
                     "strict_cubic: bool = False) -> JointTrajectory"),
             kResampleDocstring);
}

}  // namespace velmora::python
