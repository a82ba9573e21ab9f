// Reference for the texts of the resampling options.
// SPDX-License-Identifier: Apache-2.0
#include "oracle/options.hpp"

#include "oracle/failure.hpp"

namespace velmora::oracle {

int ParseResamplingMethod(const std::string& text) {
  if (text == "linear") return kMethodLinear;
  if (text == "cubic") return kMethodCubic;
  Fail("Unsupported resampling method: '" + text + "'.");
}

int ParseResamplingTimeGridMode(const std::string& text) {
  if (text == "exact_dt_append_endpoint") return kAppendEndpoint;
  if (text == "exact_dt_trim") return kTrim;
  if (text == "exact_duration_adjust_dt") return kAdjustDt;
  if (text == "exact_dt_extend_endpoint") return kExtendEndpoint;
  Fail("Unsupported resampling time-grid mode: '" + text + "'.");
}

}  // namespace velmora::oracle
