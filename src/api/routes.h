// The route table: which handler answers which path.
#pragma once

#include "api/app_state.h"

#include <string_view>
#include <vector>

namespace vorda {

struct Route {
  std::string_view path;
  std::string_view method; // empty: any
  HttpResponse (*handle)(AppState& state, HttpRequest& request);
};

// All routes. Where several match, the first one wins.
const std::vector<Route>& routes();

} // namespace vorda
