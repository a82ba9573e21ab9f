// Random trajectories and spacings for resampling.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

#include "support/generator.hpp"
#include "velmora/native/array_types.hpp"

namespace velmora::testing {

/// Mostly a spacing that gives between one and a few hundred steps over the span; sometimes one that is not admissible
/// or gives a grid that no memory holds. Never one in between, whose grid would be merely large.
double RandomSampleTime(SplitMix64& random, double span_s);

/// Mostly one of the four modes, sometimes a value outside of them.
int RandomGridMode(SplitMix64& random);

/// Mostly an admissible time vector for `samples` samples, sometimes one that is spoiled.
native::Vector RandomTimesOrSpoiled(SplitMix64& random, std::size_t samples);

}  // namespace velmora::testing
