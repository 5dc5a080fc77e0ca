// A thread that is never joined.
//
// std::thread::detach is not used on Windows: in the compiler's thread library, detaching a
// thread just as it starts or ends can make another thread start with a corrupt argument
// (seen as a crash under a burst of short scans).
#pragma once

#include <functional>

namespace vorda {

// Runs the work on a new thread. Throws std::system_error or std::bad_alloc, without running it,
// when the system cannot create one. An exception ends the work, never the process.
void startDetached(std::function<void()> work);

} // namespace vorda
