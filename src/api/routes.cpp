#include "api/routes.h"

#include "api/cleanup_api.h"
#include "api/delete_api.h"
#include "api/export_api.h"
#include "api/jobs_api.h"
#include "api/listing_api.h"
#include "api/log_api.h"
#include "api/open_api.h"
#include "api/preview_api.h"
#include "api/search_api.h"
#include "api/session_api.h"
#include "api/tree_api.h"
#include "api/update_api.h"

namespace vorda {

namespace {

HttpResponse bins(const AppState& state) {
  std::vector<std::wstring> roots;
  for (const DriveTarget& drive : state.targets().drives) roots.push_back(drive.path);
  return listBins(*state.machine, roots);
}

} // namespace

const std::vector<Route>& routes() {
  using State = AppState;
  using Request = HttpRequest;
  static const std::vector<Route> table = {
      {"/api/hello", "", [](State& s, Request&) { return hello(s); }},
      {"/api/about", "", [](State& s, Request&) { return about(s); }},
      {"/api/openapi.json", "", [](State& s, Request&) { return describeApi(s); }},
      {"/api/targets", "", [](State& s, Request&) { return listTargets(s); }},
      {"/api/browse", "",
       [](State& s, Request& r) { return browseFolders(r, *s.folders, s.targets); }},
      {"/api/jobs", "", [](State& s, Request&) { return listJobs(s.jobs); }},
      {"/api/files", "", [](State& s, Request& r) { return browseFiles(r, *s.folders); }},
      {"/api/dirs", "", [](State& s, Request& r) { return scannedFolder(r, s.jobs); }},
      {"/api/scan", "POST", [](State& s, Request& r) { return startScan(r, s.jobs, s.steps); }},
      {"/api/ext", "", [](State& s, Request& r) { return scannedType(r, s.jobs); }},
      {"/api/types", "", [](State& s, Request& r) { return scannedTypes(r, s.jobs); }},
      {"/api/export", "", [](State& s, Request& r) { return exportCsv(r, s.jobs); }},
      {"/api/result", "", [](State& s, Request& r) { return jobResult(r, s.jobs); }},
      {"/api/cancel", "", [](State& s, Request& r) { return cancelJob(r, s.jobs); }},
      {"/api/forget", "",
       [](State& s, Request& r) {
         return forgetJob(r, s.jobs, [&s](int id) {
           s.finder.forget(id);
           s.duplicates.forget(id);
         });
       }},
      {"/api/emptybin", "POST",
       [](State& s, Request&) { return emptyBin(s.jobs, *s.machine, *s.folders, s.operations); }},
      {"/api/dupsacross", "POST",
       [](State& s, Request& r) {
         return startDuplicates(r, s.duplicates, s.jobs, s.steps, *s.contents);
       }},
      {"/api/dupsacross", "", [](State& s, Request&) { return duplicatesStatus(s.duplicates); }},
      {"/api/findfiles", "POST",
       [](State& s, Request& r) { return startFinder(r, s.finder, s.jobs, s.steps); }},
      {"/api/findfiles", "", [](State& s, Request&) { return finderStatus(s.finder); }},
      {"/api/verifydups", "POST",
       [](State& s, Request& r) { return startVerification(r, s.verification, *s.contents); }},
      {"/api/verifydups", "",
       [](State& s, Request&) { return verificationStatus(s.verification); }},
      {"/api/cleanup", "POST",
       [](State& s, Request& r) {
         return cleanUp(r, s.jobs, *s.machine, *s.folders, s.operations);
       }},
      {"/api/delete", "POST",
       [](State& s, Request& r) {
         return deleteFiles(r, s.jobs, *s.machine, *s.folders, *s.contents, s.operations);
       }},
      {"/api/cleanable", "",
       [](State& s, Request& r) { return cleanableFolders(r, s.jobs, *s.machine, *s.folders); }},
      {"/api/bins", "", [](State& s, Request&) { return bins(s); }},
      {"/api/preview", "", [](State& s, Request& r) { return previewImage(s, r); }},
      {"/api/log", "", [](State& s, Request&) { return readLog(*s.machine); }},
      {"/api/openbin", "POST", [](State& s, Request&) { return openBin(s); }},
      {"/api/update", "POST", [](State& s, Request&) { return checkUpdate(s.update); }},
      {"/api/elevate", "", [](State& s, Request&) { return elevate(s); }},
      {"/api/quit", "", [](State& s, Request&) { return quit(s); }},
      {"/api/open", "POST", [](State& s, Request& r) { return openItem(s, r); }},
      {"/api/reveal", "", [](State& s, Request& r) { return reveal(s, r); }},
  };
  return table;
}

} // namespace vorda
