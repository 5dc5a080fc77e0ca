#include "base/one_name.h"
#include "base/paths.h"

#include <doctest/doctest.h>

using namespace vorda;

TEST_CASE("long paths get the prefix; absolute paths are recognised") {
  const std::wstring longName(240, L'x');
  CHECK(systemPath(L"C:\\" + longName.substr(0, 236)) == L"C:\\" + longName.substr(0, 236));
  CHECK(systemPath(L"C:\\" + longName.substr(0, 237)) == L"\\\\?\\C:\\" + longName.substr(0, 237));
  CHECK(systemPath(L"\\\\srv\\d\\" + longName) == L"\\\\?\\UNC\\srv\\d\\" + longName);
  CHECK(systemPath(L"\\\\?\\C:\\" + longName) == L"\\\\?\\C:\\" + longName);
  CHECK(literalPath(L"C:\\a.") == L"\\\\?\\C:\\a.");
  for (const wchar_t* path : {L"C:\\a", L"\\\\s\\d\\x", L"\\\\?\\C:\\.", L"C:\\a..b\\.c"}) {
    CHECK(isPlainAbsolute(path));
  }
  for (const wchar_t* path :
       {L"a", L".", L"C:", L"C:a", L"C:/a", L"C:\\a\\..\\b", L"C:\\.\\a", L"\\a"}) {
    CHECK_FALSE(isPlainAbsolute(path));
  }
}

TEST_CASE("joining and splitting") {
  CHECK(joinPath(L"C:\\", L"a") == L"C:\\a");
  CHECK(joinPath(L"/srv\\", L"a", L'/') == L"/srv\\/a"); // a backslash is an ordinary character
  CHECK(parentOf(L"C:\\a\\b") == L"C:\\a");
  CHECK(parentOf(L"C:\\a") == L"C:\\");
  CHECK(parentOf(L"C:\\").empty());
  CHECK(parentOf(L"\\\\s\\d").empty());
  CHECK(parentOf(L"\\\\s\\d\\e") == L"\\\\s\\d");
  CHECK(lastName(L"C:\\a/b.c") == L"b.c");
  CHECK(lastName(L"b.c") == L"b.c");
  CHECK(folderPart(L"C:\\a/b.c") == L"C:\\a/");
  CHECK(normaliseRoot(L"C:") == L"C:\\");
  CHECK(normaliseRoot(L"C:\\a\\/") == L"C:\\a");
  // Without the separator, these are volumes and not folders.
  const std::wstring volume = L"\\\\?\\Volume{0a1b2c3d-0000-4000-8000-000000000000}";
  for (const std::wstring& root : {std::wstring(L"\\\\?\\C:"), volume}) {
    CHECK(normaliseRoot(root) == root + L"\\");
    CHECK(normaliseRoot(root + L"\\\\") == root + L"\\");
    CHECK(normaliseRoot(root + L"\\a\\") == root + L"\\a");
  }
  CHECK(withoutLiteralPrefix(L"\\\\?\\C:\\a/b") == L"\\\\?\\C:\\a/b");
  CHECK(normaliseRoot(L"\\\\?\\UNC\\s\\d\\") == L"\\\\?\\UNC\\s\\d");
}

TEST_CASE("a path lies below a folder by whole names only") {
  CHECK(liesBelow(L"c:\\DATA\\x\\y", L"C:\\data"));
  CHECK(liesBelow(L"C:\\data", L"C:\\"));
  CHECK_FALSE(liesBelow(L"C:\\data", L"C:\\data"));
  CHECK_FALSE(liesBelow(L"C:\\database", L"C:\\data"));
}

TEST_CASE("a name that another system has put into a folder stays one name") {
  CHECK_FALSE(leadsElsewhere(L"..a:b"));
  for (const std::wstring& name :
       {std::wstring(L"a\\.."), std::wstring(L"a/b"), std::wstring(L"a\0", 2)}) {
    CHECK(leadsElsewhere(name));
    CHECK_FALSE(leadsElsewhere(asOneName(name)));
  }
  CHECK(asOneName(std::wstring(L"\0a/.\\b ", 7)) == L"\xFFFD"
                                                    L"a\xFFFD.\xFFFD"
                                                    L"b ");
}
