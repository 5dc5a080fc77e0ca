// The outcome of --check-update as exit code and text.
#pragma once

#include "update/update_source.h"

#include <string>

namespace vorda {

struct UpdateReport {
  int exitCode = 0; // kExitDone, kExitNewerVersion or kExitFailed
  std::string text; // UTF-8, one line without a line break; for standard error on failure
};

UpdateReport updateReport(const UpdateSource& source);

} // namespace vorda
