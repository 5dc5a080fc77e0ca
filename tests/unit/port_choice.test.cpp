#include "app/port_choice.h"
#include "base/text.h"

#include <doctest/doctest.h>

#include <vector>

using namespace vorda;

namespace {

constexpr int kNone = -1;

// Starts, or takes port 7666 again, with only freePort available, from its attempt opensAt on.
// Returns the ports tried, each with "x" and the number of attempts if more than one, the
// milliseconds waited, and "ok" or the reason. If the ports are deserted, nobody uses the ones that
// are not available.
std::string start(const PortRequest& request, int freePort, int opensAt = 1, bool deserted = false,
                  bool again = false) {
  std::vector<std::pair<int, int>> tries;
  unsigned waited = 0;
  const PortTrial trial = {[&](std::uint16_t port, std::wstring& reason) {
                             if (tries.empty() || tries.back().first != port)
                               tries.push_back({port, 0});
                             ++tries.back().second;
                             reason = L"reason of " + std::to_wstring(port);
                             return port == freePort && tries.back().second == opensAt;
                           },
                           [&](unsigned milliseconds) { waited += milliseconds; },
                           [&](std::uint16_t) { return !deserted; }};
  std::wstring reason;
  const bool started =
      again ? takePortAgain(7666, trial, reason) : startOnSomePort(request, trial, reason);
  std::string text;
  for (const auto& [port, count] : tries) {
    text += std::to_string(port) + (count > 1 ? "x" + std::to_string(count) : "") + " ";
  }
  return text + "(" + std::to_string(waited) + ") " + (started ? "ok" : toUtf8(reason));
}

} // namespace

TEST_CASE("which ports are tried, how often and for how long") {
  // With --port: the setting does not matter, and an agent never uses another port.
  CHECK(start({8000, 9000, false}, 8000, 15) == "8000x15 (2800) ok");
  CHECK(start({8000, 9000, false}, kNone) ==
        "8000x15 8001 8002 8003 8004 8005 8006 8007 8008 8009 8010 8011 8012 (2800) "
        "reason of 8012");
  CHECK(start({8000, 9000, true}, 8001) == "8000x15 (2800) reason of 8000");
  // Without --port: the setting, else the default.
  CHECK(start({0, 9000, false}, 9000) == "9000 (0) ok");
  CHECK(start({0, 0, false}, 0) ==
        "7666 7667 7668 7669 7670 7671 7672 7673 7674 7675 7676 7677 0 (0) ok");
  CHECK(start({0, 9000, true}, 9000, 2) == "9000x2 (200) ok");
  CHECK(start({0, 0, true}, 7778) == "7777x15 (2800) port 7777 is in use: reason of 7777");
  // Invalid ports are never tried, not even truncated to 16 bits.
  CHECK(start({65534, 0, false}, kNone) == "65534x15 65535 (2800) reason of 65535");
  CHECK(start({0, 65535, false}, kNone) == "65535 0 (0) reason of 0");
  for (const int port : {65536 + 8000, -1, -2147483647 - 1, 2147483647}) {
    CHECK(start({port, 0, false}, 8000) ==
          "(0) there is no port " + std::to_string(port) + ": ports are 1 to 65535");
  }
}

TEST_CASE("a port that Windows refuses although nobody uses it is waited for") {
  // With --port, as an elevated copy has it: for twenty seconds. It may open between two rounds.
  CHECK(start({8000, 0, false}, 8000, 16, true) == "8000x16 (2800) ok");
  CHECK(start({8000, 0, false}, 8000, 102, true) == "8000x102 (20000) ok");
  CHECK(start({8000, 0, false}, 8001, 1, true) == "8000x102 8001 (20000) ok");
  CHECK(start({8000, 0, true}, kNone, 1, true) == "8000x102 (20000) reason of 8000");
  // Without, another port will do, as when another copy is running: that one is found at once.
  CHECK(start({0, 0, false}, 7666, 5, true) == "7666x5 (600) ok");
  CHECK(start({0, 0, false}, 7667, 1, true) == "7666x16 7667 (2800) ok");
  CHECK(start({0, 0, false}, 7667) == "7666 7667 (0) ok");
  CHECK(start({0, 0, true}, 7777, 102, true) == "7777x102 (20000) ok");
}

TEST_CASE("after a declined elevation the port is taken again, and no other one") {
  for (const bool deserted : {true, false}) {
    CHECK(start({}, 7666, 1, deserted, true) == "7666 (0) ok");
    CHECK(start({}, 7666, 101, deserted, true) == "7666x101 (20000) ok");
    CHECK(start({}, 7667, 1, deserted, true) == "7666x101 (20000) reason of 7666");
  }
}
