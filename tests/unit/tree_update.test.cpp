#include "support/fresh_scan.h"

#include <doctest/doctest.h>

using namespace vorda;
using test::App;
using test::checkLikeFreshScan;
using test::DiskNode;

namespace {

constexpr std::uint64_t kMiB = 1ULL << 20;

} // namespace

TEST_CASE("a file that came after the scan takes nothing from its figures") {
  for (const std::uint32_t cluster : {0U, 4096U}) {
    App app;
    app.disk->cluster = cluster;
    app.disk->add(L"C:\\r\\a\\old.bin", 70 * kMiB);
    const DiskNode& kept = app.disk->add(L"C:\\r\\a\\old.iso", 60 * kMiB);
    const auto job = app.scanJob("C:%5Cr");
    app.disk->add(L"C:\\r\\a\\new.iso", 65 * kMiB);
    app.disk->hardLink(L"C:\\r\\a\\again.iso", kept);
    app.told("POST", "/api/delete",
             "job=1&permanent=1&p=C:%5Cr%5Ca%5Cnew.iso&p=C:%5Cr%5Ca%5Cagain.iso");
    CHECK(job->freed == 125 * kMiB);
    checkLikeFreshScan(app, *job);
  }
}

TEST_CASE("a listed file that looks like a link leaves the list when it goes") {
  App app;
  app.disk->add(L"C:\\r\\a\\old.bin", 70 * kMiB);
  app.disk->add(L"C:\\r\\a\\small.bin", 5);
  const auto job = app.scanJob("C:%5Cr");
  // Turbo counts a deduplicated file, which is a reparse point to everybody else.
  app.disk->at(L"C:\\r\\a\\old.bin")->link = L"C:\\store";
  app.told("POST", "/api/delete", "job=1&permanent=1&p=C:%5Cr%5Ca%5Cold.bin");
  checkLikeFreshScan(app, *job);
}
