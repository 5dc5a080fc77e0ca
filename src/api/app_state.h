// What the whole process shares. Made once in the entry point, passed down to whatever
// needs it, and kept until the process ends. The flags and the key are fixed before the
// server starts.
#pragma once

#include "fileops/machine.h"
#include "http/server.h"
#include "scan/folder_reader.h"
#include "scan/job_table.h"
#include "scan/target_list.h"
#include "search/background_run.h"
#include "search/file_contents.h"
#include "update/update_report.h"

#include <functional>
#include <memory>
#include <string>

namespace vorda {

// What the session endpoints do to the machine.
struct SessionActions {
  std::function<std::string()> page;               // the page's bytes, read anew each time
  std::function<void()> quitSoon;                  // ends the process, after the answer left
  std::function<bool()> elevated;                  // whether this process has the rights
  std::function<void()> elevateSoon;               // starts an elevated copy in its place
  std::function<void(const std::wstring&)> reveal; // shows a path in the file manager
};

struct AppState {
  bool remote = false;     // agent, service and server modes: the key is demanded
  bool serverMode = false; // --server
  std::string key;         // UTF-8

  ServerState server;
  JobTable jobs;
  ScanSteps steps;
  BackgroundRun finder;
  BackgroundRun duplicates;
  BackgroundRun verification;
  std::unique_ptr<FolderSource> folders;
  std::unique_ptr<Machine> machine;
  std::unique_ptr<FileContents> contents;
  std::function<TargetList()> targets;
  UpdateSource update;
  SessionActions session;
};

} // namespace vorda
