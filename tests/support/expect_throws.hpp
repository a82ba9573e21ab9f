// Expectation that a call throws exactly one type with exactly one text.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <exception>
#include <optional>
#include <string>
#include <type_traits>
#include <typeinfo>

#include "velmora/native/error.hpp"
#include "velmora/native/invalid_argument_error.hpp"

namespace velmora::testing {

inline const std::optional<std::string> kNoArgumentName;

/// Fails unless `call()` throws an object whose dynamic type is `Type` and whose whole message is `message`; for an
/// `Error` also its code (0), argument name and detail (none) are compared. Failures name the line of the caller.
template <typename Type, typename Call>
void ExpectThrows(const Call& call, const std::string& message,
                  const std::optional<std::string>& argument_name = kNoArgumentName,
                  const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
  try {
    call();
  } catch (const std::exception& error) {
    if (typeid(error) != typeid(Type)) {
      ADD_FAILURE_AT(file, line) << "expected type " << typeid(Type).name() << ", thrown " << typeid(error).name()
                                 << ": " << error.what();
      return;
    }
    if (error.what() != message) {
      ADD_FAILURE_AT(file, line) << "expected: " << message << "\n  thrown: " << error.what();
    }
    if constexpr (std::is_base_of_v<native::Error, Type>) {
      const auto& thrown = dynamic_cast<const native::Error&>(error);
      if (static_cast<int>(thrown.code()) != 0) ADD_FAILURE_AT(file, line) << "the code is not 0";
      if (thrown.argument_name() != argument_name) ADD_FAILURE_AT(file, line) << "wrong argument name";
      if (thrown.detail().has_value()) ADD_FAILURE_AT(file, line) << "unexpected detail";
    }
    return;
  }
  ADD_FAILURE_AT(file, line) << "expected: " << message << "\nnothing was thrown";
}

/// The library's one exception type, without an argument name.
template <typename Call>
void ExpectInvalidArgument(const Call& call, const std::string& message, const char* file = __builtin_FILE(),
                           int line = __builtin_LINE()) {
  ExpectThrows<native::InvalidArgumentError>(call, message, kNoArgumentName, file, line);
}

}  // namespace velmora::testing
