// What the system tests cannot bring about with vorda.exe from outside, done by the same
// code: vorda_test_helper.exe VERB ARGUMENTS.
#include "app/check_update_win.h"
#include "update/check_for_update_win.h"

#include <windows.h>

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

} // namespace

int wmain(int count, wchar_t** values) {
  const std::map<std::wstring, int (*)(const Arguments&)> verbs = {{L"check-update", checkUpdate}};
  return verbs.at(values[1])(Arguments(values + 2, values + count));
}
