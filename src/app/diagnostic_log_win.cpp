#include "app/diagnostic_log_win.h"

#include "base/paths.h"
#include "base/time.h"
#include "win/error_text.h"
#include "win/full_path.h"
#include "win/handles.h"
#include "win/write_all.h"

#include <windows.h>

namespace vorda {

std::unique_ptr<DiagnosticLog> openDiagnosticLog(const CommandLineOptions& options,
                                                 std::wstring& message) {
  if (options.logFile.empty()) return std::make_unique<DiagnosticLog>();
  const std::wstring name = systemPath(fullPath(options.logFile));
  // Others may read the file while it grows, and copies of this program write to the same one.
  const auto file = std::make_shared<FileHandle>(
      CreateFileW(name.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                  OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file->valid()) {
    message =
        L"Vorda: could not write the log " + options.logFile + L": " + errorText(GetLastError());
    return nullptr;
  }
  return std::make_unique<DiagnosticLog>(
      [file](std::string_view line) { writeAll(file->get(), line); }, options.logNames, nowUnixMs);
}

} // namespace vorda
