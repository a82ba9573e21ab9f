// What the pieces of the guide share: the text of an error, and a trajectory with sample times and nothing else.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <velmora/native/invalid_argument_error.hpp>
#include <velmora/util/timing/trajectory.hpp>

#include <optional>
#include <string>
#include <utility>

//! [message_of]
template <typename Call>
std::string MessageOf(Call call) {
  try {
    call();
  } catch (const velmora::native::InvalidArgumentError& error) {
    return error.what();
  }
  return "no error";
}
//! [message_of]

//! [recorded]
inline velmora::util::timing::JointTrajectory Recorded(velmora::native::Matrix positions,
                                                       velmora::native::Vector time) {
  return {std::move(positions), std::nullopt, std::nullopt, std::move(time), std::nullopt, std::nullopt};
}
//! [recorded]
