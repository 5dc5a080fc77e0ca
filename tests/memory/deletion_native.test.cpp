// Deletions, cleanups, connections and the command line while every allocation fails in turn.
#include "app/exit_code.h"
#include "app/scan_run.h"
#include "fileops/journal.h"
#include "every_allocation.h"
#include "support/fake_stream.h"

#include <sstream>

using namespace vorda;
using namespace vorda::test;

namespace {

std::uint64_t bytesBelow(const DiskNode* node) {
  if (node == nullptr) return 0;
  std::uint64_t bytes = node->size;
  for (const auto& child : node->children) bytes += bytesBelow(child.get());
  return bytes;
}

// The bytes that the lines of the log add up to.
std::uint64_t bytesLogged(const std::string& log) {
  std::uint64_t bytes = 0;
  std::istringstream lines(log);
  for (std::string line; std::getline(lines, line);) {
    if (line.find("MISLUKT") != std::string::npos) continue;
    const std::size_t mode = line.find("  ") + 2;
    bytes += std::stoull(line.substr(line.find("  ", mode) + 2));
  }
  return bytes;
}

struct World {
  App app;
  std::uint64_t before = 0;

  World() {
    MemoryDisk& disk = *app.disk;
    disk.add(L"C:\\r\\goes with a long name\\deep\\x.one", 1);
    disk.add(L"C:\\r\\goes with a long name\\y.two", 20);
    disk.add(L"C:\\r\\partly with a long name\\free.three", 300);
    disk.add(L"C:\\r\\partly with a long name\\held.four", 4'000).locked = true;
    disk.add(L"C:\\r\\linked with a long name\\inside\\z.five", 50'000);
    disk.link(L"C:\\r\\linked with a long name\\link", L"C:\\target");
    disk.add(L"C:\\target\\safe.six", 600'000);
    disk.add(L"C:\\r\\a file with a long name.seven", 7'000'000);
    disk.add(L"C:\\r\\AppData\\Local\\Temp\\old\\big.eight", 8'000'000'000);
    disk.add(L"C:\\r\\AppData\\Local\\Temp\\held.nine", 1).locked = true;
    disk.add(L"C:\\$Recycle.Bin\\S-1\\");
    app.scanned("C:%5Cr");
    app.scanned("C:%5Cr%5Cgoes%20with%20a%20long%20name");
    before = bytesBelow(disk.at(L"C:\\r"));
  }

  // A scan is up to date or has failed; it never shows what is not there.
  void checkScan(int id) {
    const auto job = app.state.jobs.find(id);
    const std::string result = app.get("/api/result?id=" + std::to_string(id));
    if (!job->progress.texts().error.empty()) {
      CHECK(result == R"(400 {"error":"noMemory"})");
      CHECK(job->result.folders.empty());
      return;
    }
    const std::uint64_t there = bytesBelow(app.disk->at(job->target));
    CHECK(job->result.byteCount == there);
    CHECK(job->result.folders.at(0).totalBytes == there);
    CHECK(result.find("\"used\":" + std::to_string(there) + ",") != std::string::npos);
    std::uint64_t ofTypes = 0;
    for (const auto& [type, total] : job->result.types) ofTypes += total.bytes;
    CHECK(ofTypes == there);
    for (const FileEntry& file : job->result.files) {
      CHECK(app.disk->at(filePath(job->result, file)) != nullptr);
    }
  }

  void check() {
    finishInterrupted(*app.disk, *app.disk);
    CHECK(app.disk->journals.empty());
    CHECK(bytesLogged(app.disk->log) == before - bytesBelow(app.disk->at(L"C:\\r")));
    CHECK(bytesBelow(app.disk->at(L"C:\\target")) == 600'000);
    CHECK_FALSE(app.state.operations.any());
    CHECK_FALSE(app.disk->isHeld(L"C:\\r"));
    checkScan(1);
    checkScan(2);
  }
};

void checkOperation(const char* what, const Question& question, std::uint64_t left) {
  const std::uint64_t count = forEveryAllocation(what, [&](std::uint64_t n, Failing how) {
    World world;
    const std::string answer = askWithout(world.app, n, how, question);
    CHECK((answer == kNoMemoryAnswer || answer.starts_with("200 {")));
    world.check();
    const std::string named = world.app.state.jobs.find(1)->progress.texts().error;
    Question again = question;
    if (!named.empty()) {
      const std::string id = std::to_string(world.app.scanned("C:%5Cr"));
      again.body.replace(again.body.find("job=1"), 5, "job=" + id);
    }
    CHECK(world.app.told(again.method, again.target, again.body).starts_with("200 {"));
    world.check();
    CHECK(bytesBelow(world.app.disk->at(L"C:\\r")) == left);
  });
  CHECK(count > 500);
}

} // namespace

TEST_CASE("a deletion without memory: everything that is gone is in the log, and in no scan") {
  const std::string paths = "&p=C:%5Cr%5Cgoes%20with%20a%20long%20name"
                            "&p=C:%5Cr%5Cpartly%20with%20a%20long%20name"
                            "&p=C:%5Cr%5Clinked%20with%20a%20long%20name"
                            "&p=C:%5Cr%5Ca%20file%20with%20a%20long%20name.seven";
  checkOperation("permanent", {"POST", "/api/delete", "job=1&permanent=1" + paths}, 8'000'004'001);
  checkOperation("into the bin", {"POST", "/api/delete", "job=1" + paths}, 8'000'004'001);
}

TEST_CASE("emptying folders without memory: the log has all that is gone") {
  checkOperation("cleanup", {"POST", "/api/cleanup", "what=tempfiles&job=1"}, 7'054'322);
}

TEST_CASE("a connection without memory is answered or closed, and its place is free again") {
  App app;
  const RequestGate gate = makeGate(app.state);
  app.get("/api/jobs"); // makes what is made once
  const std::string body = "what=tempfiles&job=1&filler=" + std::string(300, 'x');
  const std::vector<std::string> pieces = {
      "POST /api/cleanup?a=long&parameter=of-the-address HTTP/1.1\r\nHost: 127.0.0.1:7666\r\n",
      "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body.substr(0, 100),
      body.substr(100)};
  ConnectionTable connections;
  forEveryAllocation("connection", [&](std::uint64_t n, Failing how) {
    FakeClient client{.pieces = pieces};
    client.sent.reserve(65'536);
    const std::int64_t before = blocksInUse();
    try {
      const FailingMemory failing(n, how);
      serve(client, gate, connections.enter(kLoopbackAddress));
    } catch (const std::bad_alloc&) { // as the server does: the connection is closed
    }
    const bool right = client.sent.ends_with("\r\n\r\n{\"error\":\"noJob\"}");
    const bool told = client.sent.ends_with("\r\n\r\n{\"error\":\"noMemory\"}");
    CHECK((client.sent.empty() || right || told));
    CHECK(connections.heldBytes() == 0);
    CHECK(blocksInUse() == before);
  });
}

TEST_CASE("a client that reads its answer slowly holds nothing of its request") {
  const RequestGate gate{{}, [](HttpRequest&) { return okAnswer(); }};
  ConnectionTable connections;
  FakeClient client{.pieces = {"POST /" + std::string(9'000, 'p') +
                               " H\r\nContent-Length: 100000\r\n\r\n" + std::string(100'000, 'x')},
                    .reads = 10,
                    .perRead = std::chrono::hours(1)};
  Connection connection(std::make_unique<FakeStream>(client), gate,
                        connections.enter(kLoopbackAddress), client.now);
  const std::int64_t before = bytesInUse();
  while (connection.advance(client.now) != Connection::Need::thread || !connection.isComplete()) {
    connection.compute(client.now);
  }
  CHECK(bytesInUse() > before + 100'000);
  connection.compute(client.now);
  CHECK(connection.advance(client.now) == Connection::Need::space);
  CHECK(bytesInUse() < before + 1'000);
}

TEST_CASE("the command line without memory writes its whole result or says why not") {
  App app;
  app.disk->add(L"C:\\r\\a file with a long name.txt", 5);
  for (const char* format : {"json", "csv"}) {
    const ScanRunRequest request = {
        L"C:\\r", L"a result with a long name.out", format, CsvKind::files, L"txt", L""};
    const std::string_view end = format == std::string_view("json") ? "}" : "\r\n";
    forEveryAllocation(format, [&](std::uint64_t n, Failing how) {
      std::string written;
      bool told = false;
      written.reserve(65'536);
      const ScanRunOutputs outputs = {[&told](std::wstring_view text) {
                                        told = told || text.find(L"failed: the memory") !=
                                                           std::wstring_view::npos;
                                      },
                                      [](std::string_view) { return true; },
                                      [&written](const std::wstring&, std::string_view text) {
                                        written = text;
                                        return std::wstring();
                                      },
                                      [](const std::wstring&) { return std::wstring(); }};
      int code = kExitDone;
      ScanRunStop stop;
      {
        const FailingMemory failing(n, how);
        code = runScanCommand(request, app.state.steps, outputs, stop);
      }
      CHECK((written.empty() || written.ends_with(end)));
      if (code == kExitDone) {
        CHECK(!written.empty());
      } else {
        CHECK((told || how == Failing::on));
      }
    });
  }
}
