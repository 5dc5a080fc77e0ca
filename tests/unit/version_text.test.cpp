#include "support/cases.h"
#include "update/version_text.h"

using namespace vorda;

TEST_CASE("valid and invalid versions, and which one is newer") {
  for (const auto& row : test::cases("versions.txt", 3)) {
    if (row[0].ends_with("valid")) {
      CHECK(isVersionText(row[1]) == (row[0] == "valid"));
    } else {
      CHECK(isNewer(row[1], row[2]) == (row[0] == "newer"));
      CHECK_FALSE(isNewer(row[2], row[1]));
    }
  }
  CHECK_FALSE(isVersionText(""));
  CHECK_FALSE(isVersionText(std::string_view("2\0.1", 4)));
}
