#include "app/askpass_win.h"

#include "base/text.h"
#include "scan/ssh/ssh_start.h"

#include <windows.h>

namespace vorda {

namespace {

constexpr int kAnswered = 0;
constexpr int kDeclined = 1;

WideSecret passwordFromEnvironment() {
  const wchar_t* name = kPasswordVariable.data();
  const DWORD size = GetEnvironmentVariableW(name, nullptr, 0);
  std::wstring buffer(size, L'\0');
  const DWORD length = GetEnvironmentVariableW(name, buffer.data(), size);
  WideSecret password(std::wstring_view(buffer).substr(0, length));
  wipeText(buffer);
  return password;
}

bool writeAll(std::string_view bytes) {
  const HANDLE output = GetStdHandle(STD_OUTPUT_HANDLE);
  while (!bytes.empty()) {
    DWORD written = 0;
    if (WriteFile(output, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) ==
            FALSE ||
        written == 0) {
      return false;
    }
    bytes.remove_prefix(written);
  }
  return true;
}

} // namespace

bool startedAsAskpass() {
  return GetEnvironmentVariableW(kPasswordVariable.data(), nullptr, 0) != 0;
}

int askpassMain(std::wstring_view prompt) {
  if (!asksForPassword(prompt)) return kDeclined;
  const WideSecret password = passwordFromEnvironment();
  std::string line;
  line.reserve(3 * password.view().size() + 1); // never outgrown, so that nothing stays behind
  appendUtf8(line, password.view());
  line.push_back('\n');
  const bool written = writeAll(line);
  wipeText(line);
  return written ? kAnswered : kDeclined;
}

} // namespace vorda
