// --check-update.
#pragma once

#include "app/command_line.h"
#include "update/update_report.h"

namespace vorda {

// Checks that the option stands on its own, asks, and says what came of it. Returns the
// exit code.
int runUpdateCheck(const CommandLineOptions& options, const UpdateSource& source);

} // namespace vorda
