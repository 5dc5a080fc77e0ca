#include "api/gate.h"

#include "api/cleanup_api.h"
#include "api/delete_api.h"
#include "api/export_api.h"
#include "api/jobs_api.h"
#include "api/listing_api.h"
#include "api/search_api.h"
#include "api/session_api.h"
#include "api/tree_api.h"
#include "api/update_api.h"
#include "base/text.h"

namespace vorda {

namespace {

bool isForeign(const AppState& state, const HttpRequest& request) {
  if (const std::string* site = request.header("sec-fetch-site")) {
    const std::string value = lowerAscii(*site);
    if (value != "same-origin" && value != "none") return true;
  }
  // With a key the page may be reached under any name of this machine.
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
  // An empty key would let everybody in: it lets nobody in.
  return presented != nullptr && !state.key.empty() && sameKey(state.key, *presented);
}

HttpResponse dispatch(AppState& state, const HttpRequest& request) {
  const std::string_view path = request.path;
  const bool api = path.starts_with("/api/");
  if (api && isForeign(state, request)) return errorAnswer(403, "foreignOrigin");
  if (api && state.remote && path != "/api/hello" && !hasKey(state, request)) {
    return errorAnswer(401, "onjuiste of ontbrekende sleutel");
  }
  if (path == "/" || path == "/index.html") return servePage(state);
  for (const Route& route : routes()) {
    const bool method = route.method.empty() || route.method == request.method;
    if (route.path == path && method) return route.handle(state, request);
  }
  return errorAnswer(404, "onbekend eindpunt");
}

} // namespace

const std::vector<Route>& routes() {
  using State = AppState;
  using Request = HttpRequest;
  static const std::vector<Route> table = {
      {"/api/hello", "", [](State& s, const Request&) { return hello(s); }},
      {"/api/targets", "",
       [](State& s, const Request&) { return answer(200, targetsDocument(s.targets())); }},
      {"/api/browse", "",
       [](State& s, const Request& r) { return browseFolders(r, *s.folders, s.targets); }},
      {"/api/jobs", "", [](State& s, const Request&) { return listJobs(s.jobs); }},
      {"/api/files", "", [](State& s, const Request& r) { return browseFiles(r, *s.folders); }},
      {"/api/dirs", "", [](State& s, const Request& r) { return scannedFolder(r, s.jobs); }},
      {"/api/scan", "POST",
       [](State& s, const Request& r) { return startScan(r, s.jobs, s.steps); }},
      {"/api/ext", "", [](State& s, const Request& r) { return scannedType(r, s.jobs); }},
      {"/api/export", "", [](State& s, const Request& r) { return exportCsv(r, s.jobs); }},
      {"/api/result", "", [](State& s, const Request& r) { return jobResult(r, s.jobs); }},
      {"/api/cancel", "", [](State& s, const Request& r) { return cancelJob(r, s.jobs); }},
      {"/api/forget", "",
       [](State& s, const Request& r) {
         return forgetJob(r, s.jobs, [&s](int id) {
           s.finder.forget(id);
           s.duplicates.forget(id);
         });
       }},
      {"/api/emptybin", "POST",
       [](State& s, const Request&) { return emptyBin(s.jobs, *s.machine, *s.folders); }},
      {"/api/dupsacross", "POST",
       [](State& s, const Request& r) {
         return startDuplicates(r, s.duplicates, s.jobs, s.steps, *s.contents);
       }},
      {"/api/dupsacross", "",
       [](State& s, const Request&) { return duplicatesStatus(s.duplicates); }},
      {"/api/findfiles", "POST",
       [](State& s, const Request& r) { return startFinder(r, s.finder, s.jobs, s.steps); }},
      {"/api/findfiles", "", [](State& s, const Request&) { return finderStatus(s.finder); }},
      {"/api/verifydups", "POST",
       [](State& s, const Request& r) {
         return startVerification(r, s.verification, *s.contents);
       }},
      {"/api/verifydups", "",
       [](State& s, const Request&) { return verificationStatus(s.verification); }},
      {"/api/cleanup", "POST",
       [](State& s, const Request& r) { return cleanUp(r, s.jobs, *s.machine, *s.folders); }},
      {"/api/delete", "POST",
       [](State& s, const Request& r) { return deleteFiles(r, s.jobs, *s.machine, *s.folders); }},
      {"/api/update", "POST", [](State& s, const Request&) { return updateDocument(s.update); }},
      {"/api/elevate", "", [](State& s, const Request&) { return elevate(s); }},
      {"/api/quit", "", [](State& s, const Request&) { return quit(s); }},
      {"/api/reveal", "", [](State& s, const Request& r) { return reveal(s, r); }},
  };
  return table;
}

HttpResponse handleRequest(AppState& state, const HttpRequest& request) {
  try {
    return dispatch(state, request);
  } catch (...) {
    return errorAnswer(500, "internalError");
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
