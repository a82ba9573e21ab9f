// The CSV reader of the examples: what it takes, and the message for everything else.
// SPDX-License-Identifier: Apache-2.0
#include "recording.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

#include "temporary_folder.hpp"

namespace velmora::examples {
namespace {

Recording Read(const std::string& text) {
  std::istringstream input(text);
  return ReadRecording(input, "log.csv");
}

template <typename Call>
std::string MessageOf(Call call) {
  try {
    call();
  } catch (const RecordingError& error) {
    return error.what();
  }
  return "no error";
}

TEST(RecordingTest, ReadsTimesAndJointsInFileOrderToTheLastBit) {
  const Recording recording =
      Read("# a remark\ntime_s,shoulder_rad,elbow_rad\n0,1.5,-2\n# another\n0.25,4.9406564584124654e-324,-0.0");
  EXPECT_EQ(recording.joint_names, (std::vector<std::string>{"shoulder_rad", "elbow_rad"}));
  EXPECT_EQ(recording.time, Eigen::Vector2d(0.0, 0.25));
  Matrix expected(2, 2);
  expected << 1.5, -2.0, 5e-324, -0.0;
  EXPECT_EQ(recording.positions, expected);
  EXPECT_TRUE(std::signbit(recording.positions(1, 1)));
}

struct BadText {
  const char* name;
  const char* text;
  const char* message;
};

void PrintTo(const BadText& bad_text, std::ostream* output) { *output << bad_text.name; }

class BadRecordingTest : public ::testing::TestWithParam<BadText> {};

TEST_P(BadRecordingTest, IsReportedWithFileAndLine) {
  EXPECT_EQ(MessageOf([] { Read(GetParam().text); }), GetParam().message);
}

INSTANTIATE_TEST_SUITE_P(
    EveryCheck, BadRecordingTest,
    ::testing::Values(BadText{"Empty", "", "log.csv:0: expected a header: time_s, then the joints"},
                      BadText{"NoTime", "a,time_s\n0,1\n", "log.csv:1: expected a header: time_s, then the joints"},
                      BadText{"NoJoint", "time_s\n0\n", "log.csv:1: expected a header: time_s, then the joints"},
                      BadText{"SameNameTwice", "time_s,a,a\n", "log.csv:1: a name appears twice"},
                      BadText{"NoSamples", "# a\ntime_s,a\n", "log.csv:2: no samples after the header"},
                      BadText{"TooFewColumns", "time_s,a,b\n0,1,2\n1,2\n", "log.csv:3: expected 3 columns, found 2"},
                      BadText{"TooManyColumns", "time_s,a\n0,1,\n", "log.csv:2: expected 2 columns, found 3"},
                      BadText{"BlankLine", "time_s,a\n\n0,1\n", "log.csv:2: expected 2 columns, found 1"},
                      BadText{"Text", "time_s,a\n0,1\n# x\n1,fast\n", "log.csv:4: column 2 holds no finite number"},
                      BadText{"TrailingText", "time_s,a\n0,1.5rad\n", "log.csv:2: column 2 holds no finite number"},
                      BadText{"Infinite", "time_s,a\n-inf,0\n", "log.csv:2: column 1 holds no finite number"},
                      BadText{"TooLarge", "time_s,a\n0,1e999\n", "log.csv:2: column 2 holds no finite number"},
                      BadText{"EqualTimes", "time_s,a\n0,1\n0,1\n", "log.csv:3: the time does not increase"}),
    [](const ::testing::TestParamInfo<BadText>& bad_text) { return bad_text.param.name; });

class RecordingFileTest : public TemporaryFolder {};

TEST_F(RecordingFileTest, ReadsAFileOrNamesItWhereItCannotBeRead) {
  EXPECT_EQ(ReadRecordingFile(WriteFile("log.csv", "time_s,a\n0,7\n")).positions(0, 0), 7.0);
  EXPECT_EQ(MessageOf([this] { ReadRecordingFile(Path("absent.csv")); }),
            Path("absent.csv") + ": No such file or directory");
}

}  // namespace
}  // namespace velmora::examples
