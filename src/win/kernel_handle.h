// A handle whose invalid value is null, such as that of a process, an event or an access
// token; closes itself.
#pragma once

#include <windows.h>

#include <utility>

namespace vorda {

class KernelHandle {
public:
  explicit KernelHandle(HANDLE handle = nullptr) : handle_(handle) {}
  KernelHandle(const KernelHandle&) = delete;
  KernelHandle& operator=(const KernelHandle&) = delete;
  ~KernelHandle() { reset(); }

  bool valid() const { return handle_ != nullptr; }
  HANDLE get() const { return handle_; }

  void reset(HANDLE handle = nullptr) {
    const HANDLE old = std::exchange(handle_, handle);
    if (old != nullptr) CloseHandle(old);
  }

private:
  HANDLE handle_ = nullptr;
};

} // namespace vorda
