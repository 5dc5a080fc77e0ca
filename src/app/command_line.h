// The command line: parsing, which mode it asks for, and whether an export run is
// complete. Text in, values out.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vorda {

struct CommandLineOptions {
  bool help = false; // everything else on the line is then ignored
  bool agent = false;
  bool service = false;
  bool server = false;
  bool noOpen = false;
  bool showKey = false;
  bool stop = false;
  bool checkUpdate = false;
  bool exportRun = false;
  bool rememberForRestart = false;
  std::int32_t port = 0; // 0: not given; no range is enforced here
  std::wstring grantAccount;
  std::wstring closeFolder;
  std::wstring restartFolder;
  std::wstring token;
  std::wstring scanPath;
  std::wstring outFile;
  std::wstring format;
  std::wstring what;
  std::wstring ext;
  std::wstring find;
  std::vector<std::wstring> parseErrors; // in argument order
  std::vector<std::wstring> unknownArgs;
};

// arguments: those behind the program's name.
CommandLineOptions parseCommandLine(const std::vector<std::wstring>& arguments);

enum class Mode {
  help,
  closeCopies,
  restartCopies,
  checkUpdate,
  exportRun,
  grantServiceLogon,
  stop,
  showKey,
  network, // agent, service or server
  interactive
};

Mode modeOf(const CommandLineOptions& options);

// What is wrong with an export run, one message each, in the order they are shown;
// empty when it can go ahead.
std::vector<std::wstring> validateExportRun(const CommandLineOptions& options);

// The same for an update check, which takes no company.
std::vector<std::wstring> validateUpdateCheck(const CommandLineOptions& options);

// The format that the run writes: the one asked for, else by the output's name.
std::wstring effectiveFormat(const CommandLineOptions& options);

// The messages as one text: a line each behind "Vorda: ", and where to read on.
std::wstring argumentErrorText(const std::vector<std::wstring>& messages);

// The help text. version: "1.2.3", or empty when it is not known.
std::wstring helpText(std::wstring_view version);

} // namespace vorda
