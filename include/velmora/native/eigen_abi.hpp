// Stops the compilation of a caller whose Eigen would not fit the library's matrices.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "velmora/native/export.hpp"

#include <Eigen/Core>
#include <cstddef>

// A matrix that the library allocates is freed, resized and computed with by its caller, and the other way round. Both
// must use the same allocator, and neither may expect more alignment than the other provides. In Eigen that depends on
// compiler flags: -mavx, -march=native and g++'s -fsanitize=address change it silently, and the program corrupts its
// heap. So the values of the library are recorded when it is built, and this header compares the caller's with them.
//
// VELMORA_NO_EIGEN_ABI_CHECK switches the comparison off, and the link-time tag too. Nothing notices a bad mix then.

/// What Eigen does in this translation unit, as far as matrices that are shared with the library depend on it.
namespace velmora::native::eigen_abi {

/// Whether Eigen's own allocator is in use, which stores a pointer in front of each matrix; otherwise it is malloc. One
/// cannot free what the other allocated.
constexpr bool own_allocator = EIGEN_DEFAULT_ALIGN_BYTES != 0 && EIGEN_MALLOC_ALREADY_ALIGNED == 0;
/// The alignment that a new matrix has.
constexpr std::size_t allocated_align_bytes = own_allocator ? EIGEN_DEFAULT_ALIGN_BYTES : alignof(std::max_align_t);
/// The alignment that computations expect of a matrix.
constexpr std::size_t max_align_bytes = EIGEN_MAX_ALIGN_BYTES;
/// The alignment of arrays of fixed size. The linker keeps one copy of each inline function of Eigen, the caller's or
/// the library's, so the two must agree on it.
constexpr std::size_t max_static_align_bytes = EIGEN_MAX_STATIC_ALIGN_BYTES;
/// Eigen's world and major version: another one may lay out matrices differently.
constexpr int world_version = EIGEN_WORLD_VERSION;
constexpr int major_version = EIGEN_MAJOR_VERSION;  ///< see `world_version`
/// Size of the numbers of rows and columns within a matrix.
constexpr std::size_t index_bytes = sizeof(Eigen::Index);

}  // namespace velmora::native::eigen_abi

#ifndef VELMORA_NO_EIGEN_ABI_CHECK

#include "velmora/native/eigen_abi_record.hpp"

namespace velmora::native {

// A caller may expect less alignment than it gets, never more.
static_assert(eigen_abi::world_version == VELMORA_EIGEN_WORLD_VERSION &&
                  eigen_abi::major_version == VELMORA_EIGEN_MAJOR_VERSION,
              "velmora_shaper_trajectory: this code includes another version of Eigen than the library was built "
              "with. " VELMORA_EIGEN_ABI_CURE_VERSION);
static_assert(eigen_abi::index_bytes == VELMORA_EIGEN_INDEX_BYTES,
              "velmora_shaper_trajectory: Eigen::Index has another size here than in the library "
              "(EIGEN_DEFAULT_DENSE_INDEX_TYPE). " VELMORA_EIGEN_ABI_CURE_VERSION);
static_assert(eigen_abi::own_allocator == (VELMORA_EIGEN_OWN_ALLOCATOR == 1),
              "velmora_shaper_trajectory: Eigen uses another allocator for matrices here than in the library "
              "(EIGEN_MALLOC_ALREADY_ALIGNED); -mavx, -march=... and g++'s -fsanitize=address change "
              "that. " VELMORA_EIGEN_ABI_CURES);
static_assert(eigen_abi::max_align_bytes <= VELMORA_EIGEN_ALLOCATED_ALIGN_BYTES &&
                  eigen_abi::allocated_align_bytes >= VELMORA_EIGEN_MAX_ALIGN_BYTES,
              "velmora_shaper_trajectory: Eigen assumes another alignment of matrices here than in the library "
              "(EIGEN_MAX_ALIGN_BYTES); -mavx and -march=... change that. " VELMORA_EIGEN_ABI_CURES);
static_assert(eigen_abi::max_static_align_bytes <= VELMORA_EIGEN_MAX_STATIC_ALIGN_BYTES,
              "velmora_shaper_trajectory: Eigen aligns arrays of fixed size more strictly here than in the library "
              "(EIGEN_MAX_STATIC_ALIGN_BYTES); -mavx and -march=... change that. " VELMORA_EIGEN_ABI_CURES);

/// Its name spells the recorded values, so that only a library with these values exports it.
VELMORA_EXPORT extern const char VELMORA_EIGEN_ABI_TAG;

// A reference to the tag in every object file, which is why it is not inline: a program that is linked or loaded with
// another build of the library fails for the missing name.
[[gnu::used]] static constexpr const char* eigen_abi_reference = &VELMORA_EIGEN_ABI_TAG;

}  // namespace velmora::native

#endif
