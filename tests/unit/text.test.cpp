#include "base/paths.h"
#include "base/text.h"
#include "base/time.h"
#include "base/wildcard.h"
#include "scan/file_filter.h"
#include "scan/targets.h"
#include "scan/type_totals.h"

#include <doctest/doctest.h>

using namespace vorda;

TEST_CASE("UTF-8 and UTF-16: every length, and what is not well-formed") {
  const std::wstring emoji = {wchar_t{0xD83D}, wchar_t{0xDE00}};
  CHECK(toUtf16("a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80") == L"a\u00E9\u20AC" + emoji);
  CHECK(toUtf8(L"a\u00E9\u20AC" + emoji) == "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80");
  const std::string replaced = "\xEF\xBF\xBD";
  CHECK(toUtf8(std::wstring(1, wchar_t{0xD83D}) + L"x") == replaced + "x");
  CHECK(toUtf8(std::wstring{wchar_t{0xDE00}, wchar_t{0xD83D}}) == replaced + replaced);
  // Overlong, a surrogate, beyond the last code point, cut short, a lone continuation.
  for (const char* bad : {"\xC0\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xE2\x82", "\x80"}) {
    const std::string text(bad);
    CHECK(toUtf16(text + "z") == std::wstring(text.size(), L'\xFFFD') + L"z");
  }
}

TEST_CASE("case is folded unit by unit, also outside ASCII") {
  CHECK(equalsIgnoreCase(L"\u00C9T\u00C9.TXT", L"\u00E9t\u00E9.txt"));
  CHECK_FALSE(equalsIgnoreCase(L"stra\u00DFe", L"STRASSE"));
  CHECK(lowerCase(L"\u0416A") == L"\u0436a");
  // Folded upwards: "_" stands behind the capital letters.
  CHECK(compareIgnoreCase(L"a_", L"aB") > 0);
  CHECK(compareIgnoreCase(L"ab", L"ABC") < 0);
  CHECK(endsWithIgnoreCase(L"r.CSV", L".csv"));
  CHECK_FALSE(startsWithIgnoreCase(L"ab", L"abc"));
}

TEST_CASE("name patterns") {
  const std::wstring emoji = {wchar_t{0xD83D}, wchar_t{0xDE00}};
  struct Row {
    std::wstring pattern, name;
    bool matches;
  };
  for (const Row& row : std::vector<Row>{{L"*", L"", true},
                                         {L"", L"", true},
                                         {L"", L"a", false},
                                         {L"*.jpg", L"Photo.JPG", true},
                                         {L"a*b*c", L"aXbXbXc", true},
                                         {L"a*b*c", L"aXbXbX", false},
                                         {L"a?c", L"abc", true},
                                         {L"a?c", L"ac", false},
                                         {L"x?y", L"x" + emoji + L"y", true},
                                         {L"?", emoji, true},
                                         {L"??", emoji, false},
                                         {L"*?", L"", false},
                                         {L"a**", L"a", true}}) {
    CAPTURE(toUtf8(row.pattern));
    CAPTURE(toUtf8(row.name));
    CHECK(matchesWildcard(row.pattern, row.name) == row.matches);
  }
  // Time does not explode with the number of stars.
  std::wstring stars;
  for (int i = 0; i < 50; ++i) stars += L"*a";
  CHECK_FALSE(matchesWildcard(stars + L"b", std::wstring(2000, L'a')));
}

TEST_CASE("file filters as people type them") {
  using Texts = std::vector<std::wstring>;
  CHECK(parseExtensions(L" .jpg,PNG;*.Psd  ai ") == Texts{L".jpg", L".png", L".psd", L".ai"});
  CHECK(parseExtensions(L" ,; ").empty());
  CHECK(parseNamePatterns(L" a b ;; *.x; ") == Texts{L"a b", L"*.x"});
  const Texts images = parseExtensions(L"jpg png");
  const Texts holiday = parseNamePatterns(L"HOLIDAY; 20??*");
  CHECK(passesFilter(L"My holiday.Jpg", images, holiday));
  CHECK(passesFilter(L"2019-a.png", images, holiday));
  CHECK_FALSE(passesFilter(L"holiday.gif", images, holiday));
  CHECK_FALSE(passesFilter(L"x2019.png", images, holiday));
  CHECK_FALSE(passesFilter(L"jpg", images, {}));
}

TEST_CASE("types of file names") {
  const std::vector<std::pair<std::wstring, std::wstring>> rows = {
      {L"archive.tar.gz", L".gz"},
      {L"README", L"(none)"},
      {L".gitignore", L"(none)"},
      {L"x.", L"(none)"},
      {L"photo.JPG", L".jpg"},
      {L"a.abcdefghijk", L".abcdefghijk"},
      {L"a.abcdefghijkl", L"(other)"},
      {L"a.\u00C9\u00C9", L".\u00E9\u00E9"},
      {L"", L"(none)"}};
  for (const auto& [name, key] : rows) CHECK(typeKeyOf(name) == key);
}

TEST_CASE("paths: long forms, joining, absolute spellings") {
  const std::wstring longName(240, L'x');
  CHECK(systemPath(L"C:\\" + longName.substr(0, 236)) == L"C:\\" + longName.substr(0, 236));
  CHECK(systemPath(L"C:\\" + longName.substr(0, 237)) == L"\\\\?\\C:\\" + longName.substr(0, 237));
  CHECK(systemPath(L"\\\\srv\\d\\" + longName) == L"\\\\?\\UNC\\srv\\d\\" + longName);
  CHECK(systemPath(L"\\\\?\\C:\\" + longName) == L"\\\\?\\C:\\" + longName);
  CHECK(literalPath(L"C:\\a.") == L"\\\\?\\C:\\a.");
  CHECK(joinPath(L"C:\\", L"a") == L"C:\\a");
  CHECK(joinPath(L"/srv\\", L"a", L'/') == L"/srv\\/a");
  for (const wchar_t* path : {L"C:\\a", L"\\\\s\\d\\x", L"\\\\?\\C:\\.", L"C:\\a..b\\.c"}) {
    CHECK(isPlainAbsolute(path));
  }
  for (const wchar_t* path :
       {L"a", L".", L"C:", L"C:a", L"C:/a", L"C:\\a\\..\\b", L"C:\\.\\a", L"\\a"}) {
    CHECK_FALSE(isPlainAbsolute(path));
  }
}

TEST_CASE("times") {
  CHECK(unixMsFromFileTime(0) == 0);
  CHECK(unixMsFromFileTime(116'444'736'000'000'000ULL - 1) == 0);
  CHECK(unixMsFromFileTime(116'444'736'000'000'000ULL + 15'000) == 1);
  CHECK(utcDate(0).empty());
  CHECK(utcDate(951'782'400'000ULL) == "2000-02-29");
  CHECK(utcDate(32'535'215'999'999ULL) == "3000-12-31");
  CHECK(utcDate(32'535'216'000'000ULL).empty());
  CHECK(utcDate(~0ULL).empty());
}

TEST_CASE("targets by their text") {
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
  for (const auto& [target, kind] : rows) CHECK(wordOf(classifyTarget(target)) == kind);
  CHECK(turboPathRefusal(L"C:").empty());
  CHECK(turboPathRefusal(L"C:\\").empty());
  CHECK(turboPathRefusal(L"C:\\U") == "notwholedrive");
  CHECK(turboPathRefusal(L"\\\\s\\d") == "notlocal");
  CHECK(failureText("sshFailed:255").starts_with("ssh stopped with an error"));
  CHECK(failureText("mftCorrupt") == "mftCorrupt");
}
