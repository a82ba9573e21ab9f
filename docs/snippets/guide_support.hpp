// What the pieces of the guide share: the text of an error.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <velmora/native/invalid_argument_error.hpp>

#include <string>

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
