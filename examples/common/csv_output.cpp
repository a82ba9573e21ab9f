// Writes trajectories as CSV text.
// SPDX-License-Identifier: Apache-2.0
#include "csv_output.hpp"

#include <fmt/format.h>

#include <cerrno>
#include <fstream>
#include <iostream>
#include <iterator>
#include <system_error>

namespace velmora::examples {

std::vector<std::string> DerivativeNames(const std::vector<std::string>& names, int order) {
  std::vector<std::string> derivative_names;
  derivative_names.reserve(names.size());
  for (const std::string& name : names) {
    derivative_names.push_back(order == 1 ? name + "_per_s" : fmt::format("{}_per_s{}", name, order));
  }
  return derivative_names;
}

std::string FormatCsv(const std::vector<std::string>& column_names, const Vector& time_s,
                      const std::vector<std::reference_wrapper<const Matrix>>& blocks) {
  std::string text = "time_s";
  for (const std::string& name : column_names) text += ',' + name;
  text += '\n';
  for (Eigen::Index sample = 0; sample < time_s.size(); ++sample) {
    fmt::format_to(std::back_inserter(text), "{}", time_s[sample]);
    for (const Matrix& block : blocks) {
      for (Eigen::Index column = 0; column < block.cols(); ++column) {
        fmt::format_to(std::back_inserter(text), ",{}", block(sample, column));
      }
    }
    text += '\n';
  }
  return text;
}

void WriteOutput(const std::string& path, std::string_view text) {
  std::ofstream file;
  if (path != "-") file.open(path, std::ios::binary);
  std::ostream& output = path == "-" ? std::cout : file;
  output.write(text.data(), static_cast<std::streamsize>(text.size()));
  output.flush();
  if (!output) throw OutputError(fmt::format("{}: {}", path, std::generic_category().message(errno)));
}

}  // namespace velmora::examples
