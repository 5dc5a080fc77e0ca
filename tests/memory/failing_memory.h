// Lets allocations fail, and counts the blocks and bytes that are in use. In this program, operator new and
// delete are replaced (failing_memory_native.cpp).
#pragma once

#include <cstdint>

namespace vorda::test {

enum class Failing {
  once, // one allocation fails
  on,   // it and all that follow
};

// From construction to end() or destruction, the n-th allocation of the whole process fails, on
// whatever thread; 0 is the first.
class FailingMemory {
public:
  FailingMemory(std::uint64_t n, Failing how);
  ~FailingMemory() { end(); }
  FailingMemory(const FailingMemory&) = delete;
  FailingMemory& operator=(const FailingMemory&) = delete;
  void end();

  static bool failed();         // whether the last one got that far
  static std::uint64_t asked(); // the allocations while the last one was there
};

// Of operator new, not yet deleted.
std::int64_t blocksInUse();
std::int64_t bytesInUse();

} // namespace vorda::test
