// The library's half of the link-time tag; here the record must be met exactly, not merely be compatible.
// SPDX-License-Identifier: Apache-2.0
#include "velmora/native/eigen_abi.hpp"

namespace velmora::native {

static_assert(eigen_abi::allocated_align_bytes == VELMORA_EIGEN_ALLOCATED_ALIGN_BYTES &&
                  eigen_abi::max_align_bytes == VELMORA_EIGEN_MAX_ALIGN_BYTES &&
                  eigen_abi::max_static_align_bytes == VELMORA_EIGEN_MAX_STATIC_ALIGN_BYTES,
              "the library is compiled with other flags than it was configured with");

const char VELMORA_EIGEN_ABI_TAG = 0;

}  // namespace velmora::native
