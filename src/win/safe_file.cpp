#include "win/safe_file.h"

#include "base/paths.h"
#include "win/error_text.h"
#include "win/handles.h"
#include "win/full_path.h"

#include <windows.h>

#include <algorithm>

namespace vorda {

namespace {

constexpr unsigned kNameAttempts = 16;
constexpr std::size_t kPieceBytes = 1'048'576;

// 0, or the error code. The bytes are on the disk when it returns 0.
DWORD writeAll(const FileHandle& file, std::string_view bytes) {
  while (!bytes.empty()) {
    const auto piece = static_cast<DWORD>(std::min(bytes.size(), kPieceBytes));
    DWORD written = 0;
    if (WriteFile(file.get(), bytes.data(), piece, &written, nullptr) == FALSE) {
      return GetLastError();
    }
    if (written == 0) return ERROR_WRITE_FAULT;
    bytes.remove_prefix(written);
  }
  return FlushFileBuffers(file.get()) == FALSE ? GetLastError() : ERROR_SUCCESS;
}

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
  error = writeAll(file, bytes);
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
