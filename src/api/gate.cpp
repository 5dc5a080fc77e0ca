#include "api/gate.h"

#include "api/routes.h"
#include "api/session_api.h"
#include "api/words.h"
#include "base/text.h"

#include <algorithm>
#include <array>

namespace vorda {

namespace {

// Requests that change something and need no POST.
constexpr std::array<std::string_view, 5> kActions = {"/api/cancel", "/api/elevate", "/api/forget",
                                                      "/api/quit", "/api/reveal"};

bool hasValue(const HttpRequest& request, const char* name, std::string_view wanted) {
  const std::string* value = request.header(name);
  return value != nullptr && lowerAscii(*value) == wanted;
}

// Whether another site may have caused a request that the browser reports as the user's own, or reports
// nothing about: one made ahead of time, a web socket, or a redirect from an address that was typed or
// came in a message.
bool isUnasked(const HttpRequest& request) {
  if (request.header("sec-purpose") != nullptr) return true;
  if (request.header("sec-websocket-key") != nullptr) return true;
  const bool action = std::find(kActions.begin(), kActions.end(), request.path) != kActions.end();
  return action && hasValue(request, "sec-fetch-mode", "navigate") &&
         !hasValue(request, "sec-fetch-site", "same-origin");
}

bool isForeign(const AppState& state, const HttpRequest& request) {
  if (isUnasked(request)) return true;
  if (const std::string* site = request.header("sec-fetch-site")) {
    const std::string value = lowerAscii(*site);
    if (value != "same-origin" && value != "none") return true;
  }
  // Where a key is required, the machine may be addressed by any of its names.
  if (state.remote) return false;
  for (const char* name : {"host", "origin"}) {
    const std::string* value = request.header(name);
    if (value != nullptr && !isLoopbackHost(*value)) return true;
  }
  return false;
}

bool hasKey(const AppState& state, const HttpRequest& request) {
  const std::string* presented = request.header("x-vorda-token");
  if (presented == nullptr || presented->empty()) presented = request.queryValue("token");
  // An empty configured key matches nothing, rather than everything.
  return presented != nullptr && !state.key.empty() && sameKey(state.key, *presented);
}

HttpResponse dispatch(AppState& state, const HttpRequest& request) {
  const std::string_view path = request.path;
  const bool api = path.starts_with("/api/");
  if (api && isForeign(state, request)) return errorAnswer(403, words::kForeignOrigin);
  if (api && state.remote && path != "/api/hello" && !hasKey(state, request)) {
    return errorAnswer(401, words::kWrongKey);
  }
  if (path == "/" || path == "/index.html") return servePage(state);
  for (const Route& route : routes()) {
    const bool method = route.method.empty() || route.method == request.method;
    if (route.path == path && method) return route.handle(state, request);
  }
  return errorAnswer(404, words::kUnknownEndpoint);
}

} // namespace

HttpResponse handleRequest(AppState& state, const HttpRequest& request) {
  try {
    return dispatch(state, request);
  } catch (...) {
    return errorAnswer(500, words::kInternalError);
  }
}

RequestHandler makeGate(AppState& state) {
  return [&state](const HttpRequest& request) { return handleRequest(state, request); };
}

bool isLoopbackHost(std::string_view value) {
  const std::string lower = lowerAscii(value);
  std::string_view host = lower;
  for (const std::string_view scheme : {"http://", "https://"}) {
    if (!host.starts_with(scheme)) continue;
    host.remove_prefix(scheme.size());
    break;
  }
  if (host.ends_with('/')) host.remove_suffix(1);
  if (host.starts_with('[')) {
    const std::size_t end = host.find(']');
    if (end == std::string_view::npos) return false;
    host = host.substr(0, end + 1);
  } else {
    host = host.substr(0, host.find(':'));
  }
  return host == "127.0.0.1" || host == "localhost" || host == "[::1]";
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
