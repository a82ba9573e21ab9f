// Registration of what is timed: a job, done by one of its contenders, on recordings of several shapes.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <benchmark/benchmark.h>

#include <string>

#include "recording.hpp"

namespace velmora::benchmarks {

constexpr Eigen::Index kLargest = 1000000;
constexpr Eigen::Index kLargestResampled = 100000;  // onto four times as many grid entries

/// Registers "job/contender/samples/joints" for each shape up to `largest` samples. `run` takes a `Recording` and
/// returns its result by value: allocating and freeing that belong to the time.
template <typename Run>
void AddContender(const std::string& job, const std::string& contender, Eigen::Index largest, Run run) {
  for (const Eigen::Index joints : {1, 7, 32}) {
    for (const Eigen::Index samples : {10, 32, 100, 1000, 5000, 10000, 20000, 100000, 1000000}) {
      if (samples > largest) continue;
      const std::string name = job + '/' + contender + '/' + std::to_string(samples) + '/' + std::to_string(joints);
      benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
        const Recording& recording = RecordingOf(samples, joints);
        for (auto _ : state) {
          auto result = run(recording);
          benchmark::DoNotOptimize(result);
          benchmark::ClobberMemory();
        }
      });
    }
  }
}

void AddBlending();
void AddDifferentiation();
void AddLinearResampling();
void AddCubicResampling();
void AddShaping();

}  // namespace velmora::benchmarks
