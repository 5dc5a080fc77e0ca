// Parses and checks the command line.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vorda {

struct CommandLineOptions {
  bool help = false; // all other arguments are then ignored
  bool agent = false;
  bool service = false;
  bool server = false;
  bool noOpen = false;
  bool lock = false;
  bool showKey = false;
  bool stop = false;
  bool checkUpdate = false;
  bool exportRun = false;
  bool logNames = false;
  bool rememberForRestart = false;
  std::int32_t port = 0; // 0: not given; not checked here
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
  std::wstring older;
  std::wstring newer;
  std::wstring smallest;
  std::wstring largest;
  std::wstring logFile;                  // goes with every mode
  std::vector<std::wstring> parseErrors; // in argument order
  std::vector<std::wstring> unknownArgs;
};

// arguments: without the program name.
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

// Whether the file list is narrowed by size or age.
bool hasBounds(const CommandLineOptions& options);

Mode modeOf(const CommandLineOptions& options);

// What is wrong with the options of an export run, in the order it is shown. Empty if nothing is.
std::vector<std::wstring> validateExportRun(const CommandLineOptions& options);

// The same for an update check, which allows no other mode.
std::vector<std::wstring> validateUpdateCheck(const CommandLineOptions& options);

// "json" or "csv": --format, else derived from the output file name. Not checked here.
std::wstring effectiveFormat(const CommandLineOptions& options);

// The messages as one text, each on a line after "Vorda: ", and a hint at --help.
std::wstring argumentErrorText(const std::vector<std::wstring>& messages);

// version: such as "1.2.3", or empty if unknown.
std::wstring helpText(std::wstring_view version);

// The text in pages of whole paragraphs that fit a screen; "\n\n" between them makes it again.
std::vector<std::wstring> pagesOf(std::wstring_view text);

} // namespace vorda
