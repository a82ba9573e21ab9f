// The shaping that is timed and compared: a sequence of three impulses, shorter than the shortest recording.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "recording.hpp"
#include "velmora/shaping/designs.hpp"
#include "velmora/shaping/shape_trajectory.hpp"

namespace velmora::benchmarks {

inline shaping::ImpulseSequence ThreeImpulses() { return shaping::Zvd(shaping::VibrationMode{12.0, 0.05}); }

inline shaping::ShapedCommand Shape(const Recording& r) {
  return shaping::ShapeTrajectory(r.trajectory, {ThreeImpulses()}, 0.004, util::timing::ResamplingMethod::cubic);
}

}  // namespace velmora::benchmarks
