// The state shared by the whole process. Created once in the entry point, passed down and
// kept until the process ends. The flags and the key are set before the server starts.
#pragma once

#include "api/wrong_keys.h"
#include "base/diagnostic_log.h"
#include "fileops/machine.h"
#include "fileops/running_operations.h"
#include "http/server.h"
#include "scan/folder_reader.h"
#include "scan/job_table.h"
#include "scan/target_list.h"
#include "search/background_run.h"
#include "search/file_contents.h"
#include "update/update_source.h"

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

namespace vorda {

// What /api/open opens: a folder or a document, a terminal in a folder, or the properties.
enum class Opening { item, terminal, properties };

// What the session endpoints do outside this process's own data.
struct SessionActions {
  std::function<std::string()> page;               // the page's HTML, read on every call
  std::function<std::string()> description;        // of this API, as JSON
  std::function<void()> quitSoon;                  // ends the process once the response is sent
  std::function<bool()> elevated;                  // whether this process runs as administrator
  std::function<void()> elevateSoon;               // replaces this process by an elevated one
  std::function<void(const std::wstring&)> reveal; // shows a path in Explorer
  std::function<void()> openBin;                   // shows the recycle bin in Explorer
  // Returns at once: empty, or why the path is not opened.
  std::function<std::string_view(Opening, const std::wstring&)> open;
};

// What the program says about itself.
struct AboutFacts {
  std::wstring version;
  bool signedFile = false;
  std::wstring log;            // the diagnostic log; empty if none is kept
  std::wstring crashReport;    // of the last crash; empty if there was none
  std::uint64_t crashTime = 0; // milliseconds since 1970
};

// The path that the user started the program with. The page that is opened for it may scan it without
// asking, wherever it is, so it is told once only: any web site can open the page with a path.
class StartPath {
public:
  void set(std::wstring path) {
    const std::lock_guard lock(mutex_);
    path_ = std::move(path);
  }
  // Empty if there is none, or it was taken before.
  std::wstring take() {
    const std::lock_guard lock(mutex_);
    return std::exchange(path_, {});
  }

private:
  std::mutex mutex_;
  std::wstring path_;
};

struct AppState {
  bool remote = false;      // agent, service or server mode
  bool serverMode = false;  // --server
  bool keyRequired = false; // in these modes, and where --lock asks for it
  std::string key;          // UTF-8
  WrongKeys wrongKeys;
  // Made beforehand: there is no memory for it when it is needed.
  const HttpResponse noMemory = errorAnswer(500, kNoMemory);
  StartPath startPath;

  ServerState server;
  JobTable jobs;
  ScanSteps steps;
  BackgroundRun finder;
  BackgroundRun duplicates;
  BackgroundRun verification;
  std::unique_ptr<FolderSource> folders;
  std::unique_ptr<Machine> machine;
  RunningOperations operations;
  std::unique_ptr<FileContents> contents;
  std::function<TargetList()> targets;
  std::function<AboutFacts()> about;
  UpdateSource update;
  SessionActions session;
};

} // namespace vorda
