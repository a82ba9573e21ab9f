// The stand-in's error: compiled into its library, with more categories and more content than the bundled one.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>

namespace velmora::native {

enum class ErrorCode : std::int16_t { internal = -3, bad_input = 0, not_ready = 1, timed_out = 17 };

class __attribute__((visibility("default"))) Error : public std::runtime_error {
 public:
  Error(ErrorCode code, std::string message, std::optional<std::string> argument_name,
        std::optional<std::string> detail);
  Error(const Error& other);
  Error& operator=(const Error& other);
  ~Error() override;

  ErrorCode code() const noexcept;
  const std::optional<std::string>& argument_name() const noexcept;
  const std::optional<std::string>& detail() const noexcept;

 private:
  std::string origin_ = "stand-in companion";
  std::optional<std::string> detail_;
  std::optional<std::string> argument_name_;
  std::int64_t created_at_ns_;
  ErrorCode code_;
};

}  // namespace velmora::native
