// A handle from CreateFileW, whose invalid value is INVALID_HANDLE_VALUE; closes itself.
#pragma once

#include <windows.h>

#include <utility>

namespace vorda {

class FileHandle {
public:
  explicit FileHandle(HANDLE handle = INVALID_HANDLE_VALUE) : handle_(handle) {}
  FileHandle(const FileHandle&) = delete;
  FileHandle& operator=(const FileHandle&) = delete;
  ~FileHandle() { reset(); }

  bool valid() const { return handle_ != INVALID_HANDLE_VALUE; }
  HANDLE get() const { return handle_; }

  void reset(HANDLE handle = INVALID_HANDLE_VALUE) {
    const HANDLE old = std::exchange(handle_, handle);
    if (old != INVALID_HANDLE_VALUE) CloseHandle(old);
  }

private:
  HANDLE handle_ = INVALID_HANDLE_VALUE;
};

} // namespace vorda
