// Prints the digests of the golden corpus as the library gives them.
#include <iostream>

#include "calls/call_library.hpp"
#include "golden/corpus.hpp"

int main() { velmora::testing::PrintDigests(std::cout, velmora::testing::CallLibrary); }
