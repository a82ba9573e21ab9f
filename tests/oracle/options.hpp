// Reference for the texts of the resampling options.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace velmora::oracle {

constexpr int kMethodLinear = 0;
constexpr int kMethodCubic = 1;

constexpr int kAppendEndpoint = 0;
constexpr int kTrim = 1;
constexpr int kAdjustDt = 2;
constexpr int kExtendEndpoint = 3;

/// The value of the enumerator with this name; throws `Failure` for any other text.
int ParseResamplingMethod(const std::string& text);
int ParseResamplingTimeGridMode(const std::string& text);

}  // namespace velmora::oracle
