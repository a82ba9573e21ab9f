// Writes trajectories as CSV text.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "velmora/native/array_types.hpp"

namespace velmora::examples {

using native::Matrix;
using native::Vector;

/// Why an output could not be written, as `file: reason`.
class OutputError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The names of the columns that hold a derivative of the given ones: "_per_s", "_per_s2", "_per_s3" is added to each.
/// @param order 1, 2 or 3
std::vector<std::string> DerivativeNames(const std::vector<std::string>& names, int order);

/// A header line and one line per sample: the time, then the columns of every block from left to right.
///
/// Numbers are written with the fewest digits that read back as the same double.
/// @param column_names names of the columns of all blocks (the time column `time_s` is added)
/// @param time_s sample times, length N
/// @param blocks matrices of N rows
std::string FormatCsv(const std::vector<std::string>& column_names, const Vector& time_s,
                      const std::vector<std::reference_wrapper<const Matrix>>& blocks);

/// Writes a text to a file, or to standard output where `path` is "-".
/// @throws OutputError where the text could not be written to its last byte
void WriteOutput(const std::string& path, std::string_view text);

}  // namespace velmora::examples
