// The exception type, as a caller of the shared library meets it.
// SPDX-License-Identifier: Apache-2.0
#include "velmora/native/invalid_argument_error.hpp"

#include <gtest/gtest.h>

#include <exception>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <type_traits>

#include "support/arrays.hpp"
#include "support/expect_throws.hpp"
#include "velmora/control/shaper/parameters.hpp"
#include "velmora/native/error.hpp"
#include "velmora/util/smootherstep.hpp"

namespace velmora::native {
namespace {

using testing::kNan;

static_assert(std::is_base_of_v<std::runtime_error, Error>);
static_assert(std::is_base_of_v<Error, InvalidArgumentError>);
static_assert(sizeof(InvalidArgumentError) == sizeof(Error), "no data members of its own");
static_assert(std::has_virtual_destructor_v<InvalidArgumentError>);
static_assert(std::is_enum_v<ErrorCode>);
static_assert(
    std::is_constructible_v<Error, ErrorCode, std::string, std::optional<std::string>, std::optional<std::string>>);
static_assert(std::is_constructible_v<InvalidArgumentError, std::string, std::optional<std::string>>);
static_assert(!std::is_constructible_v<InvalidArgumentError, std::string>);

template <typename Caught>
std::string MessageCaughtAs() {
  try {
    util::Smootherstep(kNan);
  } catch (const Caught& error) {
    return error.what();
  }
  return "not thrown";
}

TEST(InvalidArgumentError, IsCaughtByEveryTypeOfItsHierarchyAcrossTheSharedLibrary) {
  EXPECT_EQ(MessageCaughtAs<InvalidArgumentError>(), "unit_progress must be finite");
  EXPECT_EQ(MessageCaughtAs<Error>(), "unit_progress must be finite");
  EXPECT_EQ(MessageCaughtAs<std::runtime_error>(), "unit_progress must be finite");
  EXPECT_EQ(MessageCaughtAs<std::exception>(), "unit_progress must be finite");
}

TEST(InvalidArgumentError, HasCodeZeroAndNoDetail) {
  const InvalidArgumentError error("message", std::nullopt);
  EXPECT_EQ(static_cast<int>(error.code()), 0);
  EXPECT_EQ(error.argument_name(), std::nullopt);
  EXPECT_EQ(error.detail(), std::nullopt);
}

TEST(InvalidArgumentError, KeepsMessageAndArgumentNameUnchanged) {
  const std::string message = "a message that is longer than any small-string buffer, with 'quotes' and `backquotes`.";
  const InvalidArgumentError error(message, "an_argument");
  EXPECT_EQ(error.what(), message);
  EXPECT_EQ(error.argument_name(), "an_argument");
}

TEST(InvalidArgumentError, IsDestroyedThroughItsBase) {
  const std::unique_ptr<std::runtime_error> error =
      std::make_unique<InvalidArgumentError>("a message that lives on the heap, not inside the object", "name");
  EXPECT_STREQ(error->what(), "a message that lives on the heap, not inside the object");
}

TEST(InvalidArgumentError, KeepsItsContentWhenCopied) {
  const InvalidArgumentError error("message", "name");
  const InvalidArgumentError copy(error);
  EXPECT_STREQ(copy.what(), "message");
  EXPECT_EQ(copy.argument_name(), "name");
}

TEST(Error, CarriesWhatItWasGiven) {
  const Error error(static_cast<ErrorCode>(0), "message", std::nullopt, "detail");
  EXPECT_STREQ(error.what(), "message");
  EXPECT_EQ(error.argument_name(), std::nullopt);
  EXPECT_EQ(error.detail(), "detail");
}

TEST(InvalidArgumentError, NamesTheArgumentOnlyForSmootherstep) {
  testing::ExpectThrows<InvalidArgumentError>([] { util::Smootherstep(kNan); }, "unit_progress must be finite",
                                              "unit_progress");
  testing::ExpectThrows<InvalidArgumentError>([] { control::shaper::ValidateVibrationShapingWeight(kNan); },
                                              "vibration_shaping_weight must be in [0.0, 1.0]", std::nullopt);
}

}  // namespace
}  // namespace velmora::native
