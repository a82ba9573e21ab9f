// Prints the digests of the golden corpus as the reference gives them.
// SPDX-License-Identifier: Apache-2.0
#include <iostream>

#include "calls/call_reference.hpp"
#include "golden/corpus.hpp"

int main() {
  using namespace velmora::testing;
  PrintDigests(std::cout, CallReference, Digest::Zeros::signed_zeros);
}
