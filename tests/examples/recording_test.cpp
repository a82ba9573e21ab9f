// The CSV reader of the examples: what it accepts, and the message for everything else.
// SPDX-License-Identifier: Apache-2.0
#include "recording.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <ostream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "temporary_folder.hpp"

namespace velmora::examples {
namespace {

using namespace std::string_literals;

Recording Read(const std::string& text) {
  std::istringstream input(text);
  return ReadRecording(input, "log.csv");
}

std::string MessageOf(const std::string& text) {
  try {
    Read(text);
  } catch (const RecordingError& error) {
    return error.what();
  }
  return "no error";
}

TEST(RecordingTest, ReadsTimesAndJointsInFileOrder) {
  const Recording recording = Read("time_s,shoulder_rad,elbow_rad\n0,1.5,-2\n0.25,1e-3,4\n");
  EXPECT_EQ(recording.joint_names, (std::vector<std::string>{"shoulder_rad", "elbow_rad"}));
  EXPECT_EQ(recording.time, Eigen::Vector2d(0.0, 0.25));
  Matrix expected(2, 2);
  expected << 1.5, -2.0, 1e-3, 4.0;
  EXPECT_EQ(recording.positions, expected);
}

TEST(RecordingTest, FindsTheTimeColumnByItsName) {
  const Recording recording = Read("a,time_s,b\n1,10,2\n");
  EXPECT_EQ(recording.joint_names, (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(recording.time[0], 10.0);
  EXPECT_EQ(recording.positions(0, 0), 1.0);
  EXPECT_EQ(recording.positions(0, 1), 2.0);
}

TEST(RecordingTest, AcceptsWhatLogsHold) {
  const Recording recording = Read(
      "\xEF\xBB\xBF# written by a logger\r\n\r\n time_s ,\t\"joint, \"\"A\"\"\"\r\n  # a remark\r\n"
      "0, \"1.5\" \r\n   \r\n+1e0,+2\t\r\n\r\n2,-.5");
  EXPECT_EQ(recording.joint_names, std::vector<std::string>{"joint, \"A\""});
  EXPECT_EQ(recording.time, Eigen::Vector3d(0.0, 1.0, 2.0));
  EXPECT_EQ(recording.positions.col(0), Eigen::Vector3d(1.5, 2.0, -0.5));
}

TEST(RecordingTest, ReadsNumbersToTheLastBit) {
  const Recording recording = Read("time_s,a\n-1e308,4.9406564584124654e-324\n0.1,-0.0\n");
  EXPECT_EQ(recording.time[0], -1e308);
  EXPECT_EQ(recording.time[1], 0.1);
  EXPECT_EQ(recording.positions(0, 0), 5e-324);
  EXPECT_TRUE(std::signbit(recording.positions(1, 0)));
}

struct BadText {
  const char* name;
  std::string text;
  std::string message;
};

void PrintTo(const BadText& bad_text, std::ostream* output) { *output << bad_text.name; }

class BadRecordingTest : public ::testing::TestWithParam<BadText> {};

TEST_P(BadRecordingTest, IsReportedWithFileAndLine) { EXPECT_EQ(MessageOf(GetParam().text), GetParam().message); }

INSTANTIATE_TEST_SUITE_P(
    EveryCheck, BadRecordingTest,
    ::testing::Values(
        BadText{"Empty", "", "log.csv:1: the header line is missing"},
        BadText{"OnlyComments", "# a\n\n# b\n", "log.csv:3: the header line is missing"},
        BadText{"NoTimeColumn", "time,a\n0,1\n",
                "log.csv:1: the header names no column 'time_s' (columns are separated by commas)"},
        BadText{"Semicolons", "\ntime_s;a\n0;1\n",
                "log.csv:2: the header names no column 'time_s' (columns are separated by commas)"},
        BadText{"NoJoint", "time_s\n0\n", "log.csv:1: the header names no joint column beside 'time_s'"},
        BadText{"EmptyName", "time_s,,a\n", "log.csv:1: column 2 has no name"},
        BadText{"TrailingComma", "time_s,a,\n", "log.csv:1: column 3 has no name"},
        BadText{"SameNameTwice", "time_s,a,a\n", "log.csv:1: column name 'a' appears twice"},
        BadText{"TimeTwice", "time_s,a,time_s\n", "log.csv:1: column name 'time_s' appears twice"},
        BadText{"NoSamples", "# a\ntime_s,a\n\n", "log.csv:3: no samples after the header"},
        BadText{"TooFewColumns", "time_s,a,b\n0,1,2\n1,2\n", "log.csv:3: expected 3 columns, found 2"},
        BadText{"TooManyColumns", "time_s,a\n0,1,2\n", "log.csv:2: expected 2 columns, found 3"},
        BadText{"InnerCarriageReturn", "time_s,a\n0,1\r1,2\n", "log.csv:2: expected 2 columns, found 3"},
        BadText{"Text", "time_s,a\n0,1\n\n# x\n1,fast\n", "log.csv:5: column 'a': 'fast' is not a number"},
        BadText{"TrailingText", "time_s,a\n0,1.5rad\n", "log.csv:2: column 'a': '1.5rad' is not a number"},
        BadText{"InnerBlank", "time_s,a\n0,1 2\n", "log.csv:2: column 'a': '1 2' is not a number"},
        BadText{"Hexadecimal", "time_s,a\n0,0x10\n", "log.csv:2: column 'a': '0x10' is not a number"},
        BadText{"TwoSigns", "time_s,a\n0,+-1\n", "log.csv:2: column 'a': '+-1' is not a number"},
        BadText{"MissingValue", "time_s,a\n0, \n", "log.csv:2: column 'a': the value is missing"},
        BadText{"NotANumber", "time_s,a\n0,NaN\n", "log.csv:2: column 'a': 'NaN' is not finite"},
        BadText{"Infinite", "time_s,a\n-inf,0\n", "log.csv:2: column 'time_s': '-inf' is not finite"},
        BadText{"TooLarge", "time_s,a\n0,1e999\n", "log.csv:2: column 'a': '1e999' is out of the range of a double"},
        BadText{"EqualTimes", "time_s,a\n0,1\n0.5,1\n\n0.5,1\n",
                "log.csv:5: time_s = 0.5 does not come after 0.5 of line 3"},
        BadText{"FallingTimes", "time_s,a\n0,1\n-0.5,1\n", "log.csv:3: time_s = -0.5 does not come after 0 of line 2"},
        BadText{"OpenQuote", "time_s,a\n0,\"1\n1,2\n", "log.csv:2: the quotes do not match"},
        BadText{"InnerQuote", "time_s,a\n0,1\"2\n", "log.csv:2: the quotes do not match"},
        BadText{"ControlCharacters", "time_s,a\n0,1\0\x1b[31m\n"s, "log.csv:2: column 'a': '1??[31m' is not a number"},
        BadText{"LongField", "time_s,a\n0," + std::string(100000, 'x') + "\n",
                "log.csv:2: column 'a': '" + std::string(40, 'x') + "...' is not a number"}),
    [](const ::testing::TestParamInfo<BadText>& bad_text) { return bad_text.param.name; });

TEST(RecordingTest, AnyBytesGiveARecordingOrItsError) {
  const std::string good = "time_s,joint_1,\"joint, 2\"\r\n# remark\n0,1,2\n0.5,\"1\",-3e-2\n\n1.25,+4,5\n";
  const std::string bytes = "\0\n\r\",#-+.e9x \t\xEF\xBB\xBF\xFF"s;
  std::mt19937 random(20);
  const auto pick = [&random](std::size_t count) { return static_cast<std::size_t>(random()) % count; };
  int good_count = 0;
  for (int run = 0; run < 5000; ++run) {
    std::string text = good;
    for (std::size_t change = 0; change < 1 + pick(4); ++change) {
      const std::size_t position = pick(text.size());
      if (pick(3) == 0) {
        text.erase(position, 1 + pick(5));
      } else {
        text.insert(position, 1 + pick(3), bytes[pick(bytes.size())]);
      }
      if (text.empty()) text = "\n";
    }
    try {
      const Recording recording = Read(text);
      ASSERT_EQ(recording.positions.rows(), recording.time.size());
      ASSERT_EQ(recording.positions.cols(), static_cast<Eigen::Index>(recording.joint_names.size()));
      ASSERT_TRUE(recording.positions.allFinite());
      ++good_count;
    } catch (const RecordingError& error) {
      ASSERT_EQ(std::string(error.what()).substr(0, 8), "log.csv:") << text;
    }
  }
  EXPECT_GT(good_count, 100);
}

class RecordingFileTest : public TemporaryFolder {};

TEST_F(RecordingFileTest, ReadsAFile) {
  EXPECT_EQ(ReadRecordingFile(WriteFile("log.csv", "time_s,a\n0,7\n")).positions(0, 0), 7.0);
}

TEST_F(RecordingFileTest, NamesAFileThatCannotBeRead) {
  const auto message = [](const std::string& path) -> std::string {
    try {
      ReadRecordingFile(path);
    } catch (const RecordingError& error) {
      return error.what();
    }
    return "no error";
  };
  EXPECT_EQ(message(Path("absent.csv")), Path("absent.csv") + ": No such file or directory");
  EXPECT_EQ(message(Path("")), Path("") + ": cannot be read");
}

}  // namespace
}  // namespace velmora::examples
