// The endpoints about the program itself: page, handshake, quit, elevate, reveal.
#pragma once

#include "api/app_state.h"

namespace vorda {

HttpResponse servePage(const AppState& state);
HttpResponse about(const AppState& state);
HttpResponse describeApi(const AppState& state);
HttpResponse hello(const AppState& state);
// What can be scanned. The first answer has the path the program was started with.
HttpResponse listTargets(AppState& state);
HttpResponse quit(const AppState& state);
HttpResponse elevate(const AppState& state);
HttpResponse openBin(const AppState& state);
HttpResponse reveal(const AppState& state, const HttpRequest& request);

} // namespace vorda
