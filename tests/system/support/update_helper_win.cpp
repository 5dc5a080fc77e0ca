// Runs the program's code in situations that a system test cannot create with vorda.exe itself:
// update_helper_win.exe VERB ARGUMENTS.
#include "app/modes_win.h"
#include "app/std_output_win.h"
#include "base/text.h"
#include "update/check_for_update_win.h"
#include "win/handles.h"
#include "win/process_facts.h"

#include <windows.h>

#include <aclapi.h>
#include <psapi.h>
#include <tlhelp32.h>

using namespace vorda;

namespace {

// The process that serves a port says so on its command line.
int crash(unsigned long port, unsigned long offset) {
  const KernelHandle all(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
  PROCESSENTRY32W entry{};
  entry.dwSize = sizeof entry;
  const std::wstring served = L"--port " + std::to_wstring(port);
  for (BOOL more = Process32FirstW(all.get(), &entry); more != FALSE;
       more = Process32NextW(all.get(), &entry)) {
    const std::wstring line = processCommandLine(entry.th32ProcessID);
    if (entry.th32ProcessID == GetCurrentProcessId() || line.find(served) == std::wstring::npos)
      continue;
    const KernelHandle process(OpenProcess(PROCESS_ALL_ACCESS, FALSE, entry.th32ProcessID));
    HMODULE base = nullptr;
    DWORD size = 0;
    if (EnumProcessModules(process.get(), &base, sizeof base, &size) == FALSE) return 1;
    auto* code = reinterpret_cast<unsigned char*>(offset == 0 ? nullptr : base);
    const auto begin = reinterpret_cast<LPTHREAD_START_ROUTINE>(code + (offset == 0 ? 16 : offset));
    const KernelHandle thread(CreateRemoteThread(process.get(), nullptr, 0, begin,
                                                 reinterpret_cast<void*>(8), 0, nullptr));
    WaitForSingleObject(process.get(), INFINITE);
    return thread.valid() ? 0 : 1;
  }
  return 2;
}

} // namespace

int wmain(int, wchar_t** values) {
  const std::wstring verb = values[1];
  // check-update HOST PORT MILLISECONDS: --check-update as version 1.9.0, against another server.
  if (verb == L"check-update") {
    const UpdateServer server = {values[2], static_cast<std::uint16_t>(std::stoi(values[3])),
                                 std::chrono::milliseconds(std::stoi(values[4]))};
    return runUpdateCheck({}, {"1.9.0", "https://get.example/",
                               [&server] { return checkForUpdate(server, L"1.9.0"); }});
  }
  // restart FOLDER: --restart-after-update as if run by the local system account.
  if (verb == L"restart") return restartClosedCopies(values[2], true);
  // tell-line: writes its own command line and the folder it was started in.
  if (verb == L"tell-line") {
    wchar_t folder[MAX_PATH] = {};
    GetCurrentDirectoryW(MAX_PATH, folder);
    return writeStdText(toUtf8(GetCommandLineW()) + "\n" + toUtf8(folder), StdStream::output) ? 0
                                                                                              : 1;
  }
  // pour MEGABYTES: writes that much, no two lines alike; ends with the code 42 if all was taken.
  if (verb == L"pour") {
    std::string text;
    for (int i = 0; i < std::stoi(values[2]) * 65'536; ++i) {
      std::string line = std::to_string(i);
      text += std::string(15 - line.size(), '.') + line + '\n';
    }
    return writeStdText(text, StdStream::output) ? 42 : 1;
  }
  // crash PORT OFFSET: starts a thread in the copy that serves the port, at this offset of its code.
  if (verb == L"crash") return crash(std::stoul(values[2]), std::stoul(values[3]));
  // hold-shut: keeps other processes from opening this one.
  if (verb == L"hold-shut") {
    ACL nobody{};
    InitializeAcl(&nobody, sizeof nobody, ACL_REVISION);
    SetSecurityInfo(GetCurrentProcess(), SE_KERNEL_OBJECT, DACL_SECURITY_INFORMATION, nullptr,
                    nullptr, &nobody, nullptr);
  }
  // hold-installer: makes it look as if a Windows Installer installation were running.
  if (verb == L"hold-installer") CreateMutexW(nullptr, FALSE, L"Global\\_MSIExecute");
  writeStdLine(L"ready", StdStream::output);
  Sleep(INFINITE);
  return 0;
}
