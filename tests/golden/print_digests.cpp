// Prints the digests of the golden corpus as the library gives them.
//   velmora_corpus [unsigned-zeros]     all zeros count as one, for an emulated processor that loses their sign
// SPDX-License-Identifier: Apache-2.0
#include <iostream>
#include <string_view>

#include "calls/call_library.hpp"
#include "golden/corpus.hpp"

int main(int argc, char** argv) {
  using velmora::testing::Digest;
  const bool alike = argc > 1 && std::string_view(argv[1]) == "unsigned-zeros";
  velmora::testing::PrintDigests(std::cout, velmora::testing::CallLibrary,
                                 alike ? Digest::Zeros::alike : Digest::Zeros::signed_zeros);
}
