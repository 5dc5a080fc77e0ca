#include "support/fresh_scan.h"
#include "support/turbo_reading.h"

#include <random>

using namespace vorda;
using namespace vorda::test;

namespace {

// The master file table of a drive in memory: each file and folder is the record of its number.
void addRecords(TestVolume& volume, const DiskNode& folder, std::uint64_t parent) {
  for (const auto& node : folder.children) {
    const auto number = static_cast<std::uint32_t>(node->id);
    const auto known = volume.records.find(number);
    if (node->folder) {
      volume.addFolder(number).name(node->name, parent);
      addRecords(volume, *node, reference(number, 1));
    } else if (known != volume.records.end()) {
      known->second.name(node->name, parent);
    } else {
      volume.add(number).file(node->name, parent, node->size);
    }
  }
}

// Scans with turbo. Nothing takes bytes on disk.
struct TurboApp : App {
  TurboApp() {
    disk->cluster = 512;
    for (int i = 0; i < 24; ++i) disk->add(L"X:\\" + std::to_wstring(i)); // takes these numbers
    disk->volume(L"C:");
    state.steps.turboAllowed = [](const std::wstring&) { return TurboVerdict{true, {}}; };
    state.steps.turbo = [this](ScanProgress& progress, const ScanOptions& options,
                               ScanResult& result) {
      TestVolume volume;
      volume.tableRecords = 512;
      volume.extents = {{1024, 64}};
      addRecords(volume, *disk->at(L"C:\\"), kRoot);
      return turboScan(opens(volume.image()), progress, options, result);
    };
  }

  DiskNode& file(const std::wstring& path, std::uint64_t size) {
    DiskNode& node = disk->add(path, size);
    node.disk = 0;
    return node;
  }
};

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
    app.post("/api/delete", "job=1&permanent=1&p=C:%5Cr%5Ca%5Cnew.iso&p=C:%5Cr%5Ca%5Cagain.iso");
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
  app.post("/api/delete", "job=1&permanent=1&p=C:%5Cr%5Ca%5Cold.bin");
  checkLikeFreshScan(app, *job);
}

TEST_CASE("of two files whose names differ only in case, the one that went leaves the list") {
  for (const bool first : {true, false}) {
    App app;
    DiskNode* stays = &app.disk->add(L"C:\\r\\Film.iso", 60 * kMiB);
    DiskNode* goes = &app.disk->add(L"C:\\r\\other", 70 * kMiB);
    goes->name = L"film.ISO";
    const auto job = app.scanJob("C:%5Cr");
    if (first) std::swap(stays, goes);
    // The system finds the one that is spelled alike.
    const std::wstring name = std::exchange(stays->name, L"aside");
    app.post("/api/delete", "job=1&permanent=1&p=C:%5Cr%5C" + toUtf8(goes->name));
    stays->name = name;
    checkLikeFreshScan(app, *job);
  }
}

TEST_CASE("after turbo, a name in the bin is still one of its file's") {
  TurboApp app;
  const DiskNode& first = app.file(L"C:\\a\\one.iso", 60 * kMiB);
  app.disk->hardLink(L"C:\\b\\two.iso", first);
  app.file(L"C:\\b\\x.iso", 70 * kMiB);
  app.file(L"C:\\$Recycle.Bin\\S-1\\$Rold.iso", 5);
  const auto job = app.scanJob("C:%5C");
  for (const char* path : {"b%5Ctwo.iso", "a%5Cone.iso"}) {
    app.post("/api/delete", std::string("job=1&p=C:%5C") + path);
    const auto fresh = app.scanJob("C:%5C");
    CHECK(firstDifference(outsideBin(*job), outsideBin(*fresh)) == "");
  }
}

TEST_CASE("any sequence of deletions leaves a correct tree, of a walk and of turbo") {
  std::mt19937 random(20);
  for (int round = 0; round < 60; ++round) {
    const bool turbo = round % 3 != 0;
    const bool binned = round % 3 == 2; // files only, and all of them go
    TurboApp app;
    app.state.steps.turboAllowed = [turbo](const std::wstring&) {
      return TurboVerdict{turbo, turbo ? std::string_view() : kNotLocal};
    };
    std::vector<std::wstring> paths;
    std::vector<DiskNode*> files;
    for (int i = 0; i < 110; ++i) {
      std::wstring path = L"C:\\r";
      for (auto depth = random() % 4; depth-- > 0;) {
        path += L"\\d" + std::to_wstring(random() % 4);
        if (!binned) paths.push_back(path);
      }
      path += L"\\f" + std::to_wstring(i) + (binned || i % 3 == 0 ? L".iso" : L".txt");
      const std::uint64_t size = random() % 4 == 0 ? (random() % 3 + 50) * kMiB : random() % 1000;
      const bool again = i > 30 && i % 3 == 0; // the others have one name only
      DiskNode& file = again   ? app.disk->hardLink(path, *files[random() % 30])
                       : turbo ? app.file(path, size)
                               : app.disk->add(path, size);
      file.locked = !binned && random() % 40 == 0;
      if (!turbo && !again && random() % 4 == 0) { // a part of it is in the cloud
        file.disk = size / 1024 * 512;
        file.attributes = kAttributeRecallOnDataAccess;
      }
      files.push_back(&file);
      paths.push_back(path);
    }
    // Last, so that the names in it come after all others, as the update takes them to be.
    if (binned) app.file(L"C:\\$Recycle.Bin\\S-1\\$Rold.iso", 5);
    const auto job = app.scanJob(turbo ? "C:%5C" : "C:%5Cr");
    std::uint64_t freed = 0;
    for (int step = 0; step < 6; ++step) {
      std::string fields = binned ? "job=1" : "job=1&permanent=1";
      for (auto n = random() % 6 + 1; n-- > 0;) {
        fields += "&p=" + toUtf8(paths[random() % paths.size()]);
      }
      freed += numberIn(app.post("/api/delete", fields), "bytes");
      if (!binned) {
        CHECK(job->freed == freed);
        checkLikeFreshScan(app, *job);
        continue;
      }
      const auto fresh = app.scanJob("C:%5C");
      CHECK(firstDifference(outsideBin(*job), outsideBin(*fresh)) == "");
    }
  }
}
