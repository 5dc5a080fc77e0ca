#include "base/paths.h"
#include "base/time.h"
#include "scan/file_details.h"
#include "win/full_path.h"
#include "win/handles.h"

#include <windows.h>

#include <winioctl.h>

#include <string_view>

namespace vorda {

namespace {

constexpr DWORD kGetExternalBacking = 0x9'0310; // answered for files that the system compressed
constexpr std::size_t kMostNames = 1024;        // of one file

std::uint64_t msOf(const LARGE_INTEGER& fileTime) {
  return unixMsFromFileTime(static_cast<std::uint64_t>(fileTime.QuadPart));
}

// Windows has it, Wine does not.
using FindFirstNameFunction = HANDLE(WINAPI*)(LPCWSTR, DWORD, LPDWORD, PWSTR);
using FindNextNameFunction = BOOL(WINAPI*)(HANDLE, LPDWORD, PWSTR);

template <typename Function> Function kernelFunction(const char* name) {
  const HMODULE kernel = GetModuleHandleW(L"kernel32.dll");
  return reinterpret_cast<Function>(
      reinterpret_cast<void*>(kernel == nullptr ? nullptr : GetProcAddress(kernel, name)));
}

std::vector<std::wstring> namesOf(const std::wstring& path) {
  std::vector<std::wstring> names;
  const auto first = kernelFunction<FindFirstNameFunction>("FindFirstFileNameW");
  const auto next = kernelFunction<FindNextNameFunction>("FindNextFileNameW");
  if (first == nullptr || next == nullptr) return names;
  std::wstring name(kLongestPath, L'\0');
  DWORD length = kLongestPath;
  const FindHandle found(first(systemPath(path).c_str(), 0, &length, name.data()));
  if (!found.valid()) return names;
  const std::wstring root = placeRoot(path);
  do {
    // Relative to the root of the volume, with a leading separator.
    const std::wstring_view relative(name.c_str());
    names.push_back(joinPath(root, relative.substr(relative.starts_with(L'\\') ? 1 : 0)));
    length = kLongestPath;
  } while (names.size() < kMostNames && next(found.get(), &length, name.data()) != FALSE);
  return names;
}

// "name" of ":name:$DATA"; empty for the unnamed stream.
std::wstring streamName(std::wstring_view name) {
  if (name.starts_with(L':')) name.remove_prefix(1);
  return std::wstring(name.substr(0, name.find(L':')));
}

std::optional<std::vector<FileStream>> streamsOf(const std::wstring& path) {
  WIN32_FIND_STREAM_DATA data{};
  const FindHandle found(
      FindFirstStreamW(systemPath(path).c_str(), FindStreamInfoStandard, &data, 0));
  if (!found.valid()) return std::nullopt;
  std::vector<FileStream> streams;
  do {
    std::wstring name = streamName(data.cStreamName);
    if (!name.empty()) {
      streams.push_back({std::move(name), static_cast<std::uint64_t>(data.StreamSize.QuadPart)});
    }
  } while (FindNextStreamW(found.get(), &data) != FALSE);
  return streams;
}

void askHandle(HANDLE file, FileDetails& details) {
  FILE_STANDARD_INFO standard{};
  if (GetFileInformationByHandleEx(file, FileStandardInfo, &standard, sizeof standard) != FALSE) {
    details.size = static_cast<std::uint64_t>(standard.EndOfFile.QuadPart);
    details.disk = static_cast<std::uint64_t>(standard.AllocationSize.QuadPart);
    details.links = standard.NumberOfLinks;
  }
  FILE_BASIC_INFO basic{};
  if (GetFileInformationByHandleEx(file, FileBasicInfo, &basic, sizeof basic) != FALSE) {
    details.modified = msOf(basic.LastWriteTime);
    details.created = msOf(basic.CreationTime);
    details.accessed = msOf(basic.LastAccessTime);
    details.attributes = basic.FileAttributes;
  }
  FILE_ATTRIBUTE_TAG_INFO tag{};
  if (GetFileInformationByHandleEx(file, FileAttributeTagInfo, &tag, sizeof tag) != FALSE &&
      (tag.FileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) {
    details.tag = tag.ReparseTag;
  }
  BYTE backing[256];
  DWORD size = 0;
  details.systemCompressed = isSystemCompressed(details.tag) ||
                             DeviceIoControl(file, kGetExternalBacking, nullptr, 0, backing,
                                             sizeof backing, &size, nullptr) != FALSE;
}

} // namespace

FileDetails fileDetails(const std::wstring& path) {
  FileDetails details;
  const FileHandle file(CreateFileW(
      systemPath(path).c_str(), FILE_READ_ATTRIBUTES,
      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
      FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT | FILE_FLAG_OPEN_NO_RECALL,
      nullptr));
  if (!file.valid()) return details;
  details.found = true;
  askHandle(file.get(), details);
  details.names = namesOf(path);
  details.streams = streamsOf(path);
  return details;
}

} // namespace vorda
