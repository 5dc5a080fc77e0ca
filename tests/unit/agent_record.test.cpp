#include "update/agent_record.h"

#include <doctest/doctest.h>

using namespace vorda;

TEST_CASE("only whole arguments make a copy an agent or a service") {
  CHECK(kindOfCopy({L"--port", L"1", L"--agent"}) == CopyKind::agent);
  CHECK(kindOfCopy({L"--server"}) == CopyKind::agent);
  CHECK(kindOfCopy({L"--agent", L"--service"}) == CopyKind::service);
  CHECK(kindOfCopy({L"--Agent", L"x--agent", L"--agents", L"C:\\a --agent"}) == CopyKind::page);
}

TEST_CASE("a command line is shown without its key") {
  const std::pair<const wchar_t*, const wchar_t*> rows[] = {
      {L"\"C:\\a b\\vorda.exe\" --agent --token secret --port 1",
       L"\"C:\\a b\\vorda.exe\" --agent --token *** --port 1"},
      {L"vorda.exe  --token\t\"two words\"", L"vorda.exe  --token\t***"},
      {L"vorda.exe \"--token\" a\\\"b\"c d\" e", L"vorda.exe \"--token\" *** e"},
      {L"vorda.exe --token --token x --token y", L"vorda.exe --token *** x --token ***"},
      {L"vorda.exe --token \"open at the end", L"vorda.exe --token ***"},
      {L"vorda.exe --tokens a --token", L"vorda.exe --tokens a --token"},
      {L"\"--token\" secret", L"\"--token\" secret"}, // the program itself
      {L"vorda.exe", L"vorda.exe"},
      {L"", L""}};
  for (const auto& [line, shown] : rows) CHECK(withoutKey(line) == shown);
}
