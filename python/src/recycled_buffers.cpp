// Keeps the large buffers that the library frees for its next results.
//
// The C library maps a large block anew for every result, and the page faults of writing to it cost more than computing
// it. The linker sends the calls of malloc and free within this extension, and no others, through the functions below
// (`--wrap`). A kept block is an ordinary block of the process's allocator, whichever that is, so that it does not
// matter who frees it.
// SPDX-License-Identifier: Apache-2.0
#include <malloc.h>
#include <nanobind/nanobind.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>

#include "register.hpp"

extern "C" {
void* __real_malloc(std::size_t size);
void __real_free(void* block);
void* __wrap_malloc(std::size_t size);
void __wrap_free(void* block);
}

namespace velmora::python {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kSmallest = std::size_t{32} << 10U;  // smaller blocks come from the heap without page faults
constexpr std::size_t kMostKept = std::size_t{32} << 20U;
constexpr Clock::duration kLongestIdle = std::chrono::seconds(1);

struct Block {
  void* address = nullptr;
  std::size_t size = 0;
  Clock::time_point freed;
};

// Blocks in the order in which they were freed. Whoever finds it busy does without, so that no thread waits, and none
// is stuck in a process that was forked meanwhile.
class Keep {
 public:
  // A block that wastes at most a quarter, or none.
  void* Take(std::size_t size) {
    Block* best = nullptr;
    for (Block& block : *this) {
      if (block.size >= size && block.size - size <= size / 4 && (best == nullptr || block.size < best->size))
        best = &block;
    }
    if (best == nullptr) return nullptr;
    void* const address = best->address;
    Remove(best);
    return address;
  }

  // Makes room by giving back the oldest.
  void Add(void* address, std::size_t size) {
    while (count_ > 0 && (count_ == blocks_.size() || bytes_ + size > kMostKept)) GiveBackOldest();
    blocks_[count_++] = {address, size, Clock::now()};
    bytes_ += size;
  }

  void GiveBack(Clock::duration longest_idle) {
    const Clock::time_point now = Clock::now();
    while (count_ > 0 && now - blocks_.front().freed > longest_idle) GiveBackOldest();
  }

  std::size_t bytes() const { return bytes_; }

 private:
  Block* begin() { return blocks_.data(); }
  Block* end() { return blocks_.data() + count_; }

  void Remove(Block* block) {
    bytes_ -= block->size;
    std::move(block + 1, end(), block);
    --count_;
  }

  void GiveBackOldest() {
    __real_free(blocks_.front().address);
    Remove(begin());
  }

  std::array<Block, 32> blocks_{};
  std::size_t count_ = 0;
  std::size_t bytes_ = 0;
};

Keep keep;
std::atomic_flag busy = ATOMIC_FLAG_INIT;

template <typename Use, typename Result>
Result WithKeep(const Use& use, Result otherwise) {
  if (busy.test_and_set(std::memory_order_acquire)) return otherwise;
  Result result = use();
  busy.clear(std::memory_order_release);
  return result;
}

std::size_t KeptBytes() {
  return WithKeep([] { return keep.bytes(); }, std::size_t{0});
}

bool GiveBack(Clock::duration longest_idle) {
  return WithKeep(
      [=] {
        keep.GiveBack(longest_idle);
        return true;
      },
      false);
}

}  // namespace

void RegisterRecycledBuffers(nanobind::module_& module) {
  namespace nb = nanobind;
  module.def("_kept_buffer_bytes", &KeptBytes, "Bytes of the buffers that are kept for the next results.");
  // Called by the garbage collector, so that a program which has turned to other work gets the memory back.
  module.def(
      "_give_back_idle_buffers", [](nb::handle, nb::handle) { GiveBack(kLongestIdle); }, nb::arg("phase"),
      nb::arg("info"), "Frees the buffers that were not asked for within the last second.");
  nb::module_::import_("gc").attr("callbacks").attr("append")(module.attr("_give_back_idle_buffers"));
}

}  // namespace velmora::python

void* __wrap_malloc(std::size_t size) {
  using namespace velmora::python;
  if (size < kSmallest) return __real_malloc(size);
  void* const kept = WithKeep([=] { return keep.Take(size); }, static_cast<void*>(nullptr));
  if (kept != nullptr) return kept;
  void* const block = __real_malloc(size);
  if (block != nullptr) return block;
  GiveBack(Clock::duration::min());
  return __real_malloc(size);
}

void __wrap_free(void* block) {
  using namespace velmora::python;
  const std::size_t size = malloc_usable_size(block);
  const bool is_kept = size >= kSmallest && size <= kMostKept &&
                       WithKeep(
                           [=] {
                             keep.GiveBack(kLongestIdle);
                             keep.Add(block, size);
                             return true;
                           },
                           false);
  if (!is_kept) __real_free(block);
}
