#include "api/gate.h"

#include "api/routes.h"
#include "api/session_api.h"
#include "api/words.h"
#include "base/out_of_memory.h"
#include "base/text.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <optional>
#include <string>

namespace vorda {

namespace {

// Requests that change something and need no POST.
constexpr std::array<std::string_view, 5> kActions = {"/api/cancel", "/api/elevate", "/api/forget",
                                                      "/api/quit", "/api/reveal"};

bool hasValue(const HttpRequest& request, const char* name, std::string_view wanted) {
  const auto value = request.header(name);
  return value && lowerAscii(*value) == wanted;
}

// Whether another site may have caused a request that the browser reports as the user's own, or reports
// nothing about: one made ahead of time, a web socket, or a redirect from an address that was typed or
// came in a message.
bool isUnasked(const HttpRequest& request) {
  if (request.header("sec-purpose")) return true;
  if (request.header("sec-websocket-key")) return true;
  const bool action = std::find(kActions.begin(), kActions.end(), request.path) != kActions.end();
  return action && hasValue(request, "sec-fetch-mode", "navigate") &&
         !hasValue(request, "sec-fetch-site", "same-origin");
}

bool isForeign(const AppState& state, const HttpRequest& request) {
  if (isUnasked(request)) return true;
  if (const auto site = request.header("sec-fetch-site")) {
    const std::string value = lowerAscii(*site);
    if (value != "same-origin" && value != "none") return true;
  }
  // A machine that is reached over the network may be addressed by any of its names.
  if (state.remote) return false;
  for (const char* name : {"host", "origin"}) {
    if (request.headers.contradicts(name)) return true;
    const auto value = request.header(name);
    if (value && !isLoopbackHost(*value)) return true;
  }
  return false;
}

// The header, or where that is absent or empty, the query parameter.
std::string presentedKey(const HttpRequest& request) {
  const std::string_view header = request.header("x-vorda-token").value_or("");
  return header.empty() ? request.queryValue("token").value_or("") : std::string(header);
}

// An empty configured key matches nothing, rather than everything.
bool isKey(const AppState& state, const std::string& presented) {
  return !state.key.empty() && sameKey(state.key, presented);
}

// The refusal of a request whose key is missing, wrong or one of too many wrong ones.
std::optional<HttpResponse> refuseKey(AppState& state, const HttpRequest& request,
                                      const std::string& presented) {
  const auto now = std::chrono::steady_clock::now();
  if (state.wrongKeys.refuses(request.address, now)) {
    return errorAnswer(429, words::kTooManyKeys);
  }
  if (isKey(state, presented)) return std::nullopt;
  if (!presented.empty()) state.wrongKeys.note(request.address, now);
  return errorAnswer(401, words::kWrongKey);
}

bool isPage(std::string_view path) { return path == "/" || path == "/index.html"; }

const Route* routeOf(const HttpRequest& request) {
  for (const Route& route : routes()) {
    const bool method = route.method.empty() || route.method == request.method;
    if (route.path == request.path && method) return &route;
  }
  return nullptr;
}

Admission judge(AppState& state, const HttpRequest& request) {
  const bool api = request.path.starts_with("/api/");
  if (api && isForeign(state, request)) {
    return {Trust::none, errorAnswer(403, words::kForeignOrigin)};
  }
  Admission admission;
  if (state.keyRequired) {
    const std::string presented = presentedKey(request);
    if (api && request.path != "/api/hello") {
      admission.refusal = refuseKey(state, request, presented);
    }
    const bool shown = !admission.refusal && isKey(state, presented);
    admission.trust = shown ? Trust::key : Trust::none;
  }
  if (!admission.refusal && !isPage(request.path) && routeOf(request) == nullptr) {
    admission.refusal = errorAnswer(404, words::kUnknownEndpoint);
  }
  return admission;
}

HttpResponse dispatch(AppState& state, HttpRequest& request) {
  if (countFields(request.query) > kMaxQueryFields || countFields(request.body) > kMaxBodyFields) {
    return errorAnswer(400, words::kTooManyFields);
  }
  if (isPage(request.path)) return servePage(state);
  const Route* route = routeOf(request);
  return route == nullptr ? errorAnswer(404, words::kUnknownEndpoint)
                          : route->handle(state, request);
}

} // namespace

Admission admitRequest(AppState& state, const HttpRequest& request) {
  try {
    return judge(state, request);
  } catch (...) {
    return {Trust::none,
            isOutOfMemory() ? state.noMemory : errorAnswer(500, words::kInternalError)};
  }
}

HttpResponse answerRequest(AppState& state, HttpRequest& request) {
  try {
    return dispatch(state, request);
  } catch (...) {
    return isOutOfMemory() ? state.noMemory : errorAnswer(500, words::kInternalError);
  }
}

RequestGate makeGate(AppState& state) {
  return {[&state](const HttpRequest& request) { return admitRequest(state, request); },
          [&state](HttpRequest& request) { return answerRequest(state, request); }};
}

bool isLoopbackHost(std::string_view value) {
  const std::string lower = lowerAscii(value);
  std::string_view rest = lower;
  for (const std::string_view scheme : {"http://", "https://"}) {
    if (!rest.starts_with(scheme)) continue;
    rest.remove_prefix(scheme.size());
    break;
  }
  for (const std::string_view name : {"127.0.0.1", "localhost", "[::1]"}) {
    if (!rest.starts_with(name)) continue;
    rest.remove_prefix(name.size());
    if (rest.ends_with('/')) rest.remove_suffix(1);
    if (rest.empty()) return true;
    const bool port = rest.front() == ':' && rest.size() > 1;
    return port && rest.find_first_not_of("0123456789", 1) == std::string_view::npos;
  }
  return false;
}

bool sameKey(std::string_view key, std::string_view presented) {
  unsigned difference = key.size() == presented.size() ? 0 : 1;
  for (std::size_t i = 0; i < key.size(); ++i) {
    const char other = presented.empty() ? '\0' : presented[i % presented.size()];
    difference |= static_cast<unsigned>(key[i] ^ other);
  }
  return difference == 0;
}

} // namespace vorda
