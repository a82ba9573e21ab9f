// How the reference reports what a routine must report by an exception.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

namespace velmora::oracle {

enum class FailureKind { invalid_argument, bad_alloc, bad_variant_access };

/// Thrown by the reference in place of the library's exceptions; comparable, so that whole outcomes can be compared.
struct Failure {
  FailureKind kind = FailureKind::invalid_argument;
  std::string message;                       ///< only for `invalid_argument`
  std::optional<std::string> argument_name;  ///< only for `invalid_argument`
};

inline bool operator==(const Failure& a, const Failure& b) {
  return a.kind == b.kind && a.message == b.message && a.argument_name == b.argument_name;
}
inline bool operator!=(const Failure& a, const Failure& b) { return !(a == b); }

[[noreturn]] inline void Fail(const std::string& message) {
  throw Failure{FailureKind::invalid_argument, message, std::nullopt};
}

}  // namespace velmora::oracle
