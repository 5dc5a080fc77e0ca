// A thread that nobody waits for.
//
// Not std::thread's own detaching: in the compiler's thread library for Windows a thread
// that is detached just as it begins or ends can hand its start to another one, which
// then runs with a broken argument (seen as a crash under a burst of short scans).
#pragma once

#include <functional>

namespace vorda {

// Runs the work on a thread of its own. Throws std::system_error when the system has no
// thread to give; the work is then not done.
void startDetached(std::function<void()> work);

} // namespace vorda
