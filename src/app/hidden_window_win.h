// An invisible window. Through it Windows, another copy of this program or an installer asks a
// running copy to quit.
#pragma once

#include "http/server.h"

#include <functional>

namespace vorda {

// Part of the interface: installers look for it.
inline constexpr const wchar_t* kHiddenWindowClass = L"VordaHiddenWindow";

// Creates the window and handles its messages until one asks this copy to quit. Then calls
// beforeClosing, stops the server and returns. If the window cannot be created, it never returns.
void runHiddenWindow(ServerState& server, const std::function<void()>& beforeClosing);

} // namespace vorda
