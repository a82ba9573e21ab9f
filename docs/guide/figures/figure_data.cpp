// Writes the numbers of the guide's figures as CSV: one recorded move, resampled in every way that is drawn.
#include <velmora/util/timing/resampling.hpp>

#include <cstdio>
#include <optional>

namespace {

using namespace velmora::util::timing;

void Print(const char* series, const JointTrajectory& trajectory) {
  for (Eigen::Index i = 0; i < trajectory.time.size(); ++i) {
    std::printf("%s,%.17g,%.17g,%.17g\n", series, trajectory.time[i], trajectory.positions(i, 0),
                trajectory.velocities()(i, 0));
  }
}

}  // namespace

int main() {
  const Matrix positions{{0.0}, {0.08}, {0.42}, {0.82}, {1.0}};
  const Vector time{{0.0, 0.2, 0.45, 0.7, 1.0}};
  const JointTrajectory recording(positions, std::nullopt, std::nullopt, time, std::nullopt, std::nullopt);
  const auto resample = [&](double sample_time_s, ResamplingMethod method, ResamplingTimeGridMode mode) {
    return ResampleTrajectory(recording, sample_time_s, method, mode, true);
  };
  const auto adjust = ResamplingTimeGridMode::exact_duration_adjust_dt;

  std::puts("series,time_s,position_rad,velocity_rad_per_s");
  Print("recording", recording);
  Print("linear", resample(0.01, ResamplingMethod::linear, adjust));
  Print("cubic", resample(0.01, ResamplingMethod::cubic, adjust));
  for (const char* mode :
       {"exact_dt_append_endpoint", "exact_dt_trim", "exact_duration_adjust_dt", "exact_dt_extend_endpoint"}) {
    Print(mode, resample(0.3, ResamplingMethod::cubic, ParseResamplingTimeGridMode(mode)));
  }
  return 0;
}
