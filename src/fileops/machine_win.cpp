#include "fileops/machine.h"

#include "base/paths.h"
#include "base/text.h"
#include "fileops/deletion_log_win.h"
#include "fileops/journal_files_win.h"
#include "win/com_apartment.h"
#include "win/file_identity.h"
#include "win/final_path.h"
#include "win/full_path.h"
#include "win/handles.h"
#include "win/process_facts.h"
#include "win/write_all.h"

#include <windows.h>

#include <shellapi.h>
#include <shlobj.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <exception>
#include <memory>
#include <mutex>
#include <thread>

namespace vorda {

namespace {

constexpr DWORD kSilent = FOF_SILENT | FOF_NOCONFIRMATION | FOF_NOCONFIRMMKDIR | FOF_NOERRORUI;
constexpr int kLogAttempts = 20;
constexpr DWORD kLogRetryMs = 10;
// Up to here every system tells the final path of an open file.
constexpr std::size_t kLongestFinalName = 200;

// Runs work on a thread of its own with COM: the shell may need more stack than the thread of a
// connection has.
template <typename Work> void onShellThread(Work work) {
  std::exception_ptr failure;
  std::thread thread([&work, &failure] {
    try {
      const ComApartment com;
      work();
    } catch (...) {
      failure = std::current_exception();
    }
  });
  thread.join();
  if (failure) std::rethrow_exception(failure);
}

FileHandle openAttributes(const std::wstring& path, DWORD flags) {
  return FileHandle(CreateFileW(systemPath(path).c_str(), FILE_READ_ATTRIBUTES, kShareAll, nullptr,
                                OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS | flags, nullptr));
}

// "\\?\X:\…" and "\\?\UNC\…" without the prefix; nothing for other forms, such as volume GUID
// paths.
std::optional<std::wstring> withoutPrefix(const std::wstring& literal) {
  constexpr std::wstring_view share = L"\\\\?\\UNC\\";
  constexpr std::wstring_view drive = L"\\\\?\\";
  if (literal.starts_with(share)) return L"\\\\" + literal.substr(share.size());
  if (!literal.starts_with(drive)) return std::nullopt;
  std::wstring rest = literal.substr(drive.size());
  if (!isDriveLetterPath(rest)) return std::nullopt;
  return rest;
}

using CoTaskText = std::unique_ptr<wchar_t, decltype(&CoTaskMemFree)>;

std::optional<std::wstring> folderOf(REFKNOWNFOLDERID id) {
  PWSTR found = nullptr;
  const HRESULT status = SHGetKnownFolderPath(id, KF_FLAG_DONT_VERIFY, nullptr, &found);
  const CoTaskText freed(found, CoTaskMemFree);
  std::optional<std::wstring> path;
  if (SUCCEEDED(status)) path = found;
  return path;
}

// Adds the folders in which a volume is mounted, without its drive letter.
void addMountFolders(const wchar_t* volume, std::vector<std::wstring>& roots) {
  DWORD length = 0;
  GetVolumePathNamesForVolumeNameW(volume, nullptr, 0, &length);
  std::vector<wchar_t> names(length + 1, L'\0');
  if (GetVolumePathNamesForVolumeNameW(volume, names.data(), length, &length) == FALSE) return;
  for (const wchar_t* name = names.data(); *name != 0; name += std::wstring_view(name).size() + 1) {
    const std::wstring root = name;
    if (root.size() > 3) roots.push_back(root);
  }
}

// The path of an open file relative to its volume, of whatever length.
std::optional<std::wstring> nameOnVolume(HANDLE handle) {
  constexpr std::size_t kMostBytes = sizeof(FILE_NAME_INFO) + 2 * 32'768;
  std::vector<char> buffer(kMostBytes);
  if (GetFileInformationByHandleEx(handle, FileNameInfo, buffer.data(),
                                   static_cast<DWORD>(buffer.size())) == FALSE) {
    return std::nullopt;
  }
  FILE_NAME_INFO info;
  std::memcpy(&info, buffer.data(), sizeof info);
  std::wstring name(info.FileNameLength / sizeof(wchar_t), L'\0');
  std::memcpy(name.data(), buffer.data() + offsetof(FILE_NAME_INFO, FileName),
              name.size() * sizeof(wchar_t));
  return name;
}

std::optional<FinalPlace> shortPlaceOf(HANDLE handle, const std::wstring& path) {
  const auto onVolume = finalPath(handle, VOLUME_NAME_NONE);
  const auto named = finalPath(handle, VOLUME_NAME_DOS);
  auto place = named ? withoutPrefix(*named) : std::nullopt;
  // Some virtual drives have no DOS name that the system could return.
  if (!place && onVolume && isDriveLetterPath(path)) place = path.substr(0, 2) + *onVolume;
  if (!place) return std::nullopt;
  return FinalPlace{*place, onVolume ? *onVolume : place->substr(2)};
}

// Some systems cannot tell the final path of an entry with a long one. It begins as that of the
// nearest folder above with a short one does, and that it leads to the entry is verified.
std::optional<FinalPlace> longPlaceOf(HANDLE handle, const std::wstring& path,
                                      const std::wstring& name) {
  for (std::wstring at = parentOf(path); !at.empty(); at = parentOf(at)) {
    const FileHandle folder = openAttributes(at, 0);
    const auto above = folder.valid() ? nameOnVolume(folder.get()) : std::nullopt;
    if (!above) return std::nullopt;
    if (above->size() > kLongestFinalName) continue;
    const auto place = shortPlaceOf(folder.get(), at);
    const std::wstring_view end = *above == L"\\" ? std::wstring_view() : *above;
    if (!place || !endsWithIgnoreCase(place->path, end)) return std::nullopt;
    std::wstring found = place->path.substr(0, place->path.size() - end.size());
    if (found.ends_with(L'\\')) found.pop_back();
    found += name;
    const auto identity = fileIdentity(handle);
    const FileHandle there = openAttributes(found, FILE_FLAG_OPEN_REPARSE_POINT);
    if (!identity || !there.valid() || fileIdentity(there.get()) != identity) return std::nullopt;
    return FinalPlace{found, name};
  }
  return std::nullopt;
}

std::optional<FinalPlace> placeOf(HANDLE handle, const std::wstring& path) {
  const auto name = nameOnVolume(handle);
  return name && name->size() > kLongestFinalName ? longPlaceOf(handle, path, *name)
                                                  : shortPlaceOf(handle, path);
}

// Whether the handle is open on what is expected at this path, and not on what a link led to.
bool isAsExpected(HANDLE handle, const std::wstring& path, const EntryFacts& expected) {
  FILE_BASIC_INFO basic{};
  if (GetFileInformationByHandleEx(handle, FileBasicInfo, &basic, sizeof basic) == FALSE) {
    return false;
  }
  const bool folder = (basic.FileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  const bool link = (basic.FileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
  if (folder != expected.folder || link != expected.link) return false;
  if (expected.identity && fileIdentity(handle) != expected.identity) return false;
  const auto place = placeOf(handle, path);
  return place && equalsIgnoreCase(place->path, path);
}

// The newer way also deletes what is read-only, and the name is free at once. File systems and
// versions of Windows without it know the older one.
int deleteOpened(HANDLE entry) {
  constexpr auto kDispositionEx = static_cast<FILE_INFO_BY_HANDLE_CLASS>(21);
  DWORD flags = 0x1 | 0x2 | 0x10; // delete, POSIX semantics, also if read-only
  if (SetFileInformationByHandle(entry, kDispositionEx, &flags, sizeof flags) != FALSE) return 0;
  const DWORD failure = GetLastError();
  if (failure == ERROR_DIR_NOT_EMPTY || failure == ERROR_SHARING_VIOLATION) {
    return static_cast<int>(failure);
  }
  FILE_BASIC_INFO basic{}; // times of 0 are left as they are
  FILE_BASIC_INFO before{};
  GetFileInformationByHandleEx(entry, FileBasicInfo, &before, sizeof before);
  const bool readOnly = (before.FileAttributes & FILE_ATTRIBUTE_READONLY) != 0;
  if (readOnly) {
    basic.FileAttributes = before.FileAttributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY);
    if (basic.FileAttributes == 0) basic.FileAttributes = FILE_ATTRIBUTE_NORMAL;
    SetFileInformationByHandle(entry, FileBasicInfo, &basic, sizeof basic);
  }
  FILE_DISPOSITION_INFO disposition = {TRUE};
  if (SetFileInformationByHandle(entry, FileDispositionInfo, &disposition, sizeof disposition) !=
      FALSE) {
    return 0;
  }
  const DWORD code = GetLastError();
  basic.FileAttributes = before.FileAttributes;
  if (readOnly) SetFileInformationByHandle(entry, FileBasicInfo, &basic, sizeof basic);
  return static_cast<int>(code);
}

class SystemMachine final : public Machine {
public:
  std::wstring fullPath(const std::wstring& path) override { return vorda::fullPath(path); }

  std::optional<std::wstring> longPath(const std::wstring& path) override {
    const std::wstring given = systemPath(path);
    std::wstring name(GetLongPathNameW(given.c_str(), nullptr, 0) + 1, L'\0');
    const DWORD length =
        GetLongPathNameW(given.c_str(), name.data(), static_cast<DWORD>(name.size()));
    if (length == 0 || length >= name.size()) return std::nullopt;
    name.resize(length);
    return given == path ? name : withoutPrefix(name);
  }

  std::optional<FinalPlace> finalPlace(const std::wstring& path) override {
    const FileHandle handle = openAttributes(path, 0);
    return handle.valid() ? placeOf(handle.get(), path) : std::nullopt;
  }

  std::optional<FileIdentity> identity(const std::wstring& path) override {
    const FileHandle handle = openAttributes(path, FILE_FLAG_OPEN_REPARSE_POINT);
    return handle.valid() ? fileIdentity(handle.get()) : std::nullopt;
  }

  std::shared_ptr<void> hold(const std::wstring& folder) override {
    // Without FILE_SHARE_DELETE nobody else can rename or delete it. One of these rights is enough
    // for that; some folders may be passed through but not listed.
    for (const DWORD right : {DWORD{FILE_LIST_DIRECTORY}, DWORD{FILE_TRAVERSE}}) {
      FileHandle handle(CreateFileW(
          systemPath(folder).c_str(), right, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
          OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
      if (handle.valid()) return std::make_shared<FileHandle>(std::move(handle));
    }
    return nullptr;
  }

  std::shared_ptr<void> holdExactly(const std::wstring& folder) override {
    FileHandle handle(
        CreateFileW(literalPath(folder).c_str(), FILE_LIST_DIRECTORY | FILE_READ_ATTRIBUTES,
                    FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                    FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
    if (!handle.valid() || !isAsExpected(handle.get(), folder, {true, false, {}})) return nullptr;
    return std::make_shared<FileHandle>(std::move(handle));
  }

  std::vector<KnownFolder> knownFolders() override {
    struct Known {
      const KNOWNFOLDERID* id;
      Refusal refusal;
      bool recursive;
    };
    const std::array<Known, 6> all = {{{&FOLDERID_Windows, Refusal::windows, true},
                                       {&FOLDERID_ProgramFilesX64, Refusal::programs, true},
                                       {&FOLDERID_ProgramFilesX86, Refusal::programs, true},
                                       {&FOLDERID_ProgramData, Refusal::programData, false},
                                       {&FOLDERID_UserProfiles, Refusal::allUsers, false},
                                       {&FOLDERID_Profile, Refusal::profile, false}}};
    std::vector<KnownFolder> folders;
    for (const Known& one : all) {
      if (auto path = folderOf(*one.id)) folders.push_back({*path, one.refusal, one.recursive});
    }
    return folders;
  }

  std::vector<std::wstring> volumeRoots() override {
    std::vector<std::wstring> roots;
    wchar_t text[MAX_PATH] = {};
    const UINT length = GetSystemWindowsDirectoryW(text, MAX_PATH);
    if (length >= 3 && length < MAX_PATH) roots.emplace_back(text, 3);
    const HANDLE search = FindFirstVolumeW(text, MAX_PATH);
    if (search == INVALID_HANDLE_VALUE) return roots;
    const std::unique_ptr<void, decltype(&FindVolumeClose)> closed(search, FindVolumeClose);
    do addMountFolders(text, roots);
    while (FindNextVolumeW(search, text, MAX_PATH) != FALSE);
    return roots;
  }

  bool hasBin(const std::wstring& root) override {
    const UINT type = GetDriveTypeW(root.c_str());
    const bool kept = type == DRIVE_FIXED || type == DRIVE_RAMDISK;
    return kept && isDriveLetterPath(root) && binFigures(root).has_value();
  }

  std::optional<BinFigures> binFigures(const std::wstring& root) override {
    std::optional<BinFigures> figures;
    onShellThread([&root, &figures] {
      SHQUERYRBINFO info{};
      info.cbSize = sizeof info;
      if (FAILED(SHQueryRecycleBinW(root.empty() ? nullptr : root.c_str(), &info))) return;
      figures = BinFigures{static_cast<std::uint64_t>(info.i64Size),
                           static_cast<std::uint64_t>(info.i64NumItems)};
    });
    return figures;
  }

  std::int32_t emptyBins() override {
    HRESULT result = E_FAIL;
    onShellThread([&result] {
      result = SHEmptyRecycleBinW(nullptr, nullptr,
                                  SHERB_NOCONFIRMATION | SHERB_NOPROGRESSUI | SHERB_NOSOUND);
    });
    return result;
  }

  std::wstring userSid() override { return processAccount(GetCurrentProcess()); }

  ShellOutcome shellDelete(const std::vector<std::wstring>& paths, bool intoBin) override {
    std::wstring list;
    for (const std::wstring& path : paths) list.append(path).push_back(L'\0');
    list.push_back(L'\0');
    ShellOutcome outcome;
    onShellThread([&list, &outcome, intoBin] {
      SHFILEOPSTRUCTW operation{};
      operation.wFunc = FO_DELETE;
      operation.pFrom = list.c_str();
      operation.fFlags = static_cast<FILEOP_FLAGS>(intoBin ? kSilent | FOF_ALLOWUNDO : kSilent);
      outcome.code = SHFileOperationW(&operation);
      outcome.aborted = operation.fAnyOperationsAborted != FALSE;
    });
    return outcome;
  }

  int removeEntry(const std::wstring& path, const EntryFacts& expected) override {
    constexpr DWORD kFlags = FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT;
    const std::wstring name = literalPath(path);
    const auto open = [&name](DWORD access) {
      return FileHandle(
          CreateFileW(name.c_str(), access, kShareAll, nullptr, OPEN_EXISTING, kFlags, nullptr));
    };
    FileHandle entry = open(DELETE | FILE_READ_ATTRIBUTES | FILE_WRITE_ATTRIBUTES);
    if (!entry.valid()) entry = open(DELETE | FILE_READ_ATTRIBUTES);
    if (!entry.valid()) return static_cast<int>(GetLastError());
    if (!isAsExpected(entry.get(), path, expected)) return kNotAsExpected;
    return deleteOpened(entry.get());
  }

  std::unique_ptr<JournalFile> writeJournal(std::string_view bytes) override {
    return writeJournalFile(bytes);
  }

  std::vector<FoundJournal> abandonedJournals() override { return abandonedJournalFiles(); }

  bool appendToLog(std::string_view bytes) override {
    // Retry for a moment while another process has the log open, but not again after a
    // failure until the log has been free once.
    const std::lock_guard lock(logMutex_);
    const std::wstring path = deletionLogPath();
    CreateDirectoryW(parentOf(path).c_str(), nullptr);
    const int tries = logStuck_ ? 1 : kLogAttempts;
    logStuck_ = true;
    for (int i = 0; i < tries; ++i) {
      if (i > 0) Sleep(kLogRetryMs);
      const FileHandle file(CreateFileW(path.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ, nullptr,
                                        OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
      if (!file.valid() && GetLastError() == ERROR_SHARING_VIOLATION) continue;
      if (!file.valid()) return false;
      logStuck_ = false;
      return writeAll(file.get(), bytes) == ERROR_SUCCESS;
    }
    return false;
  }

  std::optional<LogEnd> endOfLog(std::size_t mostBytes) override {
    const FileHandle file(CreateFileW(deletionLogPath().c_str(), GENERIC_READ,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                                      FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file.valid()) {
      const DWORD code = GetLastError();
      const bool none = code == ERROR_FILE_NOT_FOUND || code == ERROR_PATH_NOT_FOUND;
      return none ? std::optional(LogEnd{}) : std::nullopt;
    }
    LARGE_INTEGER size{};
    if (GetFileSizeEx(file.get(), &size) == FALSE) return std::nullopt;
    const auto all = static_cast<std::uint64_t>(size.QuadPart);
    const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(all, mostBytes));
    LARGE_INTEGER from{};
    from.QuadPart = static_cast<LONGLONG>(all - wanted);
    LogEnd end = {std::string(wanted, '\0'), wanted == all};
    DWORD count = 0;
    if (SetFilePointerEx(file.get(), from, nullptr, FILE_BEGIN) == FALSE ||
        ReadFile(file.get(), end.bytes.data(), static_cast<DWORD>(wanted), &count, nullptr) ==
            FALSE) {
      return std::nullopt;
    }
    end.bytes.resize(count);
    return end;
  }

  int deletionProblem(const std::wstring& path, bool folder) override {
    constexpr DWORD kFlags = FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT;
    for (const DWORD access : {DWORD{DELETE}, DWORD{FILE_WRITE_DATA}}) {
      // To a folder, the right to write is about what is in it.
      if (folder && access != DELETE) break;
      const FileHandle entry(CreateFileW(literalPath(path).c_str(), access, kShareAll, nullptr,
                                         OPEN_EXISTING, kFlags, nullptr));
      if (entry.valid()) continue;
      const auto code = static_cast<int>(GetLastError());
      // Read-only files cannot be opened for writing, but deleted.
      if (access == DELETE || code == ERROR_SHARING_VIOLATION) return code;
    }
    return 0;
  }

  LocalTime now() override { return localNow(); }

private:
  std::mutex logMutex_;
  bool logStuck_ = false;
};

} // namespace

std::unique_ptr<Machine> systemMachine() { return std::make_unique<SystemMachine>(); }

} // namespace vorda
