#include "base/detached_thread.h"

#include <windows.h>

#include <process.h>

#include <memory>
#include <system_error>

namespace vorda {

namespace {

unsigned __stdcall runWork(void* argument) {
  const std::unique_ptr<std::function<void()>> work(static_cast<std::function<void()>*>(argument));
  try {
    (*work)();
  } catch (...) { // NOLINT(bugprone-empty-catch): nobody waits for it
  }
  return 0;
}

} // namespace

void startDetached(std::function<void()> work) {
  auto held = std::make_unique<std::function<void()>>(std::move(work));
  const std::uintptr_t handle = _beginthreadex(nullptr, 0, runWork, held.get(), 0, nullptr);
  if (handle == 0) throw std::system_error(errno, std::generic_category());
  held.release(); // NOLINT(bugprone-unused-return-value): owned by the thread now
  CloseHandle(reinterpret_cast<HANDLE>(handle));
}

} // namespace vorda
