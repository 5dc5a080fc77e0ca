#include "fileops/journal_files_win.h"

#include <doctest/doctest.h>

#include <atomic>
#include <cstddef>
#include <thread>

using namespace vorda;

TEST_CASE("the journal of an operation that ends is never taken for one that was left behind") {
  constexpr std::string_view kText = "the journal of a test";
  std::atomic<bool> ended{false};
  std::size_t found = 0;
  std::thread other([&] {
    while (!ended) {
      for (const FoundJournal& one : abandonedJournalFiles()) found += one.bytes == kText ? 1U : 0U;
    }
  });
  for (int i = 0; i < 1000; ++i) {
    const std::unique_ptr<JournalFile> journal = writeJournalFile(kText);
    if (journal) journal->remove();
    CHECK(journal != nullptr);
  }
  ended = true;
  other.join();
  CHECK(found == 0);
  for (const FoundJournal& one : abandonedJournalFiles()) one.file->remove();
}
