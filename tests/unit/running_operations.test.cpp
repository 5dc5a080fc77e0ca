#include "fileops/running_operations.h"

#include <doctest/doctest.h>

#include <thread>

using namespace vorda;

TEST_CASE("whoever waits for the running operations goes on as soon as the last one ends") {
  RunningOperations operations;
  bool none = false;
  std::thread waiting;
  {
    const auto first = operations.begin();
    const auto second = operations.begin();
    waiting = std::thread([&] { none = operations.waitUntilNone(std::chrono::hours(1)); });
    CHECK_FALSE(operations.waitUntilNone(std::chrono::milliseconds(50)));
    CHECK(operations.any());
  }
  waiting.join();
  CHECK(none);
  CHECK_FALSE(operations.any());
}
