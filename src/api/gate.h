// The gate: decides who may ask, serves the page and passes API requests to their route.
#pragma once

#include "api/app_state.h"

#include <string_view>

namespace vorda {

// Answers one request. Rejects requests from foreign pages, and in remote modes requests
// without the key. An exception thrown by a handler becomes status 500.
HttpResponse handleRequest(AppState& state, const HttpRequest& request);

// handleRequest as a handler for the server; state must outlive it.
RequestHandler makeGate(AppState& state);

// Whether a Host or Origin header names this machine: 127.0.0.1, localhost or [::1] with
// any port, optionally preceded by "http://" or "https://" and followed by "/".
bool isLoopbackHost(std::string_view value);

// Compares keys in a time that depends only on the length of the first.
bool sameKey(std::string_view key, std::string_view presented);

} // namespace vorda
