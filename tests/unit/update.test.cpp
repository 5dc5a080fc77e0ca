#include "support/app.h"
#include "support/cases.h"
#include "update/version_text.h"

#include <doctest/doctest.h>

using namespace vorda;

TEST_CASE("what counts as a version, and which one is newer") {
  for (const auto& row : test::cases("versions.txt", 3)) {
    CAPTURE(row[1]);
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

TEST_CASE("answers of the web site") {
  const auto told = [](unsigned status, std::string_view body) {
    const UpdateAnswer answer = readUpdateAnswer(status, body);
    return (answer.ok ? "ok " : "") + answer.latest + answer.error;
  };
  for (const auto& row : test::cases("update_answers.txt", 2)) {
    CHECK(told(200, row[1]) == (row[0] == "-" ? "updateAnswer" : "ok " + row[0]));
  }
  const std::string good = R"([{"meta":{"bx_version":"2.0.1"}}])";
  for (const unsigned status : {0U, 100U, 201U, 204U, 301U, 404U, 500U}) {
    CHECK(told(status, good) == "updateAnswer");
  }
  for (std::size_t length = 0; length < good.size(); ++length) {
    const bool whole = length > good.rfind("\"}");
    CHECK(told(200, good.substr(0, length)) == (whole ? "ok 2.0.1" : "updateAnswer"));
  }
}

TEST_CASE("an update check as the page gets it") {
  test::App app;
  const auto told = [&app](const UpdateAnswer& answer) {
    app.state.update.check = [answer] { return answer; };
    return app.told("POST", "/api/update");
  };
  CHECK(
      told({true, "1.10.0", ""}) ==
      R"(200 {"ok":true,"current":"1.9.0","latest":"1.10.0","newer":true,"url":"https://x/get"})");
  CHECK(told({true, "1.9", ""}).find(R"("latest":"1.9","newer":false,)") != std::string::npos);
  CHECK(told({false, "", "updateAnswer"}) ==
        R"(502 {"ok":false,"current":"1.9.0","latest":"","newer":false,"url":"https://x/get",)"
        R"("error":"updateAnswer"})");
}
