// The export run of the command line on this machine.
#pragma once

#include "app/command_line.h"

namespace vorda {

// Checks the options, then scans and writes. Returns the exit code.
int runExport(const CommandLineOptions& options);

} // namespace vorda
