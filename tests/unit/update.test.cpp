#include "update/update_answer.h"
#include "update/version_text.h"
#include "support/app.h"

#include <doctest/doctest.h>

using namespace vorda;

TEST_CASE("what counts as a version, and which one is newer") {
  for (const char* text : {"1.0", "2.0.1", "0.0", "1.2.3.4", "01.2", "999999999999999999999.99"}) {
    CAPTURE(text);
    CHECK(isVersionText(text));
  }
  for (const char* text : {"", "2", "22", "123", "2..1", "v2.0", "2.0.1.4.5", ".20", "2.0.", "2,0",
                           "2.0-b", " 2.0", "2.0 ", "2.\xC2\xB2", "9999999999999999999999.99"}) {
    CAPTURE(text);
    CHECK_FALSE(isVersionText(text));
  }
  CHECK_FALSE(isVersionText(std::string_view("2\0.1", 4)));

  struct Pair {
    const char* lower;
    const char* higher;
  };
  for (const auto& [lower, higher] : {Pair{"1.9.9", "1.10.0"},
                                      {"1.2", "1.2.0.1"},
                                      {"1.2.3", "1.3"},
                                      {"0.9", "1.0"},
                                      {"1.02", "1.3"},
                                      {"1.2147483648", "1.2147483649"},
                                      {"", "0.1"},
                                      {"1.0.0", "65536.0"}}) {
    CAPTURE(lower);
    CHECK(isNewer(higher, lower));
    CHECK_FALSE(isNewer(lower, higher));
  }
  for (const auto& [one, other] : {Pair{"1.2", "1.2.0"},
                                   {"1.2.0.0", "1.2"},
                                   {"1.02", "1.2"},
                                   {"1.4294967295", "1.99999999999999999999"},
                                   {"", "0.0"}}) {
    CHECK_FALSE(isNewer(one, other));
    CHECK_FALSE(isNewer(other, one));
  }
}

TEST_CASE("answers of the web site") {
  const std::string good = R"([{"meta":{"bx_version":"2.0.1"}}])";
  CHECK(readUpdateAnswer(200, good).latest == "2.0.1");
  CHECK(readUpdateAnswer(200, R"({"bx_version":"3.1","a":{"bx_version":"x"}})").latest == "3.1");
  CHECK(readUpdateAnswer(200, good).error.empty());
  const auto refused = [](unsigned status, std::string_view body) {
    const UpdateAnswer answer = readUpdateAnswer(status, body);
    return !answer.ok && answer.latest.empty() && answer.error == "updateAnswer";
  };
  for (const unsigned status : {0U, 100U, 201U, 204U, 301U, 404U, 500U}) {
    CHECK(refused(status, good));
  }
  for (const char* body :
       {"", "[]", R"({"bx_version": "2.0.1"})", R"({"bx_version":2.0})", R"({"bx_version":""})",
        R"({"bx_version":"2..1"})", R"({"bx_version":"v2.0"}{"bx_version":"2.0"})",
        R"({"BX_VERSION":"2.0"})"}) {
    CAPTURE(body);
    CHECK(refused(200, body));
  }
  const std::size_t closing = good.rfind("\"}");
  for (std::size_t length = 0; length < good.size(); ++length) {
    CHECK(refused(200, good.substr(0, length)) == (length <= closing));
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
  CHECK(told({true, "1.9", ""}) ==
        R"(200 {"ok":true,"current":"1.9.0","latest":"1.9","newer":false,"url":"https://x/get"})");
  CHECK(told({false, "", "updateAnswer"}) ==
        R"(502 {"ok":false,"current":"1.9.0","latest":"","newer":false,"url":"https://x/get",)"
        R"("error":"updateAnswer"})");
  CHECK(told(updateOffline()).ends_with(R"("error":"updateOffline"})"));
}
