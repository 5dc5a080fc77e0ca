#include "api/session_api.h"

#include "api/words.h"
#include "base/paths.h"
#include "base/text.h"
#include "json/json_writer.h"

#include <algorithm>

namespace vorda {

HttpResponse servePage(const AppState& state) {
  return answer(200, state.session.page(), "text/html; charset=utf-8");
}

HttpResponse about(const AppState& state) {
  const AboutFacts facts = state.about();
  JsonWriter json;
  json.open('{');
  json.string("version", facts.version);
  json.boolean("signed", facts.signedFile);
  json.string("log", facts.log);
  if (!facts.crashReport.empty()) {
    json.open("crash", '{');
    json.string("path", facts.crashReport);
    json.number("time", facts.crashTime);
    json.close('}');
  }
  json.close('}');
  return answer(200, json.take());
}

HttpResponse describeApi(const AppState& state) { return answer(200, state.session.description()); }

HttpResponse hello(const AppState& state) {
  JsonWriter json;
  json.open('{');
  json.boolean("auth", state.keyRequired);
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

HttpResponse listTargets(AppState& state) {
  TargetList list = state.targets(); // first: should it fail, the path is still there
  list.startPath = state.startPath.take();
  try {
    return answer(200, targetsDocument(list));
  } catch (...) {
    state.startPath.set(std::move(list.startPath));
    throw;
  }
}

HttpResponse quit(const AppState& state) {
  if (state.remote) return errorAnswer(400, words::kQuitRefused);
  HttpResponse response =
      endingAnswer(state.operations.any()); // first: quitting has to be answered
  state.session.quitSoon();
  return response;
}

HttpResponse elevate(const AppState& state) {
  // What a network agent serves over the network must not be replaced by a program on loopback.
  if (state.remote) return errorAnswer(400, words::kElevateRefused);
  if (state.session.elevated()) return answer(200, "{\"ok\":true,\"already\":true}");
  HttpResponse response = endingAnswer(state.operations.any());
  state.session.elevateSoon();
  return response;
}

HttpResponse openBin(const AppState& state) {
  // On the machine of an agent nobody may be there to see it.
  if (state.remote) return errorAnswer(400, words::kNotAllowed);
  state.session.openBin();
  return okAnswer();
}

HttpResponse reveal(const AppState& state, const HttpRequest& request) {
  if (const auto path = request.queryValue("p")) {
    std::wstring place = toUtf16(*path);
    if (isSshPath(place)) return okAnswer();
    // Explorer takes "/" for the beginning of an option.
    std::replace(place.begin(), place.end(), L'/', L'\\');
    state.session.reveal(place);
  }
  return okAnswer();
}

} // namespace vorda
