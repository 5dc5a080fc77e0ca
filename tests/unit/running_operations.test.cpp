#include "fileops/running_operations.h"

#include <doctest/doctest.h>

#include <atomic>
#include <future>
#include <memory>
#include <thread>

using namespace vorda;
using namespace std::chrono_literals;

TEST_CASE("whoever waits for the running operations goes on as soon as the last one ends") {
  RunningOperations operations;
  bool none = false;
  std::thread waiting;
  {
    const auto first = operations.begin();
    const auto second = operations.begin();
    waiting = std::thread([&] { none = operations.close(1h); });
    CHECK_FALSE(operations.close(50ms));
    CHECK(operations.any());
  }
  waiting.join();
  CHECK(none);
  CHECK_FALSE(operations.any());
}

TEST_CASE("while the process is about to end, running file operations go on and none begins") {
  RunningOperations operations;
  std::promise<void> release;
  std::promise<void> begun;
  std::thread first([&] {
    const RunningOperations::Operation running = operations.begin();
    begun.set_value();
    release.get_future().wait();
  });
  begun.get_future().wait();
  CHECK_FALSE(operations.pause(0ms));
  const auto second = std::async(std::launch::async, [&operations] {
    const RunningOperations::Operation running = operations.begin();
  });
  CHECK(second.wait_for(50ms) == std::future_status::timeout);
  release.set_value();
  CHECK(operations.pause(1min));
  CHECK(second.wait_for(50ms) == std::future_status::timeout);
  CHECK_FALSE(operations.any());
  operations.resume(); // it does not end after all
  CHECK(second.wait_for(1min) == std::future_status::ready);
  first.join();
  CHECK(operations.close(0ms));
}

TEST_CASE("what is closed for good stays closed, whoever paused it before or meanwhile") {
  for (const bool before : {false, true}) {
    // Never destroyed: what waits in it does so until the process ends.
    RunningOperations& operations = *std::make_unique<RunningOperations>().release();
    if (before) CHECK(operations.pause(0ms));
    CHECK(operations.close(0ms));
    if (!before) CHECK(operations.pause(0ms));
    operations.resume();
    std::atomic<bool>& begun = *std::make_unique<std::atomic<bool>>().release();
    std::thread([&] {
      const RunningOperations::Operation running = operations.begin();
      begun = true;
    }).detach();
    std::this_thread::sleep_for(50ms);
    CHECK_FALSE(begun);
  }
}

TEST_CASE("whoever waits for the operations gives the last one time to be answered") {
  RunningOperations operations;
  std::chrono::steady_clock::time_point end;
  {
    const RunningOperations::Operation running = operations.begin();
    end = std::chrono::steady_clock::now();
  }
  CHECK(operations.close(0ms));
  CHECK(std::chrono::steady_clock::now() >= end + kAnswerSent);
}
