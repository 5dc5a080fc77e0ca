// Replaces this copy with an elevated one.
#pragma once

#include "http/server.h"

#include <windows.h>

#include <string>

namespace vorda {

// Releases the port, starts an elevated copy on it and exits. owner: the window that the
// elevation prompt appears in front of. Returns only if no copy was started, for example because
// the user declined; the server then listens on the loopback address of the same port again. If
// that cannot be had within twenty seconds, it says so and exits.
// A locked session keeps its key, which the page already has; else the key is empty.
void relaunchElevated(ServerState& server, const std::string& sessionKey, HWND owner);

} // namespace vorda
