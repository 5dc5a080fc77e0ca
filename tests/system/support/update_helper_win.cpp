// Runs the program's code in situations that a system test cannot create with vorda.exe itself:
// update_helper_win.exe VERB ARGUMENTS.
#include "app/modes_win.h"
#include "app/std_output_win.h"
#include "update/check_for_update_win.h"

#include <windows.h>

#include <aclapi.h>

using namespace vorda;

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
