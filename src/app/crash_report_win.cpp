#include "app/crash_report_win.h"

#include "app/crash_report.h"
#include "base/paths.h"
#include "base/time.h"
#include "win/handles.h"

#include <windows.h>

#include <dbghelp.h>

#include <algorithm>
#include <array>
#include <bit>
#include <exception>

namespace vorda {

namespace {

constexpr DWORD kUncaught = 0xE0564F52; // a C++ exception that nobody caught
constexpr DWORD kCppThrow = 0x20474343; // the compiler's own, on its way to a handler
constexpr DWORD kCppMask = 0x20FFFFFF;
constexpr DWORD kPatienceMs = 180'000;
constexpr ULONG kStackGuaranteeBytes = 32'768;
constexpr std::size_t kRoomForName = 64;
// Stacks without the texts on them: of these, only what leads from one function to its caller stays.
constexpr auto kContent = static_cast<MINIDUMP_TYPE>(MiniDumpFilterMemory | MiniDumpWithThreadInfo);

using WriteDump = decltype(&MiniDumpWriteDump);

struct Crash {
  EXCEPTION_POINTERS* pointers = nullptr;
  DWORD thread = 0;
};

// Globals, because Windows passes no context, and a crashed process must not take memory. Set once,
// before there are other threads.
std::array<wchar_t, 1'024> theFolder{}; // ends in a backslash
std::array<wchar_t, MAX_PATH> theLibrary{};
LONG theCrashes = 0;

DWORD WINAPI writeReport(void* argument) {
  const Crash& crash = *static_cast<Crash*>(argument);
  // Only now: an ordinary run needs nothing of it.
  const HMODULE library = LoadLibraryExW(theLibrary.data(), nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
  if (library == nullptr) return 1;
  const auto write = std::bit_cast<WriteDump>(GetProcAddress(library, "MiniDumpWriteDump"));
  if (write == nullptr) return 1;
  SYSTEMTIME now;
  GetSystemTime(&now);
  std::array<wchar_t, theFolder.size() + kRoomForName> name{};
  // Not the C library's: its locks may be held by the thread that crashed.
  wsprintfW(name.data(), L"%scrash-%04u%02u%02u-%02u%02u%02u-%lu.dmp", theFolder.data(), now.wYear,
            now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond, GetCurrentProcessId());
  const FileHandle file(CreateFileW(name.data(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                    CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file.valid()) return 1;
  MINIDUMP_EXCEPTION_INFORMATION about = {crash.thread, crash.pointers, FALSE};
  const BOOL written = write(GetCurrentProcess(), GetCurrentProcessId(), file.get(), kContent,
                             &about, nullptr, nullptr);
  return written != FALSE ? 0 : 1;
}

LONG WINAPI whenCrashed(EXCEPTION_POINTERS* pointers) {
  const DWORD code = pointers->ExceptionRecord->ExceptionCode;
  // The C++ runtime goes on to end the process by itself, with the exception named above.
  if ((code & kCppMask) == kCppThrow) return EXCEPTION_CONTINUE_EXECUTION;
  // Of several threads that crash at once, and of a crash in here, one report is enough.
  if (InterlockedIncrement(&theCrashes) != 1) return EXCEPTION_CONTINUE_SEARCH;
  Crash crash = {pointers, GetCurrentThreadId()};
  // On a thread of its own: the stack of this one may be used up.
  const KernelHandle thread(CreateThread(nullptr, 0, writeReport, &crash, 0, nullptr));
  if (thread.valid()) WaitForSingleObject(thread.get(), kPatienceMs);
  return EXCEPTION_CONTINUE_SEARCH;
}

[[noreturn]] void whenUncaught() {
  RaiseException(kUncaught, EXCEPTION_NONCONTINUABLE, 0, nullptr);
  ExitProcess(kUncaught);
}

std::vector<std::wstring> reportsIn(const std::wstring& folder) {
  std::vector<std::wstring> names;
  WIN32_FIND_DATAW found;
  const FindHandle search(FindFirstFileW((folder + L"crash-*.dmp").c_str(), &found));
  if (!search.valid()) return names;
  do {
    names.emplace_back(found.cFileName);
  } while (FindNextFileW(search.get(), &found) != FALSE);
  return crashReports(std::move(names));
}

} // namespace

void reportCrashes(const std::wstring& folder) {
  if (folder.size() >= theFolder.size()) return;
  std::copy(folder.begin(), folder.end(), theFolder.begin());
  constexpr std::wstring_view kLibrary = L"\\dbghelp.dll";
  const UINT length = GetSystemDirectoryW(theLibrary.data(), MAX_PATH);
  if (length == 0 || length + kLibrary.size() >= theLibrary.size()) return;
  std::copy(kLibrary.begin(), kLibrary.end(), theLibrary.begin() + length);
  CreateDirectoryW(parentOf(folder).c_str(), nullptr);
  CreateDirectoryW(folder.c_str(), nullptr);
  ULONG guarantee = kStackGuaranteeBytes;
  SetThreadStackGuarantee(&guarantee);
  SetUnhandledExceptionFilter(whenCrashed);
  std::set_terminate(whenUncaught);
  const std::vector<std::wstring> reports = reportsIn(folder);
  for (std::size_t i = kKeptReports; i < reports.size(); ++i) {
    DeleteFileW((folder + reports[i]).c_str());
  }
}

std::optional<CrashReport> newestCrashReport(const std::wstring& folder) {
  const std::vector<std::wstring> reports = reportsIn(folder);
  if (reports.empty()) return std::nullopt;
  CrashReport report = {folder + reports.front()};
  WIN32_FILE_ATTRIBUTE_DATA facts{};
  if (GetFileAttributesExW(report.path.c_str(), GetFileExInfoStandard, &facts) != FALSE) {
    ULARGE_INTEGER time;
    time.LowPart = facts.ftLastWriteTime.dwLowDateTime;
    time.HighPart = facts.ftLastWriteTime.dwHighDateTime;
    report.time = unixMsFromFileTime(time.QuadPart);
  }
  return report;
}

} // namespace vorda
