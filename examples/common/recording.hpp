// Reads a recorded joint trajectory from plain CSV.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <istream>
#include <stdexcept>
#include <string>
#include <vector>

#include "velmora/native/array_types.hpp"

namespace velmora::examples {

using native::Matrix;
using native::Vector;

/// A recording as it stands in its file: N >= 1 samples of J >= 1 joints, every value finite.
struct Recording {
  std::vector<std::string> joint_names;  ///< names of the joint columns in file order, J of them, all different
  Matrix positions;                      ///< joint positions, N x J, in the unit of the file
  Vector time;                           ///< sample times in seconds, length N, strictly increasing
};

/// What is wrong with a recording, as `file:line: what is wrong` (without the line where the file cannot be read).
class RecordingError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Reads a recording: a header line `time_s,NAME,...`, then one line of numbers per sample, separated by commas.
///
/// Lines that start with `#` are left out. Nothing else is understood: logs as they come are for the command `velmora`.
/// @param input the text
/// @param source_name what error messages call the text
/// @throws RecordingError at the first thing that is wrong
Recording ReadRecording(std::istream& input, const std::string& source_name);

/// Reads a recording from a file, or from standard input where `path` is "-".
/// @throws RecordingError at the first thing that is wrong
Recording ReadRecordingFile(const std::string& path);

}  // namespace velmora::examples
