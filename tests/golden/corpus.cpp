// The golden corpus: thousands of calls made from seeds, condensed to one digest per routine and family.
// SPDX-License-Identifier: Apache-2.0
#include "golden/corpus.hpp"

#include <iomanip>
#include <ostream>

#include "calls/random_calls.hpp"

namespace velmora::testing {

Call GoldenCall(std::size_t family, std::size_t index) {
  SplitMix64 random(1'000'000 * (family + 1) + index);
  return CallFamilies()[family].make(random);
}

void PrintDigests(std::ostream& output, Result (*make_call)(const Call&), Digest::Zeros zeros) {
  for (std::size_t family = 0; family < CallFamilies().size(); ++family) {
    Digest digest(zeros);
    for (std::size_t index = 0; index < kCasesPerFamily; ++index) digest.Add(make_call(GoldenCall(family, index)));
    output << CallFamilies()[family].name << ' ' << std::dec << kCasesPerFamily << ' ' << std::hex << std::setfill('0')
           << std::setw(16) << digest.value() << '\n';
  }
}

}  // namespace velmora::testing
