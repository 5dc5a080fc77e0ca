#include "api/session_api.h"

#include "api/words.h"
#include "base/paths.h"
#include "base/text.h"
#include "json/json_writer.h"

namespace vorda {

HttpResponse servePage(const AppState& state) {
  return answer(200, state.session.page(), "text/html; charset=utf-8");
}

HttpResponse hello(const AppState& state) {
  JsonWriter json;
  json.open('{');
  json.boolean("auth", state.remote);
  json.boolean("server", state.serverMode);
  json.boolean("canQuit", !state.remote);
  json.close('}');
  return answer(200, json.take());
}

namespace {

// The process ends, or is replaced, once its file operations are done.
HttpResponse endingAnswer(bool waiting) {
  return waiting ? answer(200, "{\"ok\":true,\"waiting\":true}") : okAnswer();
}

} // namespace

HttpResponse quit(const AppState& state) {
  if (state.remote) return errorAnswer(400, words::kQuitRefused);
  const bool waiting = state.operations.any();
  state.session.quitSoon();
  return endingAnswer(waiting);
}

HttpResponse elevate(const AppState& state) {
  if (state.session.elevated()) return answer(200, "{\"ok\":true,\"already\":true}");
  const bool waiting = state.operations.any();
  state.session.elevateSoon();
  return endingAnswer(waiting);
}

HttpResponse reveal(const AppState& state, const HttpRequest& request) {
  if (const std::string* path = request.queryValue("p")) {
    const std::wstring place = toUtf16(*path);
    if (!isSshPath(place)) state.session.reveal(place);
  }
  return okAnswer();
}

} // namespace vorda
