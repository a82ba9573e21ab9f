// A trajectory that Python threads may share: first calls of its accessors are guarded.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <atomic>
#include <mutex>
#include <optional>
#include <shared_mutex>

#include "velmora/util/timing/trajectory.hpp"

namespace velmora::python {

using native::Matrix;
using native::Vector;
using util::timing::JointTrajectory;

/// The three derivatives, by their order less one.
enum Derivative { kVelocities, kAccelerations, kJerks };

/// Owns a trajectory. Every member may be called from any number of threads, without the interpreter's lock.
class SharedTrajectory {
 public:
  explicit SharedTrajectory(JointTrajectory trajectory);

  const Matrix& positions() const { return trajectory_.positions; }
  const Vector& time() const { return trajectory_.time; }
  /// Computed at the first call.
  const Matrix& Get(Derivative derivative) const;
  /// Whether it was supplied or computed so far.
  bool Has(Derivative derivative) const { return ready_[derivative].load(std::memory_order_acquire); }

  /// Calls `use` with the trajectory. Of the derivatives it may read those that are present so far.
  template <typename Use>
  auto Read(const Use& use) const {
    const std::shared_lock<std::shared_mutex> guard(caches_);
    return use(trajectory_);
  }
  /// The same where `use` may read velocities and accelerations that are not present yet. Where it fails, those that it
  /// filled are dropped again: a call that fails changes nothing.
  template <typename Use>
  auto ReadDerivatives(const Use& use) const {
    if (Has(kVelocities) && Has(kAccelerations)) return Read(use);
    const std::lock_guard<std::shared_mutex> guard(caches_);
    try {
      auto result = use(static_cast<const JointTrajectory&>(trajectory_));
      MarkReady();
      return result;
    } catch (...) {
      DropUnready();
      throw;
    }
  }
  /// For what leaves the derivatives alone.
  const JointTrajectory& samples() const { return trajectory_; }

  /// The same bits in times, positions and whatever derivative either of the two holds; what the other one would
  /// compute counts as present, so that asking for a derivative never changes the answer.
  bool HasSameBits(const SharedTrajectory& other) const;

 private:
  void MarkReady() const;
  void DropUnready() const;

  mutable JointTrajectory trajectory_;  // only its caches change
  mutable std::shared_mutex caches_;
  mutable std::array<std::atomic<bool>, 3> ready_;
};

}  // namespace velmora::python
