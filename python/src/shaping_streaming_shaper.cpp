// Shaping in a control loop: the classes JointSample and StreamingShaper.
// SPDX-License-Identifier: Apache-2.0
#include "velmora/shaping/streaming_shaper.hpp"

#include <nanobind/nanobind.h>

#include "conversions.hpp"
#include "records.hpp"
#include "register.hpp"

namespace velmora::python {
namespace {

using shaping::JointSample;
using shaping::StreamingShaper;
using Sample = nb::pointer_and_handle<JointSample>;

// clang-format off
constexpr const char* kSampleDocstring = R"(Position, velocity and acceleration of all joints at one time.

Parameters
----------
position, velocity, acceleration : (J,) array_like of float
    One value per joint.

Raises
------
TypeError, ValueError
    For arguments that are no one-dimensional arrays of real numbers; the message names the argument.

Examples
--------
>>> from velmora import shaping
>>> shaping.JointSample([1.0], [0.0], [0.0])
JointSample(position=array([1.]), velocity=array([0.]), acceleration=array([0.]))
)";

constexpr const char* kShaperDocstring = R"(Shapes a command as it comes, one sample at a time.

What comes out is, to the last bit but the sign of a zero, what `shape_trajectory` with ``method="linear"`` and one sequence
for all joints gives for the whole command at the times k `sample_time_s`.

Parameters
----------
sequence : ImpulseSequence
    The sequence of all joints.
joints : int
    Number of joints J.
sample_time_s : float
    Time between samples, finite and positive.

Attributes
----------
at_rest : bool
    Whether nothing would move any more without another sample.

Raises
------
InvalidArgumentError
    "joints must be non-negative."; "sample_time_s must be positive."
MemoryError
    Where memory runs out.
TypeError, ValueError
    For arguments of another kind; the message names the argument.

Notes
-----
One shaper belongs to one thread.

Examples
--------
>>> from velmora import shaping
>>> halves = shaping.ImpulseSequence([0.0, 0.5], [0.5, 0.5])
>>> shaper = shaping.StreamingShaper(halves, joints=1, sample_time_s=0.5)
>>> for position in (0.0, 1.0):
...     print(shaper.step(shaping.JointSample([position], [0.0], [0.0])).position)
[0.]
[0.5]
>>> shaper.step_tail().position
array([1.])
)";

constexpr const char* kStepDocstring = R"(Take the next sample of the command, and return the shaped one of the same time.

Parameters
----------
raw : JointSample
    The sample, `sample_time_s` after the one before; before the first one the command stood still where it is.

Returns
-------
JointSample
    What the machine is to do now.

Raises
------
InvalidArgumentError
    "raw sample must have the number of joints of the shaper."; "raw sample must contain only finite values."

Examples
--------
>>> from velmora import shaping
>>> halves = shaping.ImpulseSequence([0.0, 0.5], [0.5, 0.5])
>>> shaper = shaping.StreamingShaper(halves, joints=1, sample_time_s=0.5)
>>> shaper.step(shaping.JointSample([1.0], [0.0], [0.0])).position
array([1.])
>>> shaper.step(shaping.JointSample([2.0], [0.0], [0.0])).position
array([1.5])
)";

constexpr const char* kTailDocstring = R"(Soft stop: take the last sample once more, at rest, and return the shaped one.

Returns
-------
JointSample
    What the machine is to do now.

Raises
------
InvalidArgumentError
    "no sample has been shaped yet."

Examples
--------
>>> from velmora import shaping
>>> halves = shaping.ImpulseSequence([0.0, 0.5], [0.5, 0.5])
>>> shaper = shaping.StreamingShaper(halves, joints=1, sample_time_s=0.5)
>>> shaper.step(shaping.JointSample([1.0], [0.0], [0.0])).position
array([1.])
>>> shaper.step_tail().position
array([1.])
)";

constexpr const char* kStopDocstring = R"(Hard stop: hold the last shaped position at rest, and forget the command.

Returns
-------
JointSample
    That position, with velocity and acceleration zero.

Raises
------
InvalidArgumentError
    "no sample has been shaped yet."

Examples
--------
>>> from velmora import shaping
>>> halves = shaping.ImpulseSequence([0.0, 0.5], [0.5, 0.5])
>>> shaper = shaping.StreamingShaper(halves, joints=1, sample_time_s=0.5)
>>> shaper.step(shaping.JointSample([1.0], [0.0], [0.0])).position
array([1.])
>>> shaper.hard_stop().position, shaper.at_rest
(array([1.]), True)
)";
// clang-format on

Eigen::Index ToCount(nb::handle source, const char* argument) {
  if (PyBool_Check(source.ptr()) || !PyIndex_Check(source.ptr())) RefuseType(source, argument, "an integer");
  const Py_ssize_t count = PyNumber_AsSsize_t(source.ptr(), nullptr);  // the nearest to one that does not fit
  if (PyErr_Occurred() != nullptr) throw nb::python_error();
  return static_cast<Eigen::Index>(count);
}

template <auto kField>
nb::object View(Sample self) {
  return ViewOf(self.p->*kField, self.h);
}

}  // namespace

void RegisterStreamingShaper(nb::module_& module) {
  nb::class_<JointSample> sample(module, "JointSample", kSampleDocstring);
  sample
      .def(
          "__init__",
          [](JointSample* place, nb::handle position, nb::handle velocity, nb::handle acceleration) {
            new (place) JointSample{ToVector(position, "position"), ToVector(velocity, "velocity"),
                                    ToVector(acceleration, "acceleration")};
          },
          nb::arg("position").none(), nb::arg("velocity").none(), nb::arg("acceleration").none(),
          nb::sig("def __init__(self, position: velmora._typing.VectorLike, velocity: velmora._typing.VectorLike, "
                  "acceleration: velmora._typing.VectorLike) -> None"))
      .def_prop_ro("position", &View<&JointSample::position>,
                   nb::for_getter(nb::sig("def position(self) -> velmora._typing.FloatArray")))
      .def_prop_ro("velocity", &View<&JointSample::velocity>,
                   nb::for_getter(nb::sig("def velocity(self) -> velmora._typing.FloatArray")))
      .def_prop_ro("acceleration", &View<&JointSample::acceleration>,
                   nb::for_getter(nb::sig("def acceleration(self) -> velmora._typing.FloatArray")))
      .def(
          "__eq__",
          [](const JointSample& a, const JointSample& b) {
            return SameBits(a.position, b.position) && SameBits(a.velocity, b.velocity) &&
                   SameBits(a.acceleration, b.acceleration);
          },
          nb::is_operator(), nb::sig("def __eq__(self, other: object) -> bool"));
  AddRecordMethods(sample, {"position", "velocity", "acceleration"});

  nb::class_<StreamingShaper>(module, "StreamingShaper", kShaperDocstring)
      .def(
          "__init__",
          [](StreamingShaper* place, const shaping::ImpulseSequence& sequence, nb::handle joints,
             nb::handle sample_time_s) {
            new (place) StreamingShaper(sequence, ToCount(joints, "joints"), ToDouble(sample_time_s, "sample_time_s"));
          },
          nb::arg("sequence"), nb::arg("joints").none(), nb::arg("sample_time_s").none(),
          nb::sig("def __init__(self, sequence: ImpulseSequence, joints: typing.SupportsIndex, sample_time_s: "
                  "velmora._typing.Real) -> None"))
      .def(
          "step", [](StreamingShaper& self, const JointSample& raw) { return JointSample(self.Step(raw)); },
          nb::arg("raw"), nb::lock_self(), kStepDocstring)
      .def(
          "step_tail", [](StreamingShaper& self) { return JointSample(self.StepTail()); }, nb::lock_self(),
          kTailDocstring)
      .def(
          "hard_stop", [](StreamingShaper& self) { return JointSample(self.HardStop()); }, nb::lock_self(),
          kStopDocstring)
      .def_prop_ro("at_rest", &StreamingShaper::AtRest, nb::for_getter(nb::lock_self()));
}

}  // namespace velmora::python
