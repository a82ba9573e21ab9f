// Holds what Eigen makes of the compiler and its flags as text that CMake reads out of the binary, without running it.
// SPDX-License-Identifier: Apache-2.0
#define VELMORA_NO_EIGEN_ABI_CHECK
#include "velmora/native/eigen_abi.hpp"

namespace {

struct Number {
  constexpr explicit Number(std::size_t value)
      : digits{Digit(value / 100), Digit(value / 10), Digit(value)}, separator{','} {}
  static constexpr char Digit(std::size_t value) { return static_cast<char>('0' + value % 10); }

  char digits[3];
  char separator;
};

struct Record {
  char mark[18];
  Number numbers[7];
  char end[2];
};

namespace abi = velmora::native::eigen_abi;

constexpr Record record = {
    {'v', 'e', 'l', 'm', 'o', 'r', 'a', '-', 'e', 'i', 'g', 'e', 'n', '-', 'a', 'b', 'i', '['},
    {Number(abi::world_version), Number(abi::major_version), Number(abi::index_bytes), Number(abi::own_allocator),
     Number(abi::allocated_align_bytes), Number(abi::max_align_bytes), Number(abi::max_static_align_bytes)},
    {']', '\0'}};

}  // namespace

// Which character is asked for is not known before it runs, so that all of them are kept.
int main(int argc, char**) { return reinterpret_cast<const char*>(&record)[argc]; }
