// The file behind --log.
#pragma once

#include "app/command_line.h"
#include "base/diagnostic_log.h"

#include <memory>

namespace vorda {

// A log that keeps nothing if the options ask for none. Null with a message for the user if the file
// cannot be opened. What is in the file stays.
std::unique_ptr<DiagnosticLog> openDiagnosticLog(const CommandLineOptions& options,
                                                 std::wstring& message);

} // namespace vorda
