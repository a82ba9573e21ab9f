// Reads a recorded joint trajectory from CSV text.
// SPDX-License-Identifier: Apache-2.0
#include "recording.hpp"

#include <csv.h>
#include <fmt/format.h>

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <exception>
#include <fstream>
#include <iostream>
#include <new>
#include <string_view>
#include <system_error>
#include <unordered_set>

namespace velmora::examples {
namespace {

constexpr std::string_view kTimeColumn = "time_s";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kBlanks = " \t\r";

std::string_view Trim(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

// A field as messages show it: the file may hold anything, the terminal should not.
std::string Quoted(std::string_view field) {
  constexpr std::size_t shown_length = 40;
  std::string shown(field.substr(0, shown_length));
  for (char& character : shown) {
    const unsigned char byte = static_cast<unsigned char>(character);
    if (byte < 0x20 || byte == 0x7F) character = '?';
  }
  return fmt::format("'{}{}'", shown, field.size() > shown_length ? "..." : "");
}

// Splits one line into fields. Line ends are found by the caller, so that line numbers are exact.
class LineSplitter {
 public:
  LineSplitter() {
    if (csv_init(&parser_, CSV_STRICT | CSV_STRICT_FINI) != 0) throw std::bad_alloc();
    csv_set_term_func(&parser_, [](unsigned char) { return 0; });
  }
  ~LineSplitter() { csv_free(&parser_); }
  LineSplitter(const LineSplitter&) = delete;
  LineSplitter(LineSplitter&&) = delete;
  LineSplitter& operator=(const LineSplitter&) = delete;
  LineSplitter& operator=(LineSplitter&&) = delete;

  // False where the quotes of the line do not match; the splitter is then of no further use.
  bool Split(std::string_view line) {
    fields_.clear();
    const bool parsed = csv_parse(&parser_, line.data(), line.size(), &AddField, nullptr, this) == line.size() &&
                        csv_fini(&parser_, &AddField, nullptr, this) == 0;
    if (failure_) std::rethrow_exception(failure_);
    if (!parsed && csv_error(&parser_) != CSV_EPARSE) throw std::bad_alloc();
    return parsed;
  }

  const std::vector<std::string>& fields() const { return fields_; }

 private:
  // No exception may pass through the C library.
  static void AddField(void* field, std::size_t length, void* self) noexcept {
    LineSplitter& splitter = *static_cast<LineSplitter*>(self);
    try {
      splitter.fields_.emplace_back(Trim({static_cast<const char*>(field), length}));
    } catch (...) {
      splitter.failure_ = std::current_exception();
    }
  }

  csv_parser parser_{};
  std::vector<std::string> fields_;
  std::exception_ptr failure_;
};

// The lines of the text that carry fields, one at a time.
class FieldLines {
 public:
  FieldLines(std::istream& input, const std::string& source_name) : input_(input), source_name_(source_name) {}

  // Moves to the next line that is neither blank nor a comment; false at the end of the text.
  bool Next() {
    while (std::getline(input_, line_)) {
      ++line_number_;
      std::string_view text = line_;
      if (line_number_ == 1 && text.substr(0, kByteOrderMark.size()) == kByteOrderMark) {
        text.remove_prefix(kByteOrderMark.size());
      }
      text = Trim(text);
      if (text.empty() || text.front() == '#') continue;
      if (!splitter_.Split(text)) Fail("the quotes do not match");
      return true;
    }
    if (!input_.eof()) throw RecordingError(fmt::format("{}: cannot be read", source_name_));
    return false;
  }

  const std::vector<std::string>& fields() const { return splitter_.fields(); }

  std::size_t line_number() const { return line_number_; }

  [[noreturn]] void Fail(const std::string& what) const {
    throw RecordingError(fmt::format("{}:{}: {}", source_name_, line_number_ > 0 ? line_number_ : 1, what));
  }

 private:
  std::istream& input_;
  const std::string& source_name_;
  LineSplitter splitter_;
  std::string line_;
  std::size_t line_number_ = 0;
};

// Checks the header line and returns the index of the time column.
std::size_t FindTimeColumn(const FieldLines& lines) {
  const std::vector<std::string>& names = lines.fields();
  std::unordered_set<std::string_view> seen;
  std::size_t time_column = names.size();
  for (std::size_t column = 0; column < names.size(); ++column) {
    if (names[column].empty()) lines.Fail(fmt::format("column {} has no name", column + 1));
    if (!seen.insert(names[column]).second) {
      lines.Fail(fmt::format("column name {} appears twice", Quoted(names[column])));
    }
    if (names[column] == kTimeColumn) time_column = column;
  }
  if (time_column == names.size()) {
    lines.Fail(fmt::format("the header names no column '{}' (columns are separated by commas)", kTimeColumn));
  }
  if (names.size() == 1) lines.Fail(fmt::format("the header names no joint column beside '{}'", kTimeColumn));
  return time_column;
}

double ParseNumber(const FieldLines& lines, std::size_t column, const std::string& column_name) {
  const std::string& field = lines.fields()[column];
  const auto fail = [&](const char* what) {
    lines.Fail(fmt::format("column {}: {} {}", Quoted(column_name), Quoted(field), what));
  };
  if (field.empty()) lines.Fail(fmt::format("column {}: the value is missing", Quoted(column_name)));
  std::string_view digits = field;
  // from_chars knows no plus sign, but logs hold it.
  if (digits.size() > 1 && digits[0] == '+' && digits[1] != '-') digits.remove_prefix(1);
  double value = 0.0;
  const std::from_chars_result result = std::from_chars(digits.data(), digits.data() + digits.size(), value);
  if (result.ec == std::errc::invalid_argument || result.ptr != digits.data() + digits.size()) fail("is not a number");
  if (result.ec == std::errc::result_out_of_range) fail("is out of the range of a double");
  if (!std::isfinite(value)) fail("is not finite");
  return value;
}

}  // namespace

Recording ReadRecording(std::istream& input, const std::string& source_name) {
  FieldLines lines(input, source_name);
  if (!lines.Next()) lines.Fail("the header line is missing");
  const std::vector<std::string> names = lines.fields();
  const std::size_t time_column = FindTimeColumn(lines);

  std::vector<double> time;
  std::vector<double> positions;
  std::size_t previous_line = 0;
  while (lines.Next()) {
    if (lines.fields().size() != names.size()) {
      lines.Fail(fmt::format("expected {} columns, found {}", names.size(), lines.fields().size()));
    }
    for (std::size_t column = 0; column < names.size(); ++column) {
      (column == time_column ? time : positions).push_back(ParseNumber(lines, column, names[column]));
    }
    if (time.size() > 1 && !(time[time.size() - 2] < time.back())) {
      lines.Fail(fmt::format("{} = {} does not come after {} of line {}", kTimeColumn, time.back(),
                             time[time.size() - 2], previous_line));
    }
    previous_line = lines.line_number();
  }
  if (time.empty()) lines.Fail("no samples after the header");

  Recording recording;
  recording.joint_names = names;
  recording.joint_names.erase(recording.joint_names.begin() + static_cast<std::ptrdiff_t>(time_column));
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
