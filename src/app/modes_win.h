// The modes of the program, each in a file of its own that is called after it. Every function
// runs one mode to its end and returns the exit code (see exit_code.h).
#pragma once

#include "api/app_state.h"
#include "app/command_line.h"
#include "app/companion_win.h"

namespace vorda {

// --help
int showHelp();

// --scan with --out: checks the options, scans and writes the result.
int runExport(const CommandLineOptions& options, const Companion& companion, DiagnosticLog& log);

// --check-update: checks that no other mode is asked for, then prints the outcome.
int runUpdateCheck(const CommandLineOptions& options, const UpdateSource& source);

// --stop: asks every other copy within reach to quit, through its hidden window and over HTTP,
// and waits up to six and a half seconds; a minute longer for copies that are deleting files.
int stopInstances();

// --show-key
int showAgentKey();

// --close-for-update and --close-for-removal. Prints what was done, one line per item.
int closeRunningCopies(const CommandLineOptions& options);

// --restart-after-update. asSystem: whether this process runs as the local system account.
// Prints what was done, one line per item.
int restartClosedCopies(const std::wstring& folder, bool asSystem);
bool runsAsSystem();

// --grant-service-logon. Prints only failures.
int grantLogonRight(const std::wstring& account);

// Interactive, agent, server or service mode: serves until asked to quit. state needs
// everything but its flags and key, which are set here.
int serve(AppState& state, const CommandLineOptions& options, const Companion& companion);

} // namespace vorda
