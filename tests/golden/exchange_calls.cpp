// Hands the golden corpus to a test in another language, and condenses the results that it gives back.
//   velmora_corpus_exchange calls > CALLS         every call with its arguments
//   velmora_corpus_exchange digests < RESULTS     the digests of the results, in the order of the calls
// Numbers are 64-bit words of this machine. A text is its length and its bytes; an array its rows, columns and
// elements; an optional value whether it is there, and the value; a call the number of its kind, in the order of
// `Call`, and its members. A result is 1 and its message and optional argument name for a failure, 2 where memory ran
// out, or 0 and the number of its arrays and these.
// SPDX-License-Identifier: Apache-2.0
#include <array>
#include <iomanip>
#include <iostream>
#include <string_view>

#include "calls/random_calls.hpp"
#include "golden/corpus.hpp"

namespace velmora::testing {
namespace {

void Write(std::uint64_t word) { std::cout.write(reinterpret_cast<const char*>(&word), sizeof word); }

template <typename Integer, typename = std::enable_if_t<std::is_integral_v<Integer> || std::is_enum_v<Integer>>>
void Write(Integer value) {
  Write(static_cast<std::uint64_t>(static_cast<std::int64_t>(value)));
}

void Write(double value) { std::cout.write(reinterpret_cast<const char*>(&value), sizeof value); }

void Write(const std::string& text) {
  Write(text.size());
  std::cout.write(text.data(), static_cast<std::streamsize>(text.size()));
}

template <typename Array>
void WriteArray(const Array& array) {
  Write(array.rows());
  Write(array.cols());
  for (Eigen::Index k = 0; k < array.size(); ++k) Write(array.data()[k]);
}

void Write(const native::Matrix& matrix) { WriteArray(matrix); }
void Write(const native::Vector& vector) { WriteArray(vector); }

// Declared before the templates that write them.
void Write(const MakeTrajectory& call);
void Write(const Box& call);

template <typename Value>
void Write(const std::optional<Value>& value) {
  Write(value.has_value());
  if (value) Write(*value);
}

void Write(const std::variant<double, native::Vector>& value) {
  Write(value.index());
  std::visit([](const auto& held) { Write(held); }, value);
}

template <typename... Values>
void WriteAll(const Values&... values) {
  (Write(values), ...);
}

void Write(const MakeTrajectory& call) {
  WriteAll(call.positions, call.velocities, call.accelerations, call.time, call.dt, call.jerks);
}

void Write(const Box& call) { WriteAll(call.lower, call.upper); }

void Write(const CopyTrajectory& call) { WriteAll(call.trajectory, call.level); }
void Write(const SampleTrajectory& call) { WriteAll(call.trajectory, call.query_time_s, call.include_derivatives); }
void Write(const Resample& call) {
  WriteAll(call.trajectory, call.sample_time_s, call.method, call.grid_mode, call.strict_cubic);
}
void Write(const Difference& call) { WriteAll(call.signal, call.sample_spacing); }
void Write(const Blend& call) { WriteAll(call.raw, call.shaped, call.weight); }
void Write(const PathCoordinate& call) { Write(call.positions); }
void Write(const BlendTail& call) {
  const native::ShapedTrajectory& tail = call.shaped_tail;
  WriteAll(call.raw_position, tail.positions, tail.velocities, tail.accelerations, tail.time, call.weight);
}
void Write(const Limits& call) {
  for (const std::optional<Box>& box : call.boxes) Write(box);
}
void Write(const Scalar& call) { WriteAll(call.routine, call.value); }
void Write(const Parse& call) { WriteAll(call.grid_mode, call.text); }

template <typename Value>
Value Read() {
  Value value{};
  std::cin.read(reinterpret_cast<char*>(&value), sizeof value);
  return value;
}

std::string ReadText() {
  std::string text(Read<std::uint64_t>(), '\0');
  std::cin.read(text.data(), static_cast<std::streamsize>(text.size()));
  return text;
}

oracle::Table ReadTable() {
  const auto rows = Read<std::uint64_t>();
  const auto cols = Read<std::uint64_t>();
  oracle::Table table(rows, cols);
  for (double& value : table.values) value = Read<double>();
  return table;
}

Result ReadResult() {
  Result result;
  const auto kind = Read<std::uint64_t>();
  if (kind == 0) {
    result.values.resize(Read<std::uint64_t>());
    for (oracle::Table& table : result.values) table = ReadTable();
  } else if (kind == 1) {
    oracle::Failure failure{oracle::FailureKind::invalid_argument, ReadText(), std::nullopt};
    if (Read<std::uint64_t>() != 0) failure.argument_name = ReadText();
    result.failure = failure;
  } else {
    result.failure = oracle::Failure{oracle::FailureKind::bad_alloc, "", std::nullopt};
  }
  return result;
}

void WriteCalls() {
  for (std::size_t family = 0; family < CallFamilies().size(); ++family) {
    for (std::size_t index = 0; index < kCasesPerFamily; ++index) {
      const Call call = GoldenCall(family, index);
      Write(call.index());
      std::visit([](const auto& held) { Write(held); }, call);
    }
  }
}

}  // namespace
}  // namespace velmora::testing

int main(int argc, char** argv) {
  using namespace velmora::testing;
  const std::string_view mode = argc == 2 ? argv[1] : "";
  std::ios::sync_with_stdio(false);
  if (mode == "calls") {
    WriteCalls();
  } else if (mode == "digests") {
    PrintDigests(
        std::cout, [](const Call&) { return ReadResult(); }, Digest::Zeros::signed_zeros);
  } else {
    return 2;
  }
  return std::cin.good() && std::cout.flush() ? 0 : 1;
}
