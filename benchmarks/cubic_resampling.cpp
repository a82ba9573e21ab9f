// Cubic resampling, with velocities and accelerations, onto four grid entries per sample beside other splines.
// SPDX-License-Identifier: Apache-2.0
#include <sys/resource.h>

#include "agreement.hpp"
#include "contender.hpp"
#include "peers/spline_samples.hpp"
#include "velmora/util/timing/resampling.hpp"

namespace velmora::benchmarks {
namespace {

using namespace util::timing;
using peers::SplineSamples;

constexpr Eigen::Index kLargestDense = 1000;  // 5,000 samples take seconds

JointTrajectory Resample(const Recording& r, double grid_spacing_s) {
  return ResampleTrajectory(r.trajectory, grid_spacing_s, ResamplingMethod::cubic,
                            ResamplingTimeGridMode::exact_dt_append_endpoint, true);
}

// What no resampling can do without: three arrays of the size of the results, allocated and written.
SplineSamples WriteResults(const Recording& r) {
  SplineSamples results(r.grid_entries, r.trajectory.positions.cols());
  for (Matrix* result : {&results.positions, &results.velocities, &results.accelerations}) result->setConstant(0.5);
  return results;
}

void AddPeer(const std::string& contender, Eigen::Index largest, peers::SplineResampling resample) {
  AddContender("cubic", contender, largest,
               [=](const Recording& r) { return resample(r.trajectory.time, r.trajectory.positions, r.grid_entries); });
}

// A long recording onto as many grid entries, with the memory that the whole process needed.
void ResampleLong(benchmark::State& state) {
  const Recording& recording = RecordingOf(kLargest, 7);
  for (auto _ : state) {
    JointTrajectory result = Resample(recording, 4.0 * recording.grid_spacing_s);
    benchmark::DoNotOptimize(result);
    benchmark::ClobberMemory();
  }
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  state.counters["peak_memory_mb"] = static_cast<double>(usage.ru_maxrss) / 1000.0;
}

// Calls that share nothing, on as many threads as the benchmark is run with.
template <Eigen::Index kSamples>
void ResampleOnThreads(benchmark::State& state) {
  static const Recording recording(kSamples, 7);
  for (auto _ : state) {
    JointTrajectory result = Resample(recording, recording.grid_spacing_s);
    benchmark::DoNotOptimize(result);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations());
}

template <Eigen::Index kSamples>
void AddThreads() {
  const std::string name = "cubic_threads/library/" + std::to_string(kSamples) + "/7";
  for (const int threads : {1, 2}) {
    benchmark::RegisterBenchmark(name.c_str(), ResampleOnThreads<kSamples>)->Threads(threads)->UseRealTime();
  }
}

}  // namespace

void AddCubicResampling() {
  AddContender("cubic", "library", kLargestResampled, [](const Recording& r) { return Resample(r, r.grid_spacing_s); });
  AddContender("cubic", "writing", kLargestResampled, WriteResults);
  AddPeer("gsl", kLargestResampled, peers::GslSpline);
  AddPeer("alglib", kLargestResampled, peers::AlglibSpline);
  AddPeer("alglib_grid", kLargestResampled, peers::AlglibSplineOnGrid);
  AddPeer("boost_makima", kLargestResampled, peers::BoostMakima);
  AddPeer("dense", kLargestDense, peers::DenseSpline);
  AddThreads<100>();
  AddThreads<1000>();
  AddThreads<20000>();
  benchmark::RegisterBenchmark("cubic_long/library/1000000/7", ResampleLong);
}

void CheckCubicResampling() {
  const Recording r(1000, 7);
  const Vector& t = r.trajectory.time;
  const Matrix& y = r.trajectory.positions;
  const JointTrajectory ours = Resample(r, r.grid_spacing_s);

  const SplineSamples dense = peers::DenseSpline(t, y, r.grid_entries);
  RequireAgreement("cubic/dense positions", ours.positions, dense.positions);
  RequireAgreement("cubic/dense velocities", ours.velocities(), dense.velocities);
  RequireAgreement("cubic/dense accelerations", ours.accelerations(), dense.accelerations);
  for (const peers::SplineResampling resample : {peers::GslSpline, peers::AlglibSpline, peers::AlglibSplineOnGrid}) {
    const SplineSamples theirs = resample(t, y, r.grid_entries);
    RequireAgreementInside("cubic/other end conditions, positions", ours.positions, theirs.positions);
    RequireAgreementInside("cubic/other end conditions, velocities", ours.velocities(), theirs.velocities);
    RequireAgreementInside("cubic/other end conditions, accelerations", ours.accelerations(), theirs.accelerations);
  }
}

}  // namespace velmora::benchmarks
