// The texts of the resampling options.
// SPDX-License-Identifier: Apache-2.0
#include <string>

#include "internal/throw_invalid_argument.hpp"
#include "velmora/util/timing/resampling.hpp"

namespace velmora::util::timing {

ResamplingMethod ParseResamplingMethod(std::string_view text) {
  if (text == "linear") return ResamplingMethod::linear;
  if (text == "cubic") return ResamplingMethod::cubic;
  internal::ThrowInvalidArgument("Unsupported resampling method: '" + std::string(text) + "'.");
}

ResamplingTimeGridMode ParseResamplingTimeGridMode(std::string_view text) {
  if (text == "exact_dt_append_endpoint") return ResamplingTimeGridMode::exact_dt_append_endpoint;
  if (text == "exact_dt_trim") return ResamplingTimeGridMode::exact_dt_trim;
  if (text == "exact_duration_adjust_dt") return ResamplingTimeGridMode::exact_duration_adjust_dt;
  if (text == "exact_dt_extend_endpoint") return ResamplingTimeGridMode::exact_dt_extend_endpoint;
  internal::ThrowInvalidArgument("Unsupported resampling time-grid mode: '" + std::string(text) + "'.");
}

}  // namespace velmora::util::timing
