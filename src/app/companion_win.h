// The console companion, vorda.com, that may have started this program and passes on when the user
// presses Ctrl+C.
#pragma once

#include "win/handles.h"

#include <functional>

namespace vorda {

class Companion {
public:
  explicit Companion(KernelHandle stop = KernelHandle()) : stop_(std::move(stop)) {}

  bool present() const { return stop_.valid(); }

  // Runs the action on a thread of its own once the user wants this program to stop. Must not be
  // destroyed before the process ends.
  void whenStopped(std::function<void()> action) const;

private:
  KernelHandle stop_;
};

// The companion of this process. Programs started later do not take this one for it.
Companion takeCompanion();

} // namespace vorda
