#include "failing_memory.h"

#include <atomic>
#include <cstdlib>
#include <limits>
#include <malloc.h>
#include <new>

namespace {

constexpr std::uint64_t kNever = std::numeric_limits<std::uint64_t>::max();

std::atomic<std::uint64_t> failFrom{kNever};
std::atomic<std::uint64_t> failTo{kNever}; // the last that fails
std::atomic<std::uint64_t> count{0};
std::atomic<std::uint64_t> askedLast{0}; // while the last one was there
std::atomic<bool> someFailed{false};
std::atomic<std::int64_t> inUse{0};
std::atomic<std::int64_t> inUseBytes{0};

std::int64_t sizeOf(void* block) { return static_cast<std::int64_t>(malloc_usable_size(block)); }

void* allocate(std::size_t size, std::size_t alignment = 0) noexcept {
  const std::uint64_t number = count.fetch_add(1, std::memory_order_relaxed);
  if (number >= failFrom.load() && number <= failTo.load()) {
    someFailed = true;
    return nullptr;
  }
  if (size == 0) size = 1;
  const std::size_t rounded =
      alignment == 0 ? size : (size + alignment - 1) / alignment * alignment;
  void* block = alignment == 0 ? std::malloc(size) : std::aligned_alloc(alignment, rounded);
  if (block == nullptr) return nullptr;
  inUse.fetch_add(1, std::memory_order_relaxed);
  inUseBytes.fetch_add(sizeOf(block), std::memory_order_relaxed);
  return block;
}

void* allocateOrThrow(std::size_t size, std::size_t alignment = 0) {
  void* block = allocate(size, alignment);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

void release(void* block) noexcept {
  if (block == nullptr) return;
  inUse.fetch_sub(1, std::memory_order_relaxed);
  inUseBytes.fetch_sub(sizeOf(block), std::memory_order_relaxed);
  std::free(block);
}

} // namespace

// NOLINTBEGIN(misc-definitions-in-headers,cert-dcl54-cpp,misc-new-delete-overloads)
void* operator new(std::size_t size) { return allocateOrThrow(size); }
void* operator new[](std::size_t size) { return allocateOrThrow(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void* operator new(std::size_t size, std::align_val_t alignment) {
  return allocateOrThrow(size, static_cast<std::size_t>(alignment));
}
void operator delete(void* block) noexcept { release(block); }
void operator delete[](void* block) noexcept { release(block); }
void operator delete(void* block, std::size_t) noexcept { release(block); }
void operator delete[](void* block, std::size_t) noexcept { release(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { release(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { release(block); }
void operator delete(void* block, std::align_val_t) noexcept { release(block); }
void operator delete(void* block, std::size_t, std::align_val_t) noexcept { release(block); }
// NOLINTEND(misc-definitions-in-headers,cert-dcl54-cpp,misc-new-delete-overloads)

namespace vorda::test {

FailingMemory::FailingMemory(std::uint64_t n, Failing how) {
  someFailed = false;
  count = 0;
  failTo = how == Failing::once ? n : kNever - 1;
  failFrom = n;
}

void FailingMemory::end() {
  if (failFrom.exchange(kNever) != kNever) askedLast = count.load();
}

bool FailingMemory::failed() { return someFailed; }

std::uint64_t FailingMemory::asked() { return askedLast; }

std::int64_t blocksInUse() { return inUse; }

std::int64_t bytesInUse() { return inUseBytes; }

} // namespace vorda::test
