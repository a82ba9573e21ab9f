// Blends of a raw trajectory with its shaped copy.
// SPDX-License-Identifier: Apache-2.0
#include "velmora/shaping/blend_shaped_trajectory.hpp"

#include <nanobind/nanobind.h>

#include "conversions.hpp"
#include "register.hpp"
#include "shared_trajectory.hpp"

namespace velmora::python {
namespace {

using shaping::ShapedCommand;

// clang-format off
constexpr const char* kBlendDocstring = R"(Blend a raw trajectory with its shaped copy: ``(1 - w) * raw + w * shaped``.

Beyond the end of the raw trajectory its endpoint is held and blended with the tail, with the weight of the last sample.
Where the weight changes with time, velocities and accelerations get the terms of the product rule, so that they remain
derivatives of the positions.

Parameters
----------
raw : JointTrajectory
    The raw trajectory, N samples of J joints.
shaped : ShapedCommand
    Its shaped copy, sampled at the same times.
weight : float or (N,) array_like of float
    Share of the shaped copy in [0, 1]: one value, or one per sample of the raw trajectory.
transition_s : float, optional
    Let the weight rise from 0 to this one value along `velmora.smootherstep` in so many seconds.

Returns
-------
ShapedCommand
    The blend. Its `lag_s` and `added_duration_s` remain those of `shaped`.

Raises
------
InvalidArgumentError
    In this order: "command parts must have matching sample and joint shapes"; "raw and shaped.move must have the same
    number of joints."; "raw and shaped.move must have the same sample times."; "per-sample shaping weights must match
    the sample count"; "vibration_shaping_weight must be in [0.0, 1.0]"; "vibration_weight_transition_s must be
    non-negative".
TypeError, ValueError
    For arguments of another kind or number of dimensions; the message names the argument.

Notes
-----
Linear in the number of elements. Any number of threads may call it at once.

Examples
--------
>>> import velmora as vm
>>> from velmora import shaping
>>> raw = vm.JointTrajectory([[0.0], [1.0], [2.0]], dt=1.0)
>>> halves = shaping.ImpulseSequence([0.0, 0.5], [0.5, 0.5])
>>> command = shaping.shape_trajectory(raw, halves, 1.0, method="linear")
>>> shaping.blend_shaped_trajectory(raw, command, 0.5).move.positions
array([[0.   ],
       [0.875],
       [1.875]])
)";

constexpr const char* kSequenceDocstring = R"(Return the sequence that a blend with a constant weight amounts to.

Its `residual_vibration` is that of the blend.

Parameters
----------
sequence : ImpulseSequence
    The sequence of the shaped copy.
weight : float
    Share of the shaped copy in [0, 1].

Returns
-------
ImpulseSequence
    The weight times the given one, and the rest at time 0.

Raises
------
InvalidArgumentError
    "vibration_shaping_weight must be in [0.0, 1.0]"
TypeError, ValueError
    For arguments of another kind; the message names the argument.

Notes
-----
Any number of threads may call it at once.

Examples
--------
>>> from velmora import shaping
>>> shaping.blended_sequence(shaping.ImpulseSequence([0.0, 0.5], [0.5, 0.5]), 0.5)
ImpulseSequence(times_s=array([0. , 0.5]), amplitudes=array([0.75, 0.25]))
)";
// clang-format on

ShapedCommand Blend(const SharedTrajectory& raw, const ShapedCommand& shaped, nb::handle weight,
                    nb::handle transition_s) {
  const std::optional<double> transition = ToOptionalDouble(transition_s, "transition_s");
  const std::variant<double, Vector> given =
      transition ? std::variant<double, Vector>(ToDouble(weight, "weight")) : ToDoubleOrVector(weight, "weight");
  const nb::gil_scoped_release unlocked;
  return raw.ReadDerivatives([&](const JointTrajectory& held) {
    return transition ? shaping::BlendShapedTrajectory(held, shaped,
                                                       shaping::WeightTransition{std::get<double>(given), *transition})
                      : shaping::BlendShapedTrajectory(held, shaped, given);
  });
}

}  // namespace

void RegisterBlendShapedTrajectory(nb::module_& module) {
  module.def("blend_shaped_trajectory", &Blend, nb::arg("raw"), nb::arg("shaped"), nb::arg("weight").none(),
             nb::arg("transition_s").none() = nb::none(),
             nb::sig("def blend_shaped_trajectory(raw: JointTrajectory, shaped: ShapedCommand, weight: "
                     "velmora._typing.Real | velmora._typing.VectorLike, transition_s: velmora._typing.Real | None = "
                     "None) -> ShapedCommand"),
             kBlendDocstring);
  module.def(
      "blended_sequence",
      [](const shaping::ImpulseSequence& sequence, nb::handle weight) {
        return shaping::BlendedSequence(sequence, ToDouble(weight, "weight"));
      },
      nb::arg("sequence"), nb::arg("weight").none(),
      nb::sig("def blended_sequence(sequence: ImpulseSequence, weight: velmora._typing.Real) -> ImpulseSequence"),
      kSequenceDocstring);
}

}  // namespace velmora::python
