// What an installer has done around replacing the program's files: closing every copy that
// runs from a folder, and starting its agents again. What to do and what to say; how it is
// done is handed in.
#pragma once

#include "update/agent_record.h"
#include "update/hand_over.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vorda {

struct StepOutcome {
  std::vector<std::wstring> lines; // for people and the log
  bool failed = false;
};

struct RunningCopy {
  std::uint32_t id = 0;
  bool opened = false;      // with the right to end it; without, only the next one counts
  bool elsewhere = false;   // known to run from another folder
  std::wstring commandLine; // empty when it is not told
  CopyKind kind = CopyKind::page;
  std::wstring account; // its SID as text; empty when it is not told
};

struct CloseSteps {
  std::vector<RunningCopy> copies;
  std::function<bool(std::uint32_t id)> end; // false when it still runs after a while
  // Stops the service that this copy is: false when that was refused, nothing when another
  // copy is the service.
  std::function<std::optional<bool>(std::uint32_t id)> stopService;
};

// Puts the records of what was closed into records, unless that is null.
StepOutcome closeCopies(const CloseSteps& steps, std::wstring_view folder,
                        std::vector<std::wstring>* records);

enum class ServiceStart { gone, alreadyRunning, started, refused };

struct RestartSteps {
  bool asSystem = false;    // this step runs as the local system account
  bool imageExists = false; // the program in the folder
  std::function<CopyKind(const std::wstring& commandLine)> kindOf;
  std::function<ServiceStart()> startService;
  // Starts the program in the folder; 0, or the system's error code.
  std::function<unsigned long(std::wstring_view arguments)> start;
};

// Failed when something that should have been started was not.
StepOutcome restartCopies(const HandOver& list, std::uint64_t now, const RestartSteps& steps);

} // namespace vorda
