// Tells a want of memory from other exceptions.
#pragma once

#include <memory>
#include <new>

namespace vorda {

// Whether the exception being handled says that memory, or another resource of the process such
// as threads, is used up. Only within a catch block.
bool isOutOfMemory();

// Memory set aside before something that cannot be undone, for what has to be said about it.
class MemoryReserve {
public:
  MemoryReserve() : bytes_(new char[kBytes]) {}
  void release() { bytes_.reset(); }

private:
  static constexpr std::size_t kBytes = 262'144;
  std::unique_ptr<char[]> bytes_;
};

// Calls the work; once more with the reserve released if memory is short the first time. The work
// must not depend on what a failed call has done.
template <typename Work> void withReserve(MemoryReserve& reserve, Work work) {
  try {
    work();
  } catch (const std::bad_alloc&) {
    reserve.release();
    work();
  }
}

} // namespace vorda
