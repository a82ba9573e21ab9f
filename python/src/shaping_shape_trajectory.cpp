// Shaped trajectories: the class ShapedCommand and the functions around it.
// SPDX-License-Identifier: Apache-2.0
#include "velmora/shaping/shape_trajectory.hpp"

#include <nanobind/nanobind.h>

#include <vector>

#include "conversions.hpp"
#include "records.hpp"
#include "register.hpp"
#include "shared_trajectory.hpp"

namespace velmora::python {
namespace {

using native::ShapedTrajectory;
using shaping::ImpulseSequence;
using shaping::ShapedCommand;
using util::timing::ResamplingMethod;
using Self = nb::pointer_and_handle<ShapedCommand>;

// clang-format off
constexpr const char* kCommandDocstring = R"(A shaped command in two parts, and what shaping had to do at its ends.

Attributes
----------
move : ShapedTrajectory
    The N samples up to the end of the raw command.
tail : ShapedTrajectory
    The samples after it, until all copies have ended.
added_duration_s : float
    How much longer the shaped command takes.
lag_s : float
    How far it lags behind the raw one on average.
start_velocity, start_acceleration, end_velocity, end_acceleration : (J,) numpy.ndarray
    Of the raw command at its first and last sample. Before and after them it is held at rest; where these are not zero
    the shaped command steps, by each amplitude's share.

Notes
-----
Unchangeable, so that any number of threads may use it. It can be copied and pickled, and equals a command of the same
bits.

Examples
--------
>>> import velmora as vm
>>> from velmora import shaping
>>> raw = vm.JointTrajectory([[0.0], [1.0], [2.0]], dt=1.0)
>>> halves = shaping.ImpulseSequence([0.0, 0.5], [0.5, 0.5])
>>> command = shaping.shape_trajectory(raw, halves, 1.0, method="linear")
>>> command.added_duration_s, command.lag_s, command.end_velocity
(0.5, 0.25, array([1.]))
)";

constexpr const char* kShapeDocstring = R"(Return a trajectory shaped by impulse sequences.

It is the sum of its delayed copies weighted by the amplitudes, each evaluated at its exact time. Before the first and
after the last sample the raw command is held at rest.

Parameters
----------
trajectory : JointTrajectory
    The raw command, N samples of J joints.
sequences : ImpulseSequence or sequence of ImpulseSequence
    One for all joints, with which a straight line in joint space stays straight, or one per joint: the shorter ones are
    then delayed until the centroids of all coincide.
sample_time_s : float, optional
    Sample at the trajectory's own times, and after its end with this spacing until all copies have ended.
times_s : (M,) array_like of float, optional
    Sample at these times instead, finite and strictly increasing. One of the two has to be given.
method : ResamplingMethod or {"cubic", "linear"}
    Interpolation between samples. "cubic" is the library's spline with its derivatives; "linear" interpolates
    positions, velocities and accelerations of the trajectory alike.

Returns
-------
ShapedCommand
    The command in two parts.

Raises
------
InvalidArgumentError
    "sequences must hold one sequence, or one per joint."; "sample_time_s must be positive.", or "times_s must contain
    only finite values." and "times_s must be strictly increasing."; "Cubic-spline construction produced non-finite
    coefficients."; "Unsupported resampling method: '<text>'."
MemoryError
    Where memory runs out, and for a tail too long to be counted.
TypeError, ValueError
    For arguments of another kind or number of dimensions, and where not exactly one of `sample_time_s` and `times_s` is
    given; the message names the argument.

Notes
-----
Linear in the number of samples, joints and impulses. Any number of threads may call it at once. Source of the method:
N. C. Singer, W. P. Seering, "Preshaping command inputs to reduce system vibration", 1990.

Examples
--------
>>> import velmora as vm
>>> from velmora import shaping
>>> raw = vm.JointTrajectory([[0.0], [1.0], [2.0]], dt=1.0)
>>> halves = shaping.ImpulseSequence([0.0, 0.5], [0.5, 0.5])
>>> shaping.shape_trajectory(raw, halves, 1.0, method="linear").move.positions
array([[0.  ],
       [0.75],
       [1.75]])
)";

constexpr const char* kJoinDocstring = R"(Return both parts of a command in one: the samples of the move, then those of the tail.

Parameters
----------
command : ShapedCommand
    A shaped command.

Returns
-------
ShapedTrajectory
    N + M samples of J joints.

Raises
------
InvalidArgumentError
    "command parts must have matching sample and joint shapes"
TypeError
    For anything but a `ShapedCommand`.

Notes
-----
Any number of threads may call it at once.

Examples
--------
>>> import velmora as vm
>>> from velmora import shaping
>>> raw = vm.JointTrajectory([[0.0], [1.0], [2.0]], dt=1.0)
>>> halves = shaping.ImpulseSequence([0.0, 0.5], [0.5, 0.5])
>>> command = shaping.shape_trajectory(raw, halves, 1.0, method="linear")
>>> shaping.join_move_and_tail(command).positions
array([[0.  ],
       [0.75],
       [1.75],
       [2.  ]])
)";

constexpr const char* kDeviationDocstring = R"(Return how far a shaped command leaves the path of the raw one.

Parameters
----------
trajectory : JointTrajectory
    The raw command.
command : ShapedCommand
    The same command shaped.

Returns
-------
float
    The largest distance in joint space, over the samples of the command, to the nearest point of the raw path; the path
    is the polyline through the raw samples.

Raises
------
InvalidArgumentError
    "trajectory and command must have the same number of joints."; "command parts must have matching sample and joint
    shapes"
TypeError
    For arguments of other classes.

Notes
-----
Takes time in the samples of the command times those of the trajectory within the added duration. Any number of threads
may call it at once.

Examples
--------
>>> import velmora as vm
>>> from velmora import shaping
>>> corner = vm.JointTrajectory([[0.0, 0.0], [1.0, 0.0], [1.0, 1.0]], dt=1.0)
>>> halves = shaping.ImpulseSequence([0.0, 0.5], [0.5, 0.5])
>>> command = shaping.shape_trajectory(corner, halves, times_s=[1.25], method="linear")
>>> command.move.positions
array([[0.875, 0.125]])
>>> shaping.path_deviation(corner, command)
0.125
)";
// clang-format on

std::vector<ImpulseSequence> ToSequences(nb::handle source) {
  if (nb::isinstance<ImpulseSequence>(source)) return {nb::cast<const ImpulseSequence&>(source)};
  std::vector<ImpulseSequence> sequences;
  if (!nb::isinstance<nb::sequence>(source)) {
    RefuseType(source, "sequences", "an ImpulseSequence or a sequence of them");
  }
  for (const nb::handle item : source) {
    if (!nb::isinstance<ImpulseSequence>(item)) {
      RefuseType(item, "sequences", "an ImpulseSequence or a sequence of them");
    }
    sequences.push_back(nb::cast<const ImpulseSequence&>(item));
  }
  return sequences;
}

ShapedCommand Shape(const SharedTrajectory& trajectory, nb::handle sequences, nb::handle sample_time_s,
                    nb::handle times_s, nb::handle method) {
  const std::vector<ImpulseSequence> given_sequences = ToSequences(sequences);
  const std::optional<double> spacing = ToOptionalDouble(sample_time_s, "sample_time_s");
  const std::optional<Vector> times = ToOptionalVector(times_s, "times_s");
  const ResamplingMethod given_method = ToResamplingMethod(method, "method");
  if (spacing.has_value() == times.has_value()) {
    throw nb::value_error("exactly one of sample_time_s and times_s must be given");
  }
  const nb::gil_scoped_release unlocked;
  const auto shape = [&](const JointTrajectory& held) {
    return spacing ? shaping::ShapeTrajectory(held, given_sequences, *spacing, given_method)
                   : shaping::ShapeTrajectory(held, given_sequences, *times, given_method);
  };
  return given_method == ResamplingMethod::linear ? trajectory.ReadDerivatives(shape) : trajectory.Read(shape);
}

template <auto kField>
nb::object View(Self self) {
  return ViewOf(self.p->*kField, self.h);
}

bool SamePart(const ShapedTrajectory& a, const ShapedTrajectory& b) {
  return SameBits(a.positions, b.positions) && SameBits(a.velocities, b.velocities) &&
         SameBits(a.accelerations, b.accelerations) && SameBits(a.time, b.time);
}

void InitCommand(ShapedCommand* place, const ShapedTrajectory& move, const ShapedTrajectory& tail,
                 nb::handle added_duration_s, nb::handle lag_s, nb::handle start_velocity,
                 nb::handle start_acceleration, nb::handle end_velocity, nb::handle end_acceleration) {
  new (place) ShapedCommand{move,
                            tail,
                            ToDouble(added_duration_s, "added_duration_s"),
                            ToDouble(lag_s, "lag_s"),
                            ToVector(start_velocity, "start_velocity"),
                            ToVector(start_acceleration, "start_acceleration"),
                            ToVector(end_velocity, "end_velocity"),
                            ToVector(end_acceleration, "end_acceleration")};
}

}  // namespace

void RegisterShapeTrajectory(nb::module_& module) {
  nb::class_<ShapedCommand> record(module, "ShapedCommand", kCommandDocstring);
  record
      .def("__init__", &InitCommand, nb::arg("move"), nb::arg("tail"), nb::arg("added_duration_s").none(),
           nb::arg("lag_s").none(), nb::arg("start_velocity").none(), nb::arg("start_acceleration").none(),
           nb::arg("end_velocity").none(), nb::arg("end_acceleration").none(),
           nb::sig("def __init__(self, move: ShapedTrajectory, tail: ShapedTrajectory, added_duration_s: "
                   "velmora._typing.Real, lag_s: velmora._typing.Real, start_velocity: velmora._typing.VectorLike, "
                   "start_acceleration: velmora._typing.VectorLike, end_velocity: velmora._typing.VectorLike, "
                   "end_acceleration: velmora._typing.VectorLike) -> None"))
      .def_prop_ro(
          "move", [](const ShapedCommand& self) -> const ShapedTrajectory& { return self.move; },
          nb::rv_policy::reference_internal)
      .def_prop_ro(
          "tail", [](const ShapedCommand& self) -> const ShapedTrajectory& { return self.tail; },
          nb::rv_policy::reference_internal)
      .def_prop_ro("added_duration_s", [](const ShapedCommand& self) { return self.added_duration_s; })
      .def_prop_ro("lag_s", [](const ShapedCommand& self) { return self.lag_s; })
      .def_prop_ro("start_velocity", &View<&ShapedCommand::start_velocity>,
                   nb::for_getter(nb::sig("def start_velocity(self) -> velmora._typing.FloatArray")))
      .def_prop_ro("start_acceleration", &View<&ShapedCommand::start_acceleration>,
                   nb::for_getter(nb::sig("def start_acceleration(self) -> velmora._typing.FloatArray")))
      .def_prop_ro("end_velocity", &View<&ShapedCommand::end_velocity>,
                   nb::for_getter(nb::sig("def end_velocity(self) -> velmora._typing.FloatArray")))
      .def_prop_ro("end_acceleration", &View<&ShapedCommand::end_acceleration>,
                   nb::for_getter(nb::sig("def end_acceleration(self) -> velmora._typing.FloatArray")))
      .def(
          "__eq__",
          [](const ShapedCommand& a, const ShapedCommand& b) {
            return SamePart(a.move, b.move) && SamePart(a.tail, b.tail) && a.added_duration_s == b.added_duration_s &&
                   a.lag_s == b.lag_s && SameBits(a.start_velocity, b.start_velocity) &&
                   SameBits(a.start_acceleration, b.start_acceleration) && SameBits(a.end_velocity, b.end_velocity) &&
                   SameBits(a.end_acceleration, b.end_acceleration);
          },
          nb::is_operator(), nb::sig("def __eq__(self, other: object) -> bool"));
  AddRecordMethods(record, {"move", "tail", "added_duration_s", "lag_s", "start_velocity", "start_acceleration",
                            "end_velocity", "end_acceleration"});

  module.def("shape_trajectory", &Shape, nb::arg("trajectory"), nb::arg("sequences").none(),
             nb::arg("sample_time_s").none() = nb::none(), nb::arg("times_s").none() = nb::none(),
             nb::arg("method").none() = ToMember(util::timing::ResamplingMethod::cubic),
             nb::sig("def shape_trajectory(trajectory: JointTrajectory, sequences: ImpulseSequence | "
                     "collections.abc.Sequence[ImpulseSequence], sample_time_s: velmora._typing.Real | None = None, "
                     "times_s: velmora._typing.VectorLike | None = None, method: velmora._typing.Method = 'cubic') -> "
                     "ShapedCommand"),
             kShapeDocstring);
  module.def("join_move_and_tail", &shaping::JoinMoveAndTail, nb::arg("command"),
             nb::call_guard<nb::gil_scoped_release>(), kJoinDocstring);
  module.def(
      "path_deviation",
      [](const SharedTrajectory& trajectory, const ShapedCommand& command) {
        return trajectory.Read([&](const JointTrajectory& held) { return shaping::PathDeviation(held, command); });
      },
      nb::arg("trajectory"), nb::arg("command"), nb::call_guard<nb::gil_scoped_release>(),
      nb::sig("def path_deviation(trajectory: JointTrajectory, command: ShapedCommand) -> float"), kDeviationDocstring);
}

}  // namespace velmora::python
