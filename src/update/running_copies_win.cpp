#include "update/running_copies_win.h"

#include "base/paths.h"
#include "base/text.h"
#include "win/command_line.h"
#include "win/full_path.h"
#include "win/handles.h"
#include "win/privilege.h"
#include "win/process_facts.h"

#include <windows.h>

#include <tlhelp32.h>

namespace vorda {

namespace {

constexpr DWORD kEndTimeoutMs = 10'000;

// Whether the file is this program in that folder, however the paths are written.
bool liesIn(const std::wstring& file, const std::wstring& resolvedFolder) {
  return equalsIgnoreCase(lastName(file), kProgramName) &&
         equalsIgnoreCase(resolvedPath(std::wstring(folderPart(file))), resolvedFolder);
}

} // namespace

RunningCopies::RunningCopies(const std::wstring& folder) {
  enablePrivilege(SE_DEBUG_NAME);
  const std::wstring resolved = resolvedPath(folder);
  const FileHandle snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
  PROCESSENTRY32W entry{};
  entry.dwSize = sizeof entry;
  for (BOOL more = Process32FirstW(snapshot.get(), &entry); more != FALSE;
       more = Process32NextW(snapshot.get(), &entry)) {
    const DWORD id = entry.th32ProcessID;
    if (id != GetCurrentProcessId() && equalsIgnoreCase(entry.szExeFile, kProgramName)) {
      add(id, resolved);
    }
  }
}

void RunningCopies::add(DWORD id, const std::wstring& folder) {
  constexpr DWORD kQuery = PROCESS_QUERY_LIMITED_INFORMATION;
  KernelHandle process(OpenProcess(PROCESS_TERMINATE | kQuery | SYNCHRONIZE, FALSE, id));
  const bool opened = process.valid();
  if (!opened) process.reset(OpenProcess(kQuery, FALSE, id));
  const std::wstring image = processImage(process.get());
  // It may have ended since the snapshot.
  if (opened && image.empty() && WaitForSingleObject(process.get(), 0) == WAIT_OBJECT_0) return;
  const bool elsewhere = !image.empty() && !liesIn(image, folder);
  if (opened && elsewhere) return;
  const std::wstring commandLine = processCommandLine(id);
  list_.push_back({id, opened, elsewhere, commandLine, kindOfCommandLine(commandLine),
                   processAccount(process.get())});
  handles_.emplace(id, std::move(process));
}

bool RunningCopies::end(std::uint32_t id) const {
  const HANDLE process = handles_.at(id).get();
  TerminateProcess(process, 0); // fails if it is already ending
  return WaitForSingleObject(process, kEndTimeoutMs) == WAIT_OBJECT_0;
}

CopyKind kindOfCommandLine(const std::wstring& commandLine) {
  return kindOfCopy(splitCommandLine(commandLine));
}

unsigned long startCopy(const std::wstring& folder, std::wstring_view arguments) {
  const std::wstring inside = fullPath(folder);
  const std::wstring program = joinPath(inside, kProgramName);
  std::wstring commandLine = L"\"" + program + L"\"";
  if (!arguments.empty() && arguments.front() != L' ') commandLine += L' ';
  commandLine += arguments;
  unsigned long error = 0;
  constexpr DWORD kDetached = DETACHED_PROCESS | CREATE_NO_WINDOW;
  // Not every job allows processes to break away from it.
  constexpr DWORD kTries[] = {kDetached | CREATE_BREAKAWAY_FROM_JOB, kDetached};
  for (const DWORD flags : kTries) {
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION started{};
    if (CreateProcessW(program.c_str(), commandLine.data(), nullptr, nullptr, FALSE, flags, nullptr,
                       inside.c_str(), &startup, &started) != FALSE) {
      CloseHandle(started.hThread);
      CloseHandle(started.hProcess);
      return 0;
    }
    error = GetLastError();
  }
  return error;
}

} // namespace vorda
