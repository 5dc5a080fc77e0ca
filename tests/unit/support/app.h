// A complete application state on an in-memory file system, independent of Windows.
#pragma once

#include "api/gate.h"
#include "http/message_parser.h"
#include "report/result_document.h"
#include "scan/walk/walk.h"
#include "support/memory_contents.h"
#include "support/memory_disk.h"
#include "tree/disk_sums.h"

#include <map>
#include <memory>
#include <thread>

namespace vorda::test {

using TextMap = std::map<std::string, std::string>;

inline bool holds(std::string_view text, std::string_view part) {
  return text.find(part) != std::string_view::npos;
}

inline std::size_t countOf(std::string_view text, std::string_view part) {
  std::size_t count = 0;
  for (std::size_t at = 0; (at = text.find(part, at)) != std::string_view::npos; ++at) ++count;
  return count;
}

inline HttpRequest requestOf(const std::string& method, const std::string& target,
                             const std::string& body = {}, const std::string& lines = {}) {
  HttpRequest request;
  request.method = method;
  request.body = body;
  request.headers = HeaderFields(lines);
  parseTarget(target, request);
  return request;
}

struct App {
  AppState state;
  MemoryDisk* disk = nullptr;         // owned by state
  MemoryContents* contents = nullptr; // owned by state
  int quits = 0;
  int elevations = 0;
  bool elevated = true;
  std::vector<std::wstring> revealed;
  int binsOpened = 0;
  std::vector<std::pair<Opening, std::wstring>> opened;

  App() {
    auto memory = std::make_unique<MemoryDisk>();
    disk = memory.get();
    state.machine.reset(disk);
    state.folders = std::move(memory);
    auto held = std::make_unique<MemoryContents>();
    contents = held.get();
    state.contents = std::move(held);
    state.key = "KEY23";
    state.steps.turboAllowed = [](const std::wstring&) { return TurboVerdict{false, kNotLocal}; };
    state.steps.walk = [this](ScanProgress& progress, const ScanOptions& options,
                              ScanResult& result) {
      return walk(*disk, progress, options, result, 2);
    };
    state.steps.driveFigures = [](const std::wstring&) { return DriveFigures{}; };
    state.steps.finish = [](Job& job) {
      sumScan(job.result, job.progress);
      buildResultDocument(job, kDocumentOptions, 0);
    };
    state.targets = [] {
      TargetList list;
      list.drives.push_back(
          {L"C:\\", L"Sys", L"NTFS", "fixed", 2, 1, false, std::string(kNoAdmin)});
      list.wsl.push_back({L"Debian", L"\\\\wsl.localhost\\Debian"});
      return list;
    };
    state.update = {"1.9.0", "https://x/get", [] { return updateOffline(); }};
    state.about = [] { return AboutFacts{L"1.9.0", true, L"", L"C:\\r\\crash.dmp", 7}; };
    state.session.description = [] { return std::string("{\"openapi\":1}"); };
    state.session.page = [] { return std::string("<p>page</p>"); };
    state.session.quitSoon = [this] { ++quits; };
    state.session.elevated = [this] { return elevated; };
    state.session.elevateSoon = [this] { ++elevations; };
    state.session.openBin = [this] { ++binsOpened; };
    state.session.reveal = [this](const std::wstring& path) { revealed.push_back(path); };
    state.session.open = [this](Opening what, const std::wstring& path) {
      opened.emplace_back(what, path);
      return std::string_view();
    };
  }

  // Background runs use the state until they end.
  ~App() {
    for (const BackgroundRun* run : {&state.finder, &state.duplicates, &state.verification}) {
      while (run->running()) std::this_thread::yield();
    }
    static_cast<void>(state.machine.release()); // the same object as the folders
  }
  App(const App&) = delete;
  App& operator=(const App&) = delete;

  HttpResponse ask(const std::string& method, const std::string& target,
                   const std::string& body = {}, const TextMap& headers = {}) {
    std::string lines;
    for (const auto& [name, value] : headers)
      lines.append(name).append(":").append(value).append("\r\n");
    HttpRequest request = requestOf(method, target, body, lines);
    std::optional<HttpResponse> refusal = admitRequest(state, request).refusal;
    return refusal ? *refusal : answerRequest(state, request);
  }

  // Status and body, as "200 body".
  std::string told(const std::string& method, const std::string& target,
                   const std::string& body = {}, const TextMap& headers = {}) {
    const HttpResponse response = ask(method, target, body, headers);
    return std::to_string(response.status) + " " + std::string(response.payload());
  }

  std::string get(const std::string& target, const TextMap& headers = {}) {
    return told("GET", target, {}, headers);
  }
  std::string post(const std::string& target, const std::string& body = {},
                   const TextMap& headers = {}) {
    return told("POST", target, body, headers);
  }

  // Adds a file that is listed in its folder and has this content.
  void addContent(const std::wstring& folder, const std::wstring& name, std::string content,
                  std::uint64_t number = 0) {
    disk->addFile(folder, name, content.size());
    contents->add(joinPath(folder, name), std::move(content), number);
  }

  // Scans a folder to completion and returns the id of the job.
  int scanned(const std::string& path) {
    const std::string started = post("/api/scan", "path=" + path);
    const int id = std::stoi(started.substr(started.find("\"id\":") + 5));
    waitUntilDone(id);
    return id;
  }

  std::shared_ptr<Job> scanJob(const std::string& path) { return state.jobs.find(scanned(path)); }

  std::string resultOf(const std::string& path) {
    while (get(path).starts_with("200 {\"running\":true")) std::this_thread::yield();
    return get(path);
  }

  void waitUntilDone(int id) {
    const std::shared_ptr<Job> job = state.jobs.find(id);
    while (job && !job->resultReady) std::this_thread::yield();
  }
};

} // namespace vorda::test
