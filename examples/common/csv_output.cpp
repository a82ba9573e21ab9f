// Writes trajectories as CSV text, whole or not at all.
// SPDX-License-Identifier: Apache-2.0
#include "csv_output.hpp"

#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <system_error>
#include <unordered_set>

namespace velmora::examples {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void FailWithErrno(const std::string& path) {
  throw OutputError(fmt::format("{}: {}", path, std::generic_category().message(errno)));
}

// Quoted only where a reader would otherwise misunderstand it.
std::string CsvField(const std::string& name) {
  if (name.find_first_of(",\"") == std::string::npos) return name;
  std::string field = "\"";
  for (const char character : name) {
    if (character == '"') field += '"';
    field += character;
  }
  return field + '"';
}

void WriteTo(std::ostream& output, std::string_view text, const std::string& name) {
  output.write(text.data(), static_cast<std::streamsize>(text.size()));
  output.flush();
  if (!output) FailWithErrno(name);
}

}  // namespace

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
  std::unordered_set<std::string_view> seen = {"time_s"};
  for (const std::string& name : column_names) {
    if (!seen.insert(name).second) throw OutputError(fmt::format("two output columns would be named '{}'", name));
    text += ',' + CsvField(name);
  }
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
  if (path == "-") {
    WriteTo(std::cout, text, "<stdout>");
    return;
  }
  std::error_code ignored;
  const fs::file_status status = fs::status(path, ignored);
  if (fs::exists(status) && !fs::is_regular_file(status)) {
    std::ofstream device(path, std::ios::binary);
    WriteTo(device, text, path);
    return;
  }
  // A link stays a link: the file that it names is replaced.
  const std::string target = fs::exists(status) ? fs::canonical(path).string() : path;
  const std::string partial = fmt::format("{}.{}.partial", target, getpid());
  try {
    std::ofstream file(partial, std::ios::binary);
    WriteTo(file, text, path);
    file.close();
    if (!file || std::rename(partial.c_str(), target.c_str()) != 0) FailWithErrno(path);
  } catch (...) {
    fs::remove(partial, ignored);
    throw;
  }
}

}  // namespace velmora::examples
