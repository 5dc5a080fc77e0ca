#include "app/askpass_win.h"

#include "app/exit_code.h"
#include "base/text.h"
#include "scan/ssh/ssh_start.h"
#include "win/write_all.h"

#include <windows.h>

namespace vorda {

namespace {

WideSecret passwordFromEnvironment() {
  const wchar_t* name = kPasswordVariable.data();
  const DWORD size = GetEnvironmentVariableW(name, nullptr, 0);
  std::wstring buffer(size, L'\0');
  const DWORD length = GetEnvironmentVariableW(name, buffer.data(), size);
  WideSecret password(std::wstring_view(buffer).substr(0, length));
  wipeText(buffer);
  return password;
}

} // namespace

bool startedAsAskpass() {
  return GetEnvironmentVariableW(kPasswordVariable.data(), nullptr, 0) != 0;
}

int askpassMain(std::wstring_view prompt) {
  if (!asksForPassword(prompt)) return kExitFailed;
  const WideSecret password = passwordFromEnvironment();
  std::string line;
  line.reserve(3 * password.view().size() + 1); // so that no reallocation leaves a copy
  appendUtf8(line, password.view());
  line.push_back('\n');
  const bool written = writeAll(GetStdHandle(STD_OUTPUT_HANDLE), line) == ERROR_SUCCESS;
  wipeText(line);
  return written ? kExitDone : kExitFailed;
}

} // namespace vorda
