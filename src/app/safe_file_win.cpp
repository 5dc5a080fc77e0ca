#include "app/safe_file_win.h"

#include "base/paths.h"
#include "base/text.h"
#include "win/error_text.h"
#include "win/full_path.h"
#include "win/handles.h"
#include "win/write_all.h"

#include <windows.h>

namespace vorda {

namespace {

constexpr unsigned kNameAttempts = 16;
constexpr std::wstring_view kDevicePrefix = L"\\\\.\\";
constexpr std::wstring_view kNothing = L"NUL";

// NUL by its own name. Windows also takes "nul.json" for it, where somebody expects a file.
bool isNothing(std::wstring_view name, std::wstring_view full) {
  return full.starts_with(kDevicePrefix) &&
         equalsIgnoreCase(full.substr(kDevicePrefix.size()), kNothing) &&
         equalsIgnoreCase(lastName(name), kNothing);
}

// Why a name cannot be that of the result.
std::wstring refusal(const std::wstring& full) {
  if (full.starts_with(kDevicePrefix)) return L"that is the name of a device; give a file name";
  const DWORD attributes = GetFileAttributesW(systemPath(full).c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) return {};
  if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return L"that is a folder; give a file name";
  // It would be replaced, and so deleted.
  if ((attributes & FILE_ATTRIBUTE_READONLY) != 0) return errorText(ERROR_ACCESS_DENIED);
  const FileHandle replaced(CreateFileW(systemPath(full).c_str(), DELETE, kShareAll, nullptr,
                                        OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
  return replaced.valid() ? std::wstring() : errorText(GetLastError());
}

struct Temporary {
  std::wstring name;
  FileHandle file;
  DWORD error = ERROR_FILE_EXISTS;

  // Created next to the target.
  explicit Temporary(const std::wstring& target) {
    const std::wstring stem = target + L".vorda-" + std::to_wstring(GetCurrentProcessId()) + L"-";
    const ULONGLONG ticks = GetTickCount64() % 100'000;
    for (unsigned attempt = 0; attempt < kNameAttempts && error == ERROR_FILE_EXISTS; ++attempt) {
      name = systemPath(stem + std::to_wstring(ticks + attempt) + L".tmp");
      file.reset(CreateFileW(name.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                             FILE_ATTRIBUTE_NORMAL, nullptr));
      error = file.valid() ? ERROR_SUCCESS : GetLastError();
    }
  }
  Temporary(const Temporary&) = delete;
  Temporary& operator=(const Temporary&) = delete;
  // Whatever happens, nothing stays behind; a file that was moved has another name by now.
  ~Temporary() {
    if (!file.valid() && !closed) return;
    file.reset();
    DeleteFileW(name.c_str());
  }

  void close() {
    file.reset();
    closed = true;
  }
  bool closed = false;
};

} // namespace

std::wstring whyNotWritable(const std::wstring& name) {
  const std::wstring full = fullPath(name);
  if (isNothing(name, full)) return {};
  if (std::wstring why = refusal(full); !why.empty()) return why;
  Temporary temporary(full);
  if (temporary.error != ERROR_SUCCESS) return errorText(temporary.error);
  return {};
}

std::wstring writeFileSafely(const std::wstring& name, std::string_view bytes) {
  const std::wstring full = fullPath(name);
  if (isNothing(name, full)) return {};
  if (std::wstring why = refusal(full); !why.empty()) return why;
  Temporary temporary(full);
  if (temporary.error != ERROR_SUCCESS) return errorText(temporary.error);
  DWORD error = writeAll(temporary.file.get(), bytes);
  if (error == ERROR_SUCCESS && FlushFileBuffers(temporary.file.get()) == FALSE) {
    error = GetLastError();
  }
  temporary.close();
  if (error == ERROR_SUCCESS &&
      MoveFileExW(temporary.name.c_str(), systemPath(full).c_str(),
                  MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) == FALSE) {
    error = GetLastError();
  }
  return error == ERROR_SUCCESS ? std::wstring() : errorText(error);
}

} // namespace vorda
