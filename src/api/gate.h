// The gate: decides who may ask, serves the page and passes API requests to their route.
#pragma once

#include "api/app_state.h"

#include <string_view>

namespace vorda {

// How many pairs a request may have: each costs memory beyond its bytes.
inline constexpr std::size_t kMaxQueryFields = 1'024;
inline constexpr std::size_t kMaxBodyFields = 200'000;

// Judges a request by its head. Refuses requests from foreign pages, requests without the key
// where one is required, and unknown paths.
Admission admitRequest(AppState& state, const HttpRequest& request);

// Answers a request that was admitted. An exception thrown by a handler becomes status 500.
HttpResponse answerRequest(AppState& state, HttpRequest& request);

// Both for the server; state must outlive them.
RequestGate makeGate(AppState& state);

// Whether a Host or Origin header names this machine: 127.0.0.1, localhost or [::1], with a port
// or without, optionally preceded by "http://" or "https://" and followed by "/".
bool isLoopbackHost(std::string_view value);

// Compares keys in a time that depends only on the length of the first.
bool sameKey(std::string_view key, std::string_view presented);

} // namespace vorda
