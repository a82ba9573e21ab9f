// The check that contenders compute the same thing.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "velmora/native/array_types.hpp"

namespace velmora::benchmarks {

/// Throws where an element of the two differs by more than 1e-9 of the largest: that is far above what the order of
/// the operations can do, and far below what a different method would.
void RequireAgreement(const std::string& what, const Eigen::Ref<const native::Matrix>& ours,
                      const Eigen::Ref<const native::Matrix>& theirs);

/// `RequireAgreement` on the middle half of the rows: for splines whose end conditions differ, an influence that fades
/// by a factor of about 4 from knot to knot.
void RequireAgreementInside(const std::string& what, const native::Matrix& ours, const native::Matrix& theirs);

/// Compares each job's contenders once; throws `std::runtime_error` where they disagree.
void CheckBlending();
void CheckDifferentiation();
void CheckLinearResampling();
void CheckCubicResampling();
void CheckShaping();

/// Writes the library's results on a small recording to the standard output, as JSON.
void PrintResults();

}  // namespace velmora::benchmarks
