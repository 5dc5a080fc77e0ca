// What the system tests cannot bring about with vorda.exe from outside, done by the same
// code: vorda_test_helper.exe VERB ARGUMENTS.
#include "app/check_update_win.h"
#include "app/installer_win.h"
#include "app/std_output_win.h"
#include "update/check_for_update_win.h"
#include "win/kernel_handle.h"

#include <windows.h>

#include <aclapi.h>

#include <map>

using namespace vorda;

namespace {

using Arguments = std::vector<std::wstring>;

// check-update HOST PORT MILLISECONDS: --check-update of version 1.9.0 at another server.
int checkUpdate(const Arguments& arguments) {
  const UpdateServer server = {arguments.at(0),
                               static_cast<std::uint16_t>(std::stoi(arguments.at(1))),
                               std::chrono::milliseconds(std::stoi(arguments.at(2)))};
  return runUpdateCheck({}, {"1.9.0", "https://get.example/",
                             [&server] { return checkForUpdate(server, L"1.9.0"); }});
}

// restart FOLDER: --restart-after-update as the local system account would do it.
int restart(const Arguments& arguments) { return runRestart(arguments.at(0), true); }

int holdUntilEnded() {
  writeStdLine(L"ready", StdStream::output);
  Sleep(INFINITE);
  return 0;
}

// hold-shut: lets no other process open this one.
int holdShut(const Arguments&) {
  ACL nobody{};
  InitializeAcl(&nobody, sizeof nobody, ACL_REVISION);
  SetSecurityInfo(GetCurrentProcess(), SE_KERNEL_OBJECT, DACL_SECURITY_INFORMATION, nullptr,
                  nullptr, &nobody, nullptr);
  return holdUntilEnded();
}

// hold-installer: looks as if the Windows Installer were at work.
int holdInstaller(const Arguments&) {
  const KernelHandle mutex(CreateMutexW(nullptr, FALSE, L"Global\\_MSIExecute"));
  return holdUntilEnded();
}

} // namespace

int wmain(int count, wchar_t** values) {
  const std::map<std::wstring, int (*)(const Arguments&)> verbs = {
      {L"check-update", checkUpdate},
      {L"restart", restart},
      {L"hold-shut", holdShut},
      {L"hold-installer", holdInstaller}};
  return verbs.at(values[1])(Arguments(values + 2, values + count));
}
