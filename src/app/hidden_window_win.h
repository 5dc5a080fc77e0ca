// An invisible window. Through it Windows, another copy of this program or an installer asks a
// running copy to quit.
#pragma once

#include "http/server.h"

#include <functional>

namespace vorda {

// Part of the interface: installers look for it.
inline constexpr const wchar_t* kHiddenWindowClass = L"VordaHiddenWindow";
// A property of the window of a copy that ends when its file operations are done.
inline constexpr const wchar_t* kFinishingProperty = L"VordaFinishing";

// Asks the window that the thread made to close, as others would. False if it made none.
bool closeHiddenWindow(unsigned long thread);

// Creates the window, calls start, and handles messages until one asks this copy to quit. Then calls
// beforeClosing, which says whether the process goes on for a while, stops the server and returns true. As the window comes first, a copy that answers can
// also be asked to quit. Returns false if start does; without a window it never returns after that.
bool runHiddenWindow(ServerState& server, const std::function<bool()>& start,
                     const std::function<bool()>& beforeClosing);

} // namespace vorda
