// Refuses to compile a caller whose Eigen allocates or aligns matrices otherwise than the library was built for.
#pragma once

#include <Eigen/Core>
#include <cstddef>

// Matrices cross the library's edge: allocated on one side, they are freed, resized and computed with on the other.
// How Eigen allocates them and which alignment it assumes hangs on compiler flags; -mavx, -march=native and g++'s
// -fsanitize=address change it without a word. Define VELMORA_NO_EIGEN_ABI_CHECK to compile without the comparison and
// without the link-time tag; then nothing notices a mix that corrupts the heap.

/// How Eigen behaves in this translation unit, as far as it decides whether matrices may cross the library's edge.
namespace velmora::native::eigen_abi {

/// Whether matrices lie in memory that Eigen aligns itself, keeping its own pointer in front; otherwise in plain malloc
/// memory. Memory of one kind cannot be freed as the other.
constexpr bool own_allocator = EIGEN_DEFAULT_ALIGN_BYTES != 0 && EIGEN_MALLOC_ALREADY_ALIGNED == 0;
/// The alignment that a new matrix has.
constexpr std::size_t allocated_align_bytes = own_allocator ? EIGEN_DEFAULT_ALIGN_BYTES : alignof(std::max_align_t);
/// The alignment that computations expect of any matrix.
constexpr std::size_t max_align_bytes = EIGEN_MAX_ALIGN_BYTES;
/// The alignment of arrays of fixed size, which inline functions of Eigen that the linker merges may share.
constexpr std::size_t max_static_align_bytes = EIGEN_MAX_STATIC_ALIGN_BYTES;
/// Eigen's world and major version: another one may lay matrices out otherwise.
constexpr int world_version = EIGEN_WORLD_VERSION;
constexpr int major_version = EIGEN_MAJOR_VERSION;  ///< see `world_version`
/// Size of the numbers of rows and columns within a matrix.
constexpr std::size_t index_bytes = sizeof(Eigen::Index);

}  // namespace velmora::native::eigen_abi

#ifndef VELMORA_NO_EIGEN_ABI_CHECK

#include "velmora/native/eigen_abi_record.hpp"
#include "velmora/native/export.hpp"

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
              "velmora_shaper_trajectory: Eigen allocates matrices otherwise here than in the library "
              "(EIGEN_MALLOC_ALREADY_ALIGNED); -mavx, -march=... and g++'s -fsanitize=address change "
              "that. " VELMORA_EIGEN_ABI_CURES);
static_assert(eigen_abi::max_align_bytes <= VELMORA_EIGEN_ALLOCATED_ALIGN_BYTES &&
                  eigen_abi::allocated_align_bytes >= VELMORA_EIGEN_MAX_ALIGN_BYTES,
              "velmora_shaper_trajectory: Eigen assumes another alignment of matrices here than in the library "
              "(EIGEN_MAX_ALIGN_BYTES); -mavx and -march=... change that. " VELMORA_EIGEN_ABI_CURES);
static_assert(eigen_abi::max_static_align_bytes <= VELMORA_EIGEN_MAX_STATIC_ALIGN_BYTES,
              "velmora_shaper_trajectory: Eigen aligns arrays of fixed size more strictly here than in the library "
              "(EIGEN_MAX_STATIC_ALIGN_BYTES); -mavx and -march=... change that. " VELMORA_EIGEN_ABI_CURES);

/// Exists under this name only in a library that was built as the header beside it says: its name is what it holds.
VELMORA_EXPORT extern const char VELMORA_EIGEN_ABI_TAG;

// Makes the linker and the loader look for that library. Not inline: every translation unit refers to it for itself.
[[gnu::used]] static constexpr const char* eigen_abi_reference = &VELMORA_EIGEN_ABI_TAG;

}  // namespace velmora::native

#endif
