// What an installer asks of this program before and after it replaces the files: to close all
// copies that run from a folder, and to restart its agents. The decisions and the texts are
// here; the actions are passed in.
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

// Part of the interface: the file name of the program and the name of its service.
inline constexpr const wchar_t* kProgramName = L"vorda.exe";
inline constexpr const wchar_t* kAgentServiceName = L"VordaAgent";

struct StepOutcome {
  std::vector<std::wstring> lines; // for standard output and the log
  bool failed = false;
};

struct RunningCopy {
  std::uint32_t id = 0;
  bool opened = false;      // false: no right to end it, and only id and elsewhere are used
  bool elsewhere = false;   // known to run from another folder
  std::wstring commandLine; // empty if unknown
  CopyKind kind = CopyKind::page;
  std::wstring account; // a SID, or empty if unknown
};

struct CloseSteps {
  std::vector<RunningCopy> copies;
  std::function<bool(std::uint32_t id)> end; // ends it; false if it still runs
  // Stops the service if this copy is it: false if that was refused, nothing if another copy
  // is the service.
  std::function<std::optional<bool>(std::uint32_t id)> stopService;
};

// Closes the copies in this folder. Appends records of the agents and the service to
// records, unless that is null. Failed if a copy or the service could not be closed.
StepOutcome closeCopies(const CloseSteps& steps, std::wstring_view folder,
                        std::vector<std::wstring>* records);

enum class ServiceStart { gone, alreadyRunning, started, refused };

struct RestartSteps {
  bool asSystem = false;    // this process runs as the local system account
  bool imageExists = false; // the folder contains the program
  std::function<CopyKind(const std::wstring& commandLine)> kindOf;
  std::function<ServiceStart()> startService;
  // Starts the program in the folder. Returns 0 or a Windows error code.
  std::function<unsigned long(std::wstring_view arguments)> start;
};

// now: a FILETIME. Failed if an agent or the service should have been started but was not.
StepOutcome restartCopies(const HandOver& list, std::uint64_t now, const RestartSteps& steps);

} // namespace vorda
