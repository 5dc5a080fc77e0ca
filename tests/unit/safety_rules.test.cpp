#include "base/text.h"
#include "rules/safety_rules.h"
#include "support/cases.h"

using namespace vorda;
using namespace vorda::test;

TEST_CASE("safety rules by the spelling of a path") {
  std::size_t rows = 0;
  eachRow("safety_rules.txt", [&rows](const std::string& line) {
    CAPTURE(line);
    const std::string word = line.substr(0, line.find(' '));
    CHECK(wordOf(deleteRefusal(withUnits(line.substr(word.size() + 1)))) ==
          (word == "-" ? "" : word));
    ++rows;
  });
  CHECK(rows >= 51);
}

TEST_CASE("isInsideRoot compares components and excludes the root") {
  CHECK(isInsideRoot(L"D:\\photos", L"d:/PHOTOS/2020/"));
  CHECK(isInsideRoot(L"D:", L"D:\\a"));
  CHECK_FALSE(isInsideRoot(L"D:", L"D:\\"));
  CHECK(isInsideRoot(L"D:\\photos\\", L"D:\\photos\\x"));
  CHECK(isInsideRoot(L"\\\\s\\d", L"\\\\S\\D\\x"));
  CHECK_FALSE(isInsideRoot(L"D:\\photos", L"D:\\photos"));
  CHECK_FALSE(isInsideRoot(L"D:\\photos", L"D:\\photos\\"));
  CHECK_FALSE(isInsideRoot(L"D:\\photos", L"D:\\photos2"));
  CHECK_FALSE(isInsideRoot(L"D:\\photos", L"E:\\photos\\x"));
  CHECK_FALSE(isInsideRoot(L"D:\\", L"D:\\"));
}
