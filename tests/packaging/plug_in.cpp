// A plug-in that links the library: makes it throw, and catches by type what crossed the edge.
// SPDX-License-Identifier: Apache-2.0
#include <limits>
#include <stdexcept>

#include "velmora/native/invalid_argument_error.hpp"
#include "velmora/util/smootherstep.hpp"

namespace {

template <typename Caught>
bool Catches() {
  try {
    velmora::util::Smootherstep(std::numeric_limits<double>::quiet_NaN());
  } catch (const Caught&) {
    return true;
  } catch (...) {
  }
  return false;
}

}  // namespace

// How many of the three types were caught.
extern "C" __attribute__((visibility("default"))) int CountCaughtTypes() {
  return static_cast<int>(Catches<velmora::native::InvalidArgumentError>()) +
         static_cast<int>(Catches<velmora::native::Error>()) + static_cast<int>(Catches<std::runtime_error>());
}

// Lets the error out, to be caught by the program that loaded the plug-in.
extern "C" __attribute__((visibility("default"))) void ThrowIntoHost() {
  velmora::util::Smootherstep(std::numeric_limits<double>::infinity());
}
