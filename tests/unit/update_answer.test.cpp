#include "support/cases.h"
#include "update/update_answer.h"

using namespace vorda;

TEST_CASE("answers with and without a version, truncated, and of another status") {
  const auto read = [](unsigned status, std::string_view body) {
    const UpdateAnswer answer = readUpdateAnswer(status, body);
    return (answer.ok ? "ok " : "") + answer.latest + answer.error;
  };
  for (const auto& row : test::cases("update_answers.txt", 2)) {
    CHECK(read(200, row[1]) == (row[0] == "-" ? "updateAnswer" : "ok " + row[0]));
  }
  const std::string good = R"([{"meta":{"bx_version":"2.0.1"}}])";
  for (const unsigned status : {0U, 204U, 301U, 404U}) CHECK(read(status, good) == "updateAnswer");
  for (std::size_t length = 0; length < good.size(); ++length) {
    const bool complete = length > good.rfind("\"}");
    CHECK(read(200, good.substr(0, length)) == (complete ? "ok 2.0.1" : "updateAnswer"));
  }
}
