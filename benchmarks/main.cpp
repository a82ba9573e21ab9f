// Entry of the benchmark program: checks that the contenders agree, or times them.
// SPDX-License-Identifier: Apache-2.0
#include <benchmark/benchmark.h>

#include <cstdio>
#include <exception>
#include <string_view>

#include "agreement.hpp"
#include "contender.hpp"

namespace {

using namespace velmora::benchmarks;

void Check() {
  CheckBlending();
  CheckDifferentiation();
  CheckLinearResampling();
  CheckCubicResampling();
  CheckShaping();
  PrintResults();
}

int Time(int argc, char** argv) {
  AddBlending();
  AddDifferentiation();
  AddLinearResampling();
  AddCubicResampling();
  AddShaping();
  benchmark::AddCustomContext("compiler", VELMORA_COMPILER);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}

}  // namespace

// `--check` alone, which leaves results for peers in other processes to compare with, or the options of Google
// Benchmark.
int main(int argc, char** argv) {
  try {
    if (argc == 2 && std::string_view(argv[1]) == "--check") {
      Check();
      return 0;
    }
    return Time(argc, argv);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "velmora_benchmarks: %s\n", error.what());
    return 1;
  }
}
