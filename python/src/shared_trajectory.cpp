// A trajectory that Python threads may share: first calls of its accessors are guarded.
// SPDX-License-Identifier: Apache-2.0
#include "shared_trajectory.hpp"

#include <type_traits>
#include <utility>

#include "records.hpp"

namespace velmora::python {
namespace {

using Cache = std::optional<Matrix> JointTrajectory::*;

// What a trajectory holds already decides what is copied and pickled, and its class does not tell. An explicit
// instantiation may name private members ([temp.spec.general]/6).
template <Derivative kDerivative>
using Of = std::integral_constant<Derivative, kDerivative>;
Cache CacheOf(Of<kVelocities>);
Cache CacheOf(Of<kAccelerations>);
Cache CacheOf(Of<kJerks>);
template <Derivative kDerivative, Cache kMember>
struct Reveal {
  friend Cache CacheOf(Of<kDerivative>) { return kMember; }
};
template struct Reveal<kVelocities, &JointTrajectory::cached_velocities>;
template struct Reveal<kAccelerations, &JointTrajectory::cached_accelerations>;
template struct Reveal<kJerks, &JointTrajectory::cached_jerks>;

}  // namespace

SharedTrajectory::SharedTrajectory(JointTrajectory trajectory) : trajectory_(std::move(trajectory)) { MarkReady(); }

void SharedTrajectory::MarkReady() const {
  ready_[kVelocities] = (trajectory_.*CacheOf(Of<kVelocities>())).has_value();
  ready_[kAccelerations] = (trajectory_.*CacheOf(Of<kAccelerations>())).has_value();
  ready_[kJerks] = (trajectory_.*CacheOf(Of<kJerks>())).has_value();
}

// Nobody has seen them: a view is made of a derivative that is ready.
void SharedTrajectory::DropUnready() const {
  if (!Has(kVelocities)) (trajectory_.*CacheOf(Of<kVelocities>())).reset();
  if (!Has(kAccelerations)) (trajectory_.*CacheOf(Of<kAccelerations>())).reset();
}

const Matrix& SharedTrajectory::Get(Derivative derivative) const {
  using Accessor = const Matrix& (JointTrajectory::*)() const;
  constexpr std::array<Accessor, 3> accessors = {&JointTrajectory::velocities, &JointTrajectory::accelerations,
                                                 &JointTrajectory::jerks};
  if (Has(derivative)) return (trajectory_.*accessors[derivative])();
  const std::lock_guard<std::shared_mutex> guard(caches_);
  const Matrix& values = (trajectory_.*accessors[derivative])();
  MarkReady();  // the levels below as well, where the accessor filled them
  return values;
}

bool SharedTrajectory::HasSameBits(const SharedTrajectory& other) const {
  if (!SameBits(time(), other.time()) || !SameBits(positions(), other.positions())) return false;
  for (const Derivative derivative : {kVelocities, kAccelerations, kJerks}) {
    if (!Has(derivative) && !other.Has(derivative)) continue;
    if (!SameBits(Get(derivative), other.Get(derivative))) return false;
  }
  return true;
}

}  // namespace velmora::python
