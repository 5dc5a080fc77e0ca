#include "support/app.h"

using namespace vorda;
using namespace vorda::test;

TEST_CASE("POST /api/update: a newer and an older version") {
  App app;
  const auto told = [&app](const UpdateAnswer& answer) {
    app.state.update.check = [answer] { return answer; };
    return app.post("/api/update");
  };
  CHECK(
      told({true, "1.10.0", ""}) ==
      R"(200 {"ok":true,"current":"1.9.0","latest":"1.10.0","newer":true,"url":"https://x/get"})");
  CHECK(holds(told({true, "1.9", ""}), R"("latest":"1.9","newer":false,)"));
  CHECK(
      told({false, "9.9.9", "offline"}) ==
      R"(502 {"ok":false,"current":"1.9.0","latest":"9.9.9","newer":false,"url":"https://x/get","error":"offline"})");
}
