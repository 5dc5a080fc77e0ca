#include "app/safe_file_win.h"

#include "base/paths.h"
#include "win/error_text.h"
#include "win/full_path.h"
#include "win/handles.h"
#include "win/write_all.h"

#include <windows.h>

namespace vorda {

namespace {

constexpr unsigned kNameAttempts = 16;

} // namespace

std::wstring writeFileSafely(const std::wstring& name, std::string_view bytes) {
  const std::wstring full = fullPath(name);
  const std::wstring target = systemPath(full);
  const DWORD attributes = GetFileAttributesW(target.c_str());
  if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
    return L"that is a folder; give a file name";
  }
  const std::wstring stem = full + L".vorda-" + std::to_wstring(GetCurrentProcessId()) + L"-";
  const ULONGLONG ticks = GetTickCount64() % 100'000;
  std::wstring temporary;
  FileHandle file;
  DWORD error = ERROR_FILE_EXISTS;
  for (unsigned attempt = 0; attempt < kNameAttempts && error == ERROR_FILE_EXISTS; ++attempt) {
    temporary = systemPath(stem + std::to_wstring(ticks + attempt) + L".tmp");
    file.reset(CreateFileW(temporary.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                           FILE_ATTRIBUTE_NORMAL, nullptr));
    error = file.valid() ? ERROR_SUCCESS : GetLastError();
  }
  if (error != ERROR_SUCCESS) return errorText(error);
  error = writeAll(file.get(), bytes);
  if (error == ERROR_SUCCESS && FlushFileBuffers(file.get()) == FALSE) error = GetLastError();
  file.reset();
  if (error == ERROR_SUCCESS &&
      MoveFileExW(temporary.c_str(), target.c_str(),
                  MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) == FALSE) {
    error = GetLastError();
  }
  if (error == ERROR_SUCCESS) return {};
  DeleteFileW(temporary.c_str());
  return errorText(error);
}

} // namespace vorda
