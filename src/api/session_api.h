// The requests about the session between the page and the program.
#pragma once

#include "api/app_state.h"

namespace vorda {

HttpResponse servePage(const AppState& state);
HttpResponse hello(const AppState& state);
HttpResponse quit(const AppState& state);
HttpResponse elevate(const AppState& state);
HttpResponse reveal(const AppState& state, const HttpRequest& request);

} // namespace vorda
