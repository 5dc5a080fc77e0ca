#include "app/agent_key.h"
#include "app/browser_address.h"
#include "app/port_choice.h"
#include "base/text.h"

#include <doctest/doctest.h>

#include <set>
#include <vector>

using namespace vorda;

namespace {

constexpr int kNone = -1;

// What was tried, as text: each port, "x" and how often when more than once, then the
// milliseconds waited in all, then "ok" or the reason. freePort opens at that try of it.
std::string start(const PortRequest& request, int freePort, int opensAt = 1) {
  std::vector<std::pair<int, int>> tries;
  unsigned waited = 0;
  const PortTrial trial = {[&](std::uint16_t port, std::wstring& reason) {
                             if (tries.empty() || tries.back().first != port)
                               tries.push_back({port, 0});
                             ++tries.back().second;
                             reason = L"reason of " + std::to_wstring(port);
                             return port == freePort && tries.back().second == opensAt;
                           },
                           [&](unsigned milliseconds) { waited += milliseconds; }};
  std::wstring reason;
  const bool started = startOnSomePort(request, trial, reason);
  std::string text;
  for (const auto& [port, count] : tries) {
    text += std::to_string(port) + (count > 1 ? "x" + std::to_string(count) : "") + " ";
  }
  return text + "(" + std::to_string(waited) + ") " + (started ? "ok" : toUtf8(reason));
}

std::string failure(const PortRequest& request) {
  std::wstring reason;
  const PortTrial trial = {[](std::uint16_t, std::wstring& why) {
                             why = L"why";
                             return false;
                           },
                           [](unsigned) {}};
  startOnSomePort(request, trial, reason);
  return toUtf8(startFailureText(request, reason));
}

} // namespace

TEST_CASE("which ports are tried, how often and for how long") {
  // Asked for: the machine's setting does not matter, and an agent never moves.
  CHECK(start({8000, 9000, false}, 8000) == "8000 (0) ok");
  CHECK(start({8000, 9000, false}, 8000, 15) == "8000x15 (2800) ok");
  CHECK(start({8000, 9000, false}, 8003) == "8000x15 8001 8002 8003 (2800) ok");
  CHECK(start({8000, 9000, false}, kNone) ==
        "8000x15 8001 8002 8003 8004 8005 8006 8007 8008 8009 8010 8011 8012 (2800) "
        "reason of 8012");
  CHECK(start({8000, 9000, true}, 8001) == "8000x15 (2800) reason of 8000");
  // Not asked for: the setting, else the default.
  CHECK(start({0, 9000, false}, 9000) == "9000 (0) ok");
  CHECK(start({0, 0, false}, 0) ==
        "7666 7667 7668 7669 7670 7671 7672 7673 7674 7675 7676 7677 0 (0) ok");
  CHECK(start({0, 9000, true}, 9000, 2) == "9000x2 (200) ok");
  CHECK(start({0, 0, true}, 7778) == "7777x15 (2800) port 7777 is in use: reason of 7777");
  // No port that does not exist, and none that was not asked for.
  CHECK(start({65534, 0, false}, kNone) == "65534x15 65535 (2800) reason of 65535");
  CHECK(start({0, 65535, false}, kNone) == "65535 0 (0) reason of 0");
  for (const int port : {65536 + 8000, -1, -2147483647 - 1, 2147483647}) {
    CHECK(start({port, 0, false}, 8000) ==
          "(0) there is no port " + std::to_string(port) + ": ports are 1 to 65535");
  }
}

TEST_CASE("what people read when no port could be opened") {
  CHECK(failure({8000, 0, false}) == "Vorda could not start.\n\nPort 8000 is in use.\n\nwhy");
  CHECK(failure({8000, 0, true}) ==
        "Vorda could not start.\n\nPort 8000 is in use.\n\nAn agent does not move to another port: "
        "the firewall rule and the machine that scans both point at this one. Free the port, or "
        "set a different agent port.\n\nwhy");
  CHECK(failure({0, 0, false}) == "Vorda could not start.\n\nwhy");
  CHECK(failure({0, 80, true}) == "Vorda could not start.\n\nport 80 is in use: why");
  CHECK(failure({70000, 0, true}) ==
        "Vorda could not start.\n\nthere is no port 70000: ports are 1 to 65535");
}

TEST_CASE("the browser's address") {
  CHECK(browserAddress(7666, L"", L"") == L"http://127.0.0.1:7666/");
  CHECK(browserAddress(1, L"", L"D:\\data") == L"http://127.0.0.1:1/?scan=D%3A%5Cdata");
  CHECK(browserAddress(1, L"a key&\u00E9", L"aZ09-._~ +%\u00E9\xD83D\xDE00\xD83D") ==
        L"http://127.0.0.1:1/?token=a key&\u00E9"
        L"?scan=aZ09-._~%20%2B%25%C3%A9%F0%9F%98%80%EF%BF%BD");
}

TEST_CASE("every symbol of a key is as likely as any other") {
  std::set<wchar_t> symbols;
  std::array<std::uint8_t, kAgentKeyLength> random{};
  for (unsigned byte = 0; byte < 256; ++byte) {
    random.back() = static_cast<std::uint8_t>(byte);
    const std::wstring key = agentKeyFrom(random);
    REQUIRE(key.size() == 20);
    CHECK(key.substr(0, 19) == std::wstring(19, L'A'));
    symbols.insert(key.back());
    random.back() = static_cast<std::uint8_t>(byte % 32); // the upper bits do not matter
    CHECK(agentKeyFrom(random) == key);
  }
  CHECK(std::wstring(symbols.begin(), symbols.end()) == L"23456789ABCDEFGHJKLMNPQRSTUVWXYZ");
}
