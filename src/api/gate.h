// The gate: the one handler of every request. It refuses what a foreign page sends,
// demands the key where one is needed, serves the page and hands every path under /api/
// to the code it belongs to.
#pragma once

#include "api/app_state.h"

#include <string_view>
#include <vector>

namespace vorda {

// A row of the route table; an empty method means any.
struct Route {
  std::string_view path;
  std::string_view method;
  HttpResponse (*handle)(AppState& state, const HttpRequest& request);
};

const std::vector<Route>& routes();

// The gate itself. Whatever a handler throws ends as status 500.
HttpResponse handleRequest(AppState& state, const HttpRequest& request);

// The same as a handler of the server; state must live as long as that.
RequestHandler makeGate(AppState& state);

// Whether a Host or Origin value names this machine: 127.0.0.1, localhost or [::1],
// with any port, in front of it at most "http://" or "https://", behind it at most "/".
bool isLoopbackHost(std::string_view value);

// Whether two keys are equal, in a time that depends on the first alone.
bool sameKey(std::string_view key, std::string_view presented);

} // namespace vorda
