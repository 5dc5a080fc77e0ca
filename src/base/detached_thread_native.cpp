#include "base/detached_thread.h"

#include <thread>

namespace vorda {

void startDetached(std::function<void()> work) {
  std::thread([work = std::move(work)] {
    try {
      work();
    } catch (...) { // NOLINT(bugprone-empty-catch): as on Windows
    }
  }).detach();
}

} // namespace vorda
