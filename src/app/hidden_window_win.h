// The window that nobody sees. Through it the system, another copy of this program or an
// installer asks a running copy to end.
#pragma once

#include "http/server.h"

#include <functional>

namespace vorda {

inline constexpr const wchar_t* kHiddenWindowClass = L"VordaHiddenWindow";

// Makes the window and handles its messages until one asks this copy to end; by then the
// server no longer listens. Without a window it serves on and never returns.
// Just before, beforeClosing is called.
void runHiddenWindow(ServerState& server, const std::function<void()>& beforeClosing);

} // namespace vorda
