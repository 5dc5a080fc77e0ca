// The commands that an installer gives. Each says what it did on standard output, a line
// for each thing, and returns the exit code.
#pragma once

#include "app/command_line.h"

namespace vorda {

// --close-for-update and --close-for-removal.
int runClose(const CommandLineOptions& options);

// --restart-after-update. asSystem: whether this process runs as the local system account.
int runRestart(const std::wstring& folder, bool asSystem);
bool runsAsSystem();

// --grant-service-logon. Says something only when it failed.
int runGrantServiceLogon(const std::wstring& account);

} // namespace vorda
