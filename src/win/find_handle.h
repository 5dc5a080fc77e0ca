// The handle of a running file search; closes itself.
#pragma once

#include <windows.h>

#include <utility>

namespace vorda {

class FindHandle {
public:
  FindHandle() = default;
  FindHandle(const FindHandle&) = delete;
  FindHandle& operator=(const FindHandle&) = delete;
  ~FindHandle() { reset(); }

  bool valid() const { return handle_ != INVALID_HANDLE_VALUE; }
  HANDLE get() const { return handle_; }

  void reset(HANDLE handle = INVALID_HANDLE_VALUE) {
    const HANDLE old = std::exchange(handle_, handle);
    if (old != INVALID_HANDLE_VALUE) FindClose(old);
  }

private:
  HANDLE handle_ = INVALID_HANDLE_VALUE;
};

} // namespace vorda
