// Prints the digests of the golden corpus as the reference gives them.
#include <Eigen/Core>
#include <iostream>

#include "calls/call_reference.hpp"
#include "golden/corpus.hpp"

int main() {
  using namespace velmora::testing;
  Eigen::setCpuCacheSizes(32 * 1024, 512 * 1024, 8 * 1024 * 1024);  // they decide the blocks of the dense solve
  PrintDigests(std::cout, CallReference, Digest::Zeros::signed_zeros);
}
