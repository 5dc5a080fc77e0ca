#include "base/text.h"
#include "fileops/measure.h"
#include "fileops/safety_rules.h"
#include "support/memory_folders.h"

#include <doctest/doctest.h>

using namespace vorda;

TEST_CASE("what must not be deleted, by spelling") {
  const std::vector<std::pair<std::wstring, std::string>> rows = {
      // too short, and whole drives
      {L"", "tooshort"},
      {L"a", "tooshort"},
      {L"ab", "tooshort"},
      {L"\\\\", "tooshort"},
      {L"C:", "driveroot"},
      {L"C:\\", "driveroot"},
      {L"c:/", "driveroot"},
      {L"C:\\\\", "driveroot"},
      {L"C://///", "driveroot"},
      // the way up, and wildcards, wherever they stand
      {L"C:\\a\\..\\b", "dotdot"},
      {L"C:\\..", "dotdot"},
      {L"...", "dotdot"},
      {L"C:\\a..b", "dotdot"},
      {L"C:\\Windows\\..\\x*", "dotdot"},
      {L"C:\\*.tmp", "wildcard"},
      {L"C:\\a\\b?", "wildcard"},
      {L"\\\\?\\C:\\data", "wildcard"},
      // no place of their own
      {L"relative\\path", "notabsolute"},
      {L"\\Windows", "notabsolute"},
      {L"/Windows", "notabsolute"},
      {L"C:data", "notabsolute"},
      {L"user@host:/home", "notabsolute"},
      // whole shares
      {L"\\\\srv", "wholeshare"},
      {L"\\\\srv\\share", "wholeshare"},
      {L"//srv/share/", "wholeshare"},
      {L"\\\\srv\\share\\\\\\", "wholeshare"},
      // protected places with all that is in them
      {L"C:\\Windows", "windows"},
      {L"C:\\windows\\", "windows"},
      {L"c:/WINDOWS/System32", "windows"},
      {L"D:\\Windows\\Temp\\x", "windows"},
      {L"\\\\srv\\c$\\Windows\\x", "windows"},
      {L"\\\\.\\C:\\Windows", "windows"},
      {L"C:\\Program Files", "programs"},
      {L"C:\\Program Files\\a\\b", "programs"},
      {L"C:\\PROGRAM FILES (X86)\\x", "programs"},
      {L"C:\\System Volume Information\\x", "restore"},
      {L"C:\\$Recycle.Bin", "recyclebin"},
      {L"\\\\srv\\share\\$RECYCLE.BIN\\x", "recyclebin"},
      {L"E:\\$recycle.bin\\S-1\\f", "recyclebin"},
      {L"C:\\Boot\\BCD", "boot"},
      {L"C:\\Recovery", "recovery"},
      // protected places, but not what is in them
      {L"C:\\ProgramData", "programdata"},
      {L"C:\\programdata\\", "programdata"},
      {L"C:\\Users", "allusers"},
      {L"C:\\pagefile.sys", "pagefile"},
      {L"D:\\HIBERFIL.SYS", "hiberfil"},
      {L"C:\\swapfile.sys", "pagefile"},
      {L"C:\\bootmgr", "bootmgr"},
      {L"C:\\Users\\anna", "profile"},
      {L"C:\\Users\\anna\\", "profile"},
      {L"c:/users/\u00C9va", "profile"},
      {L"\\\\srv\\share\\Users\\anna", "profile"},
      {L"C:\\UsersOld\\x", "profile"},
      // near misses
      {L"C:\\Windows.old", ""},
      {L"C:\\Windows2\\x", ""},
      {L"C:\\data\\Windows", ""},
      {L"C:\\Program Files 2", ""},
      {L"C:\\ProgramData\\x", ""},
      {L"C:\\ProgramData2", ""},
      {L"C:\\Users\\anna\\Downloads", ""},
      {L"C:\\Users\\anna\\AppData\\Local\\Temp", ""},
      {L"C:\\Users2", ""},
      {L"C:\\bootmgr.bak", ""},
      {L"C:\\pagefile.sys\\x", ""},
      {L"C:\\a", ""},
      {L"\\\\srv\\share\\a", ""},
      {L"C:\\data\\.hidden", ""}};
  CHECK(rows.size() >= 60);
  for (const auto& row : rows) {
    CAPTURE(toUtf8(row.first));
    CHECK(deleteRefusal(row.first) == row.second);
  }
}

TEST_CASE("inside the root, and not the root itself") {
  CHECK(isInsideRoot(L"D:\\photos", L"d:/PHOTOS/2020/"));
  CHECK(isInsideRoot(L"D:", L"D:\\a"));
  CHECK(isInsideRoot(L"D:\\photos\\", L"D:\\photos\\x"));
  CHECK(isInsideRoot(L"\\\\s\\d", L"\\\\S\\D\\x"));
  CHECK_FALSE(isInsideRoot(L"D:\\photos", L"D:\\photos"));
  CHECK_FALSE(isInsideRoot(L"D:\\photos", L"D:\\photos\\"));
  CHECK_FALSE(isInsideRoot(L"D:\\photos", L"D:\\photos2"));
  CHECK_FALSE(isInsideRoot(L"D:\\photos", L"E:\\photos\\x"));
  CHECK_FALSE(isInsideRoot(L"D:\\", L"D:\\"));
}

TEST_CASE("what lies at a path is measured without following links") {
  test::MemoryFolders folders;
  const std::wstring root = folders.addFolder(L"M:", L"r");
  folders.addFile(root, L"a", 3);
  folders.addFile(folders.addFolder(folders.addFolder(root, L"b"), L"c"), L"d", 40);
  folders.addFolder(root, L"locked");
  folders.addLink(root, L"link", true);
  folders.unreadable = {L"M:\\r\\locked"};
  const auto measured = [&folders](const wchar_t* path) {
    const PathMeasure measure = measurePath(folders, path);
    return std::vector<std::uint64_t>{measure.bytes, measure.files, measure.unreadableFolders};
  };
  CHECK(measured(L"M:\\r") == std::vector<std::uint64_t>{43, 2, 1});
  CHECK(measured(L"M:\\r\\a") == std::vector<std::uint64_t>{3, 1, 0});
  CHECK(measured(L"M:\\r\\link") == std::vector<std::uint64_t>{0, 0, 0});
  CHECK(measured(L"M:\\none") == std::vector<std::uint64_t>{0, 0, 0});
}
