// /api/open: what a click in the page opens on this machine.
#pragma once

#include "api/app_state.h"
#include "http/message.h"

namespace vorda {

// Opens a path of a scan on this machine: the item itself, a terminal in its folder, or its properties. Only
// for the user of this machine, so not in an agent, a service or a server.
HttpResponse openItem(const AppState& state, HttpRequest& request);

// Whether opening a file of this name runs it, or something that it names, rather than showing it. A click in the
// page must not start a program that a scan happened to find, least of all with administrator rights.
bool startsAsProgram(std::wstring_view path);

} // namespace vorda
