// The texts of the resampling options.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <type_traits>

#include "support/expect_throws.hpp"
#include "velmora/util/timing/resampling.hpp"

namespace velmora::util::timing {
namespace {

using testing::ExpectInvalidArgument;

static_assert(std::is_same_v<std::underlying_type_t<ResamplingMethod>, int>);
static_assert(static_cast<int>(ResamplingMethod::linear) == 0);
static_assert(static_cast<int>(ResamplingMethod::cubic) == 1);
static_assert(std::is_same_v<std::underlying_type_t<ResamplingTimeGridMode>, int>);
static_assert(static_cast<int>(ResamplingTimeGridMode::exact_dt_append_endpoint) == 0);
static_assert(static_cast<int>(ResamplingTimeGridMode::exact_dt_trim) == 1);
static_assert(static_cast<int>(ResamplingTimeGridMode::exact_duration_adjust_dt) == 2);
static_assert(static_cast<int>(ResamplingTimeGridMode::exact_dt_extend_endpoint) == 3);
static_assert(std::is_same_v<decltype(&ParseResamplingMethod), ResamplingMethod (*)(std::string_view)>);
static_assert(std::is_same_v<decltype(&ParseResamplingTimeGridMode), ResamplingTimeGridMode (*)(std::string_view)>);

TEST(ParseResamplingMethod, KnowsItsTwoTexts) {
  EXPECT_EQ(ParseResamplingMethod("linear"), ResamplingMethod::linear);
  EXPECT_EQ(ParseResamplingMethod("cubic"), ResamplingMethod::cubic);
}

TEST(ParseResamplingMethod, ThrowsForEveryOtherText) {
  ExpectInvalidArgument([] { ParseResamplingMethod("Linear"); }, "Unsupported resampling method: 'Linear'.");
  ExpectInvalidArgument([] { ParseResamplingMethod(""); }, "Unsupported resampling method: ''.");
  ExpectInvalidArgument([] { ParseResamplingMethod("linear "); }, "Unsupported resampling method: 'linear '.");
  ExpectInvalidArgument([] { ParseResamplingMethod(" cubic"); }, "Unsupported resampling method: ' cubic'.");
  ExpectInvalidArgument([] { ParseResamplingMethod("cub"); }, "Unsupported resampling method: 'cub'.");
  ExpectInvalidArgument([] { ParseResamplingMethod("cubics"); }, "Unsupported resampling method: 'cubics'.");
  ExpectInvalidArgument([] { ParseResamplingMethod("1"); }, "Unsupported resampling method: '1'.");
  ExpectInvalidArgument([] { ParseResamplingMethod("'\n\xff"); }, "Unsupported resampling method: ''\n\xff'.");
  ExpectInvalidArgument([] { ParseResamplingMethod("exact_dt_trim"); },
                        "Unsupported resampling method: 'exact_dt_trim'.");
}

TEST(ParseResamplingMethod, ReadsNoFurtherThanTheView) {
  EXPECT_EQ(ParseResamplingMethod(std::string_view("linearly").substr(0, 6)), ResamplingMethod::linear);
  const std::string_view nul_inside("cubic\0", 6);
  EXPECT_THROW(ParseResamplingMethod(nul_inside), native::InvalidArgumentError) << "a NUL is a byte like any other";
}

TEST(ParseResamplingTimeGridMode, KnowsItsFourTexts) {
  EXPECT_EQ(ParseResamplingTimeGridMode("exact_dt_append_endpoint"), ResamplingTimeGridMode::exact_dt_append_endpoint);
  EXPECT_EQ(ParseResamplingTimeGridMode("exact_dt_trim"), ResamplingTimeGridMode::exact_dt_trim);
  EXPECT_EQ(ParseResamplingTimeGridMode("exact_duration_adjust_dt"), ResamplingTimeGridMode::exact_duration_adjust_dt);
  EXPECT_EQ(ParseResamplingTimeGridMode("exact_dt_extend_endpoint"), ResamplingTimeGridMode::exact_dt_extend_endpoint);
}

TEST(ParseResamplingTimeGridMode, ThrowsForEveryOtherText) {
  for (const std::string text : {"exact_dt_trim ", " exact_dt_trim", "EXACT_DT_TRIM", "1", "", "exact_dt", "trim",
                                 "exact_dt_append_endpoin", "exact_dt_extend_endpoint\n", "linear"}) {
    ExpectInvalidArgument([&] { ParseResamplingTimeGridMode(text); },
                          "Unsupported resampling time-grid mode: '" + text + "'.");
  }
}

}  // namespace
}  // namespace velmora::util::timing
