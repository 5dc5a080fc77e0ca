// Repeats work with each of its allocations failing.
#pragma once

#include "support/runs.h"
#include "failing_memory.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <functional>

namespace vorda::test {

inline constexpr const char* kNoMemoryAnswer = R"(500 {"error":"noMemory"})";
inline constexpr const char* kNoMemoryRun = R"(200 {"running":false,"error":"noMemory"})";

// Calls attempt(n, how) for n = 0, 1, … until nothing failed any more. That takes many minutes for
// all kinds of work, so steps are skipped unless VORDA_EVERY_ALLOCATION is set. Returns how many
// allocations the work makes.
inline std::uint64_t
forEveryAllocation(const char* what, const std::function<void(std::uint64_t, Failing)>& attempt) {
  constexpr std::uint64_t kTried = 60;
  const bool all =
      std::getenv("VORDA_EVERY_ALLOCATION") != nullptr; // NOLINT(concurrency-mt-unsafe)
  attempt(1'000'000'000, Failing::once);                // nothing fails
  CHECK_FALSE(FailingMemory::failed());
  const std::uint64_t count = FailingMemory::asked();
  const std::uint64_t step = all ? 1 : std::max<std::uint64_t>(count / kTried, 1);
  for (const Failing how : {Failing::once, Failing::on}) {
    std::uint64_t n = how == Failing::once ? 0 : step / 2;
    CAPTURE(what);
    CAPTURE(n);
    for (attempt(n, how); FailingMemory::failed(); attempt(n, how)) n += step;
    MESSAGE(std::string(what), ": every ", step, "th of ", n, " allocations");
  }
  return count;
}

// Detached threads free what they hold a moment after their work is known to be done.
inline bool comesBackTo(std::int64_t blocks) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (blocksInUse() > blocks && std::chrono::steady_clock::now() < end) {
    std::this_thread::yield();
  }
  return blocksInUse() <= blocks;
}

struct Question {
  std::string method;
  std::string target;
  std::string body;
};

// Asks with memory failing from the n-th allocation on; `wait` is called while it still does.
inline std::string askWithout(App& app, std::uint64_t n, Failing how, const Question& question,
                              const std::function<void()>& wait = {}) {
  HttpRequest request = requestOf(question.method, question.target, question.body);
  HttpResponse response;
  {
    const FailingMemory failing(n, how);
    std::optional<HttpResponse> refusal = admitRequest(app.state, request).refusal;
    response = refusal ? *refusal : answerRequest(app.state, request);
    if (wait) wait();
  }
  return std::to_string(response.status) + " " + std::string(response.payload());
}

} // namespace vorda::test
