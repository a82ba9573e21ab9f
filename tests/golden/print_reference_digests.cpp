// Prints the digests of the golden corpus as the reference gives them.
#include <iostream>

#include "calls/call_reference.hpp"
#include "golden/corpus.hpp"

int main() {
  using namespace velmora::testing;
  PrintDigests(std::cout, CallReference, Digest::Zeros::signed_zeros);
}
