// The class ImpulseSequence of velmora.shaping, and the convolution of two.
// SPDX-License-Identifier: Apache-2.0
#include "velmora/shaping/impulse_sequence.hpp"

#include <nanobind/nanobind.h>

#include "conversions.hpp"
#include "records.hpp"
#include "register.hpp"

namespace velmora::python {
namespace {

using shaping::ImpulseSequence;
using Self = nb::pointer_and_handle<ImpulseSequence>;

// clang-format off
constexpr const char* kSequenceDocstring = R"(Impulses that shape a command: it becomes the sum of its delayed, scaled copies.

Parameters
----------
times_s : (n,) array_like of float
    Delays in seconds, strictly increasing from 0; n is at least 1.
amplitudes : (n,) array_like of float
    Share of each copy; negative ones are allowed. Their sum may miss 1 by up to 1e-9: the last one is then replaced by 1
    less the sum of those before it.

Attributes
----------
duration_s : float
    How much longer a shaped command takes: the last time.
centroid_s : float
    How far a shaped command lags behind the raw one: the sum of amplitude times time.

Raises
------
InvalidArgumentError
    In this order: "ImpulseSequence requires at least 1 impulse, got 0."; "ImpulseSequence.times_s must contain only
    finite values."; "ImpulseSequence.times_s must start at 0."; "ImpulseSequence.times_s must be strictly increasing.";
    "ImpulseSequence.amplitudes must match ImpulseSequence.times_s length."; "ImpulseSequence.amplitudes must contain
    only finite values."; "ImpulseSequence.amplitudes must sum to 1."
TypeError, ValueError
    For arguments of another kind or number of dimensions; the message names the argument.

Notes
-----
Unchangeable, so that any number of threads may use it. It can be copied and pickled, and equals a sequence of the same
bits.

Examples
--------
>>> from velmora import shaping
>>> shaping.ImpulseSequence([0.0, 0.1], [0.5, 0.5]).centroid_s
0.05
)";

constexpr const char* kConvolveDocstring = R"(Return the sequence that shapes as two do one after the other, in any order.

With it the vibration of two modes is suppressed by one sequence for each. Impulses at most 1e-9 of the total duration
later than the first of a group are merged into that one.

Parameters
----------
first, second : ImpulseSequence
    Sequences of n and m impulses.

Returns
-------
ImpulseSequence
    Up to n m impulses.

Raises
------
InvalidArgumentError
    The messages of `ImpulseSequence`, where values overflow.
TypeError
    For arguments that are no sequences.

Notes
-----
Takes time in n m log(n m). Any number of threads may call it at once.

Examples
--------
>>> from velmora import shaping
>>> zv = shaping.zv(shaping.VibrationMode(1.0, 0.0))
>>> shaping.convolve(zv, zv)
ImpulseSequence(times_s=array([0. , 0.5, 1. ]), amplitudes=array([0.25, 0.5 , 0.25]))
)";
// clang-format on

}  // namespace

void RegisterImpulseSequence(nb::module_& module) {
  nb::class_<ImpulseSequence> sequence(module, "ImpulseSequence", kSequenceDocstring);
  sequence
      .def(
          "__init__",
          [](ImpulseSequence* place, nb::handle times_s, nb::handle amplitudes) {
            new (place) ImpulseSequence(ToVector(times_s, "times_s"), ToVector(amplitudes, "amplitudes"));
          },
          nb::arg("times_s").none(), nb::arg("amplitudes").none(),
          nb::sig("def __init__(self, times_s: velmora._typing.VectorLike, amplitudes: velmora._typing.VectorLike) -> "
                  "None"))
      .def_prop_ro(
          "times_s", [](Self self) { return ViewOf(self.p->times_s, self.h); },
          nb::for_getter(nb::sig("def times_s(self) -> velmora._typing.FloatArray")), "(n,) delays in seconds.")
      .def_prop_ro(
          "amplitudes", [](Self self) { return ViewOf(self.p->amplitudes, self.h); },
          nb::for_getter(nb::sig("def amplitudes(self) -> velmora._typing.FloatArray")), "(n,) shares of the copies.")
      .def_prop_ro("duration_s", &ImpulseSequence::duration_s)
      .def_prop_ro("centroid_s", &ImpulseSequence::centroid_s)
      .def(
          "__eq__",
          [](const ImpulseSequence& a, const ImpulseSequence& b) {
            return SameBits(a.times_s, b.times_s) && SameBits(a.amplitudes, b.amplitudes);
          },
          nb::is_operator(), nb::sig("def __eq__(self, other: object) -> bool"));
  AddRecordMethods(sequence, {"times_s", "amplitudes"});
  module.def("convolve", &shaping::Convolve, nb::arg("first"), nb::arg("second"),
             nb::call_guard<nb::gil_scoped_release>(), kConvolveDocstring);
}

}  // namespace velmora::python
