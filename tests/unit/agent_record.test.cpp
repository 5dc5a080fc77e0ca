#include "update/agent_record.h"

#include <doctest/doctest.h>

using namespace vorda;

TEST_CASE("only whole arguments make a copy an agent or a service") {
  CHECK(kindOfCopy({L"--port", L"1", L"--agent"}) == CopyKind::agent);
  CHECK(kindOfCopy({L"--server"}) == CopyKind::agent);
  CHECK(kindOfCopy({L"--agent", L"--service"}) == CopyKind::service);
  CHECK(kindOfCopy({L"--Agent", L"x--agent", L"--agents", L"C:\\a --agent"}) == CopyKind::page);
}
