#include "base/detached_thread.h"

#include <thread>

namespace vorda {

void startDetached(std::function<void()> work) { std::thread(std::move(work)).detach(); }

} // namespace vorda
