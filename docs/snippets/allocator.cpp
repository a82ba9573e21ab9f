// What a call costs in page faults and time, in a program that resamples again and again; with an argument it first
// asks glibc to keep the memory that it has.
// SPDX-License-Identifier: Apache-2.0
#include <malloc.h>
#include <sys/resource.h>

#include <cstdio>
#include <ctime>

#include "velmora/util/timing/resampling.hpp"

namespace {

long PageFaults() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_minflt;
}

}  // namespace

int main(int argc, char**) {
  using namespace velmora::util::timing;
  if (argc > 1) {
    //! [mallopt]
    mallopt(M_MMAP_THRESHOLD, 32 << 20);  // arrays up to 32 MiB come from the heap
    mallopt(M_TRIM_THRESHOLD, 1 << 30);   // which keeps up to 1 GiB that is free
    //! [mallopt]
  }
  const JointTrajectory move = TrajectoryAtSpacing(Matrix::Random(1'000, 7), 0.004);
  constexpr int calls = 1'000;
  constexpr int first_calls = 100;
  long faults = 0;
  std::clock_t start = 0;
  for (int call = 0; call < calls + first_calls; ++call) {
    if (call == first_calls) {
      faults = PageFaults();
      start = std::clock();
    }
    const JointTrajectory regular = ResampleTrajectory(move, 0.001, ResamplingMethod::cubic,
                                                       ResamplingTimeGridMode::exact_dt_append_endpoint, true);
    if (regular.time.size() != 3'997) {
      return 1;
    }
  }
  const double microseconds = 1e6 * static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
  std::printf("%6.1f page faults, %5.1f us of processor time per call\n",
              static_cast<double>(PageFaults() - faults) / calls, microseconds / calls);
}
