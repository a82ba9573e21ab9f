// The CSV writer of the examples: exact numbers, and an error where a text does not fit.
// SPDX-License-Identifier: Apache-2.0
#include "csv_output.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "temporary_folder.hpp"

namespace velmora::examples {
namespace {

template <typename Call>
std::string MessageOf(Call call) {
  try {
    call();
  } catch (const OutputError& error) {
    return error.what();
  }
  return "no error";
}

TEST(FormatCsvTest, WritesTheFewestDigitsThatReadBackTheSame) {
  Matrix positions(2, 1);
  positions << 0.1, 1.0 / 3.0;
  Matrix velocities(2, 1);
  velocities << -0.0, 5e-324;
  EXPECT_EQ(FormatCsv({"a", "a_per_s"}, Eigen::Vector2d(0.0, 0.30000000000000004), {positions, velocities}),
            "time_s,a,a_per_s\n0,0.1,-0\n0.30000000000000004,0.3333333333333333,5e-324\n");
}

TEST(DerivativeNamesTest, AddsTheUnitOfTime) {
  EXPECT_EQ(DerivativeNames({"a_rad", "b"}, 1), (std::vector<std::string>{"a_rad_per_s", "b_per_s"}));
  EXPECT_EQ(DerivativeNames({"a_rad"}, 2), std::vector<std::string>{"a_rad_per_s2"});
  EXPECT_EQ(DerivativeNames({"a_rad"}, 3), std::vector<std::string>{"a_rad_per_s3"});
}

class WriteOutputTest : public TemporaryFolder {};

TEST_F(WriteOutputTest, WritesAFile) {
  WriteOutput(Path("out.csv"), "new\n");
  EXPECT_EQ(ReadFile("out.csv"), "new\n");
}

TEST_F(WriteOutputTest, ReportsAFolderThatDoesNotExist) {
  const std::string path = Path("absent/out.csv");
  EXPECT_EQ(MessageOf([&] { WriteOutput(path, "text"); }), path + ": No such file or directory");
  EXPECT_EQ(FileCount(), 0U);
}

TEST_F(WriteOutputTest, ReportsAFullDevice) {
  EXPECT_EQ(MessageOf([] { WriteOutput("/dev/full", "text"); }), "/dev/full: No space left on device");
  EXPECT_EQ(MessageOf([] { WriteOutput("/dev/full", std::string(100000, 'x')); }),
            "/dev/full: No space left on device");
}

}  // namespace
}  // namespace velmora::examples
