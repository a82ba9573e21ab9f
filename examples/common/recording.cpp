// Reads a recorded joint trajectory from plain CSV.
// SPDX-License-Identifier: Apache-2.0
#include "recording.hpp"

#include <fmt/format.h>

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <fstream>
#include <iostream>
#include <string_view>
#include <system_error>
#include <unordered_set>

namespace velmora::examples {
namespace {

std::vector<std::string_view> Split(std::string_view line) {
  std::vector<std::string_view> fields;
  for (std::size_t comma = line.find(','); comma != std::string_view::npos; comma = line.find(',')) {
    fields.push_back(line.substr(0, comma));
    line.remove_prefix(comma + 1);
  }
  fields.push_back(line);
  return fields;
}

// Moves to the next line that is no comment; false at the end of the text.
bool NextLine(std::istream& input, std::string& line, std::size_t& line_number) {
  while (std::getline(input, line)) {
    ++line_number;
    if (line.empty() || line.front() != '#') return true;
  }
  return false;
}

// NaN where the field is no finite number.
double ToNumber(std::string_view field) {
  double value = 0.0;
  const std::from_chars_result result = std::from_chars(field.data(), field.data() + field.size(), value);
  const bool whole = result.ec == std::errc() && result.ptr == field.data() + field.size();
  return whole && std::isfinite(value) ? value : std::nan("");
}

}  // namespace

Recording ReadRecording(std::istream& input, const std::string& source_name) {
  std::string line;
  std::size_t line_number = 0;
  const auto fail = [&](const std::string& what) {
    throw RecordingError(fmt::format("{}:{}: {}", source_name, line_number, what));
  };

  Recording recording;
  NextLine(input, line, line_number);
  for (const std::string_view name : Split(line)) recording.joint_names.emplace_back(name);
  const std::size_t columns = recording.joint_names.size();
  if (columns < 2 || recording.joint_names[0] != "time_s") fail("expected a header: time_s, then the joints");
  if (std::unordered_set<std::string>(recording.joint_names.begin(), recording.joint_names.end()).size() < columns) {
    fail("a name appears twice");
  }
  recording.joint_names.erase(recording.joint_names.begin());

  std::vector<double> time;
  std::vector<double> positions;
  while (NextLine(input, line, line_number)) {
    const std::vector<std::string_view> fields = Split(line);
    if (fields.size() != columns) fail(fmt::format("expected {} columns, found {}", columns, fields.size()));
    for (std::size_t column = 0; column < columns; ++column) {
      const double value = ToNumber(fields[column]);
      if (std::isnan(value)) fail(fmt::format("column {} holds no finite number", column + 1));
      (column == 0 ? time : positions).push_back(value);
    }
    if (time.size() > 1 && !(time[time.size() - 2] < time.back())) fail("the time does not increase");
  }
  if (time.empty()) fail("no samples after the header");

  const Eigen::Index samples = static_cast<Eigen::Index>(time.size());
  const Eigen::Index joints = static_cast<Eigen::Index>(recording.joint_names.size());
  recording.positions = Eigen::Map<const Matrix>(positions.data(), samples, joints);
  recording.time = Eigen::Map<const Vector>(time.data(), samples);
  return recording;
}

Recording ReadRecordingFile(const std::string& path) {
  if (path == "-") return ReadRecording(std::cin, "<stdin>");
  std::ifstream file(path, std::ios::binary);
  if (!file) throw RecordingError(fmt::format("{}: {}", path, std::generic_category().message(errno)));
  return ReadRecording(file, path);
}

}  // namespace velmora::examples
