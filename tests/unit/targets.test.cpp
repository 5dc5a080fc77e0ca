#include "scan/target_list.h"
#include "scan/targets.h"

#include <doctest/doctest.h>

#include <vector>

using namespace vorda;

TEST_CASE("the list of targets as the page gets it") {
  TargetList list;
  list.drives = {{L"C:\\", L"S\u00FC\"\\", L"NTFS", "fixed", 1ULL << 60, 7, true, ""},
                 {L"E:\\", L"", L"", "removable", 0, 0, false, "notfixed"}};
  list.wsl = {{L"Debian", L"\\\\wsl.localhost\\Debian"}};
  list.home = L"C:\\Users\\me";
  list.machine = L"BOX";
  list.elevated = true;
  list.version = L"1.2.3";
  list.website = L"https://x/";
  list.logPath = L"C:\\v.log";
  CHECK(targetsDocument(list) ==
        R"({"drives":[{"path":"C:\\","label":"Sü\"\\","fs":"NTFS","type":"fixed",)"
        R"("size":1152921504606846976,"free":7,"turbo":true,"turboReason":""},)"
        R"({"path":"E:\\","label":"","fs":"","type":"removable","size":0,"free":0,)"
        R"("turbo":false,"turboReason":"notfixed"}],)"
        R"("wsl":[{"name":"Debian","path":"\\\\wsl.localhost\\Debian"}],)"
        R"("home":"C:\\Users\\me","machine":"BOX","elevated":true,"version":"1.2.3",)"
        R"("vendor":"Brixmoor","website":"https://x/","logPath":"C:\\v.log"})");
  CHECK(targetsDocument({}).starts_with(R"({"drives":[],"wsl":[],"home":"",)"));
}

TEST_CASE("the class of a target follows from its spelling") {
  const std::pair<std::string, std::vector<std::wstring>> rows[] = {
      {"ssh", {L"SSH://me@host/x", L"user@host:/path"}},
      {"folder", {L"D:\\a@b", L"a@b\\c", L"D:\\p", L""}},
      {"wsl", {L"\\\\WSL$\\Debian", L"\\\\wsl.localhost\\Debian\\home"}},
      {"unc", {L"\\\\nas\\share"}},
      {"drive", {L"D:", L"D:\\"}}};
  for (const auto& [kind, targets] : rows) {
    for (const std::wstring& target : targets) CHECK(wordOf(classifyTarget(target)) == kind);
  }
  CHECK(turboPathRefusal(L"C:").empty());
  CHECK(turboPathRefusal(L"C:\\").empty());
  CHECK(turboPathRefusal(L"C:\\U") == "notwholedrive");
  CHECK(turboPathRefusal(L"\\\\s\\d") == "notlocal");
  CHECK(failureText("mftCorrupt") == "mftCorrupt");
}
