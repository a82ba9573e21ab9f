// The CSV writer of the examples: exact numbers, and whole files or none.
// SPDX-License-Identifier: Apache-2.0
#include "csv_output.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "recording.hpp"
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

TEST(FormatCsvTest, QuotesNamesThatNeedIt) {
  const Matrix positions = Matrix::Zero(1, 2);
  const std::vector<std::string> names = {"plain_rad", "joint, \"A\""};
  const std::string text = FormatCsv(names, Vector::Zero(1), {positions});
  EXPECT_EQ(text, "time_s,plain_rad,\"joint, \"\"A\"\"\"\n0,0,0\n");
  std::istringstream input(text);
  EXPECT_EQ(ReadRecording(input, "text").joint_names, names);
}

TEST(FormatCsvTest, RefusesTwoColumnsOfOneName) {
  const Matrix positions = Matrix::Zero(1, 2);
  EXPECT_EQ(MessageOf([&] {
              FormatCsv({"a", "a"}, Vector::Zero(1), {positions});
            }),
            "two output columns would be named 'a'");
}

TEST(DerivativeNamesTest, AddsTheUnitOfTime) {
  EXPECT_EQ(DerivativeNames({"a_rad", "b"}, 1), (std::vector<std::string>{"a_rad_per_s", "b_per_s"}));
  EXPECT_EQ(DerivativeNames({"a_rad"}, 2), std::vector<std::string>{"a_rad_per_s2"});
  EXPECT_EQ(DerivativeNames({"a_rad"}, 3), std::vector<std::string>{"a_rad_per_s3"});
}

class WriteOutputTest : public TemporaryFolder {};

TEST_F(WriteOutputTest, ReplacesAFileAndLeavesNothingBeside) {
  WriteFile("out.csv", "a much longer text than the new one");
  WriteOutput(Path("out.csv"), "new\n");
  EXPECT_EQ(ReadFile("out.csv"), "new\n");
  EXPECT_EQ(FileCount(), 1U);
}

TEST_F(WriteOutputTest, KeepsALinkAndReplacesWhatItNames) {
  WriteFile("target.csv", "old\n");
  std::filesystem::create_symlink(Path("target.csv"), Path("link.csv"));
  WriteOutput(Path("link.csv"), "new\n");
  EXPECT_TRUE(std::filesystem::is_symlink(Path("link.csv")));
  EXPECT_EQ(ReadFile("target.csv"), "new\n");
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
  EXPECT_TRUE(std::filesystem::is_character_file("/dev/full"));
}

}  // namespace
}  // namespace velmora::examples
