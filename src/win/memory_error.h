// A call of Windows that failed for want of memory has told nothing about what it was asked.
#pragma once

#include <windows.h>

#include <new>

namespace vorda {

// Call with the code of a failed call. Throws std::bad_alloc if it means that.
inline void throwIfOutOfMemory(DWORD code) {
  const bool memory = code == ERROR_NOT_ENOUGH_MEMORY || code == ERROR_OUTOFMEMORY ||
                      code == ERROR_COMMITMENT_LIMIT;
  if (memory) throw std::bad_alloc();
}

} // namespace vorda
