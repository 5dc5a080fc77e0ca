// Replacing this copy by an elevated one.
#pragma once

#include "http/server.h"

#include <windows.h>

namespace vorda {

// Leaves the port to an elevated copy, started with a prompt that owner stands behind,
// and ends the process. Returns only when there is none, since the user declined: then
// this copy serves this machine again on the same port.
void relaunchElevated(ServerState& server, HWND owner);

} // namespace vorda
