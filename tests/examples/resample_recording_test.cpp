// resample_recording from end to end: its output is the library's result.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <cstring>
#include <functional>
#include <optional>
#include <sstream>
#include <string>

#include "csv_output.hpp"
#include "recording.hpp"
#include "temporary_folder.hpp"
#include "velmora/util/timing/resampling.hpp"

namespace velmora::examples {
namespace {

using util::timing::JointTrajectory;

struct RunResult {
  int exit_code = -1;
  std::string output;
  std::string errors;
};

class ResampleRecordingTest : public TemporaryFolder {
 protected:
  // Runs the program by the shell, so that `arguments` may hold quotes and redirections.
  RunResult Run(const std::string& arguments, const std::string& shell_setup = "") const {
    const std::string command = shell_setup + std::string("'" RESAMPLE_RECORDING_PROGRAM "' >'") + Path("stdout") +
                                "' 2>'" + Path("stderr") + "' " + arguments;
    const int status = std::system(command.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadFile("stdout"), ReadFile("stderr")};
  }
};

bool SameBits(const Matrix& left, const Matrix& right) {
  return left.rows() == right.rows() && left.cols() == right.cols() &&
         std::memcmp(left.data(), right.data(), sizeof(double) * static_cast<std::size_t>(left.size())) == 0;
}

// The output holds positions, velocities, accelerations and jerks side by side.
void ExpectSameBits(const Recording& read_back, const JointTrajectory& expected) {
  const Eigen::Index joints = expected.positions.cols();
  ASSERT_EQ(read_back.positions.cols(), 4 * joints);
  EXPECT_TRUE(SameBits(read_back.time, expected.time)) << "time";
  EXPECT_TRUE(SameBits(read_back.positions.middleCols(0 * joints, joints), expected.positions)) << "positions";
  EXPECT_TRUE(SameBits(read_back.positions.middleCols(1 * joints, joints), expected.velocities())) << "velocities";
  EXPECT_TRUE(SameBits(read_back.positions.middleCols(2 * joints, joints), expected.accelerations()))
      << "accelerations";
  EXPECT_TRUE(SameBits(read_back.positions.middleCols(3 * joints, joints), expected.jerks())) << "jerks";
}

TEST_F(ResampleRecordingTest, WritesTheLibrarysResultToTheLastBit) {
  const Recording bundled = ReadRecordingFile(BUNDLED_RECORDING);
  // Up to behind the first lost stretch: the dense spline solve of all samples takes long under a sanitizer.
  constexpr Eigen::Index head = 650;
  const JointTrajectory recorded(bundled.positions.topRows(head), std::nullopt, std::nullopt, bundled.time.head(head),
                                 std::nullopt, std::nullopt);
  const std::string log =
      WriteFile("log.csv", FormatCsv(bundled.joint_names, recorded.time, {std::cref(recorded.positions)}));
  for (const std::string method : {"linear", "cubic"}) {
    for (const std::string grid :
         {"exact_dt_append_endpoint", "exact_dt_trim", "exact_duration_adjust_dt", "exact_dt_extend_endpoint"}) {
      SCOPED_TRACE(method + " " + grid);
      const RunResult run = Run("--sample-time 0.007 --method " + method + " --grid " + grid + " --output '" +
                                Path("out.csv") + "' '" + log + "'");
      ASSERT_EQ(run.exit_code, 0) << run.errors;
      EXPECT_EQ(run.output, "");
      ExpectSameBits(ReadRecordingFile(Path("out.csv")),
                     ResampleTrajectory(recorded, 0.007, util::timing::ParseResamplingMethod(method),
                                        util::timing::ParseResamplingTimeGridMode(grid), false));
    }
  }
}

TEST_F(ResampleRecordingTest, ResamplesTheBundledRecordingByDefaultWithCubicAndItsEndpoint) {
  const Recording bundled = ReadRecordingFile(BUNDLED_RECORDING);
  const JointTrajectory recorded(bundled.positions, std::nullopt, std::nullopt, bundled.time, std::nullopt,
                                 std::nullopt);
  const RunResult run = Run("-t 0.001 '" BUNDLED_RECORDING "'");
  ASSERT_EQ(run.exit_code, 0) << run.errors;
  std::istringstream output(run.output);
  ExpectSameBits(ReadRecording(output, "output"),
                 ResampleTrajectory(recorded, 0.001, util::timing::ResamplingMethod::cubic,
                                    util::timing::ResamplingTimeGridMode::exact_dt_append_endpoint, true));
}

TEST_F(ResampleRecordingTest, NamesTheColumnsOfEveryQuantity) {
  const RunResult run = Run("-t 0.5 - <'" + WriteFile("log.csv", "time_s,a_rad,b_rad\n0,0,3\n1,1,4\n") + "'");
  EXPECT_EQ(run.exit_code, 0);
  EXPECT_EQ(run.output,
            "time_s,a_rad,b_rad,a_rad_per_s,b_rad_per_s,a_rad_per_s2,b_rad_per_s2,a_rad_per_s3,b_rad_per_s3\n"
            "0,0,3,1,1,0,0,0,0\n0.5,0.5,3.5,1,1,0,0,0,0\n1,1,4,1,1,0,0,0,0\n");
}

TEST_F(ResampleRecordingTest, ReportsSamplesAndPeaks) {
  const RunResult run =
      Run("-m linear -t 0.5 - <'" + WriteFile("log.csv", "time_s,a,b\n1,0,0\n2,1,-2\n3,2,-4\n4,1,-6\n7,4,-12\n") + "'");
  EXPECT_EQ(run.exit_code, 0);
  EXPECT_EQ(run.errors,
            "5 samples, resampled to 13\n"
            "peaks                       velocity  acceleration          jerk\n"
            "a                                  1             2             4\n"
            "b                                  2             0             0\n");
}

TEST_F(ResampleRecordingTest, CreatesNoFileForABadRecording) {
  const RunResult run =
      Run("-t 0.1 -o '" + Path("out.csv") + "' '" + WriteFile("log.csv", "time_s,a\n0,1\n0,1\n") + "'");
  EXPECT_EQ(run.exit_code, 1);
  EXPECT_EQ(run.errors, "resample_recording: " + Path("log.csv") + ":3: the time does not increase\n");
  EXPECT_EQ(FileCount(), 3U) << "only the log and the two streams";
}

TEST_F(ResampleRecordingTest, ShowsTheLibrarysMessage) {
  const std::string log = "'" + WriteFile("log.csv", "time_s,a\n0,1\n1,2\n") + "'";
  for (const std::string sample_time : {"0", "-0.1", "nan", "inf"}) {
    const RunResult run = Run("-t " + sample_time + " " + log);
    EXPECT_EQ(run.exit_code, 1);
    EXPECT_EQ(run.errors, "resample_recording: sample_time_s must be positive.\n");
  }
  const RunResult endless = Run("-t 1e-300 " + log);
  EXPECT_EQ(endless.exit_code, 1);
  EXPECT_EQ(endless.errors, "resample_recording: out of memory: the recording or the new grid is too long\n");
}

TEST_F(ResampleRecordingTest, SaysWhenTheSplineGaveWayToLines) {
  const std::string log = "'" + WriteFile("log.csv", "time_s,a\n2,5\n") + "'";
  const RunResult run = Run("-t 0.1 " + log);
  EXPECT_EQ(run.exit_code, 0);
  EXPECT_EQ(run.output, "time_s,a,a_per_s,a_per_s2,a_per_s3\n2,5,0,0,0\n");
  EXPECT_NE(run.errors.find("LINEAR INSTEAD OF CUBIC: `x` must contain at least 2 elements.\n"), std::string::npos);

  const RunResult strict = Run("--strict -t 0.1 " + log);
  EXPECT_EQ(strict.exit_code, 1);
  EXPECT_EQ(strict.output, "");
  EXPECT_EQ(strict.errors, "resample_recording: `x` must contain at least 2 elements.\n");
}

TEST_F(ResampleRecordingTest, FailsWhereTheOutputCannotBeWritten) {
  const std::string log = "'" + WriteFile("log.csv", "time_s,a\n0,1\n1,2\n") + "'";
  const RunResult absent = Run("-t 0.1 " + log + " -o '" + Path("absent/out.csv") + "'");
  EXPECT_EQ(absent.exit_code, 1);
  EXPECT_EQ(absent.errors, "resample_recording: " + Path("absent/out.csv") + ": No such file or directory\n");
}

TEST_F(ResampleRecordingTest, RefusesBadUsage) {
  const std::string log = "'" + WriteFile("log.csv", "time_s,a\n0,1\n1,2\n") + "'";
  for (const std::string& arguments : {std::string(), log, "-t fast " + log, "-t 0.1 --unknown " + log}) {
    SCOPED_TRACE(arguments);
    const RunResult run = Run(arguments);
    EXPECT_NE(run.exit_code, 0);
    EXPECT_EQ(run.output, "");
    EXPECT_NE(run.errors.find("Run with --help for more information."), std::string::npos);
  }
  const RunResult method = Run("-t 0.1 -m Cubic " + log);
  EXPECT_EQ(method.exit_code, 1);
  EXPECT_EQ(method.errors, "resample_recording: Unsupported resampling method: 'Cubic'.\n");
}

}  // namespace
}  // namespace velmora::examples
