#include "scan/targets.h"

#include <doctest/doctest.h>

#include <vector>

using namespace vorda;

TEST_CASE("target classes, turbo refusals and failure texts") {
  const std::vector<std::pair<std::wstring, std::string>> rows = {
      {L"SSH://me@host/x", "ssh"},
      {L"user@host:/path", "ssh"},
      {L"D:\\a@b", "folder"},
      {L"a@b\\c", "folder"},
      {L"\\\\WSL$\\Debian", "wsl"},
      {L"\\\\wsl.localhost\\Debian\\home", "wsl"},
      {L"\\\\nas\\share", "unc"},
      {L"D:", "drive"},
      {L"D:\\", "drive"},
      {L"D:\\p", "folder"},
      {L"", "folder"}};
  for (const auto& [target, word] : rows) CHECK(wordOf(classifyTarget(target)) == word);
  CHECK(turboPathRefusal(L"C:").empty());
  CHECK(turboPathRefusal(L"C:\\").empty());
  CHECK(turboPathRefusal(L"C:\\U") == "notwholedrive");
  CHECK(turboPathRefusal(L"\\\\s\\d") == "notlocal");
  CHECK(failureText("sshFailed:255").starts_with("ssh stopped with an error"));
  CHECK(failureText("mftCorrupt") == "mftCorrupt");
}
