// Fuzzer: any text is a valid recording or an error of the reader, and a recording survives being written and read
// again.
// SPDX-License-Identifier: Apache-2.0
#include "recording.hpp"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <sstream>

#include "csv_output.hpp"

namespace velmora::examples {
namespace {

void Require(bool condition, const char* promise) {
  if (condition) return;
  std::fprintf(stderr, "broken promise: %s\n", promise);
  std::abort();
}

Recording ReadText(const std::string& text) {
  std::istringstream input(text);
  return ReadRecording(input, "fuzzed");
}

void Check(const Recording& recording) {
  const Eigen::Index samples = recording.time.size();
  Require(samples >= 1, "at least one sample");
  Require(!recording.joint_names.empty(), "at least one joint");
  Require(recording.positions.rows() == samples, "one row per sample");
  Require(recording.positions.cols() == static_cast<Eigen::Index>(recording.joint_names.size()), "a column per joint");
  Require(recording.positions.allFinite() && recording.time.allFinite(), "finite values");
  for (Eigen::Index i = 1; i < samples; ++i) Require(recording.time[i] > recording.time[i - 1], "increasing times");
  const std::set<std::string> names(recording.joint_names.begin(), recording.joint_names.end());
  Require(names.size() == recording.joint_names.size(), "different names");
}

void CheckWritten(const Recording& recording) {
  const Recording again = ReadText(FormatCsv(recording.joint_names, recording.time, {recording.positions}));
  Require(again.joint_names == recording.joint_names, "names survive");
  Require(again.time == recording.time && again.positions == recording.positions, "values survive");
}

}  // namespace
}  // namespace velmora::examples

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace velmora::examples;
  try {
    const Recording recording = ReadText(std::string(data, data + size));
    Check(recording);
    CheckWritten(recording);
  } catch (const RecordingError& error) {
    Require(std::string(error.what()).find("fuzzed") == 0, "an error names its source");
  }
  return 0;
}
