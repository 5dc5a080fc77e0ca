// Every allocation of every kind of work fails once, and then that one with all that follow: the
// work ends as failed or complete, nothing is leaked, and the same again gives the right answer.
#include "api/routes.h"
#include "scan/ssh/ssh_scan.h"
#include "scan/turbo/turbo_scan.h"
#include "support/app.h"
#include "every_allocation.h"
#include "support/mft_volume.h"
#include "support/played_ssh.h"

using namespace vorda;
using namespace vorda::test;

namespace {

void fill(MemoryDisk& disk) {
  for (int i = 0; i < 6; ++i) {
    const std::wstring folder = L"C:\\r\\folder with a long name " + std::to_wstring(i % 3);
    disk.add(folder + L"\\a file with a long name " + std::to_wstring(i) + L".type" +
                 std::to_wstring(i % 4),
             std::uint64_t{1} << (20 + i));
  }
  disk.add(L"C:\\r\\node_modules\\inside\\deep\\deeper\\x.js", 600'000'000);
  disk.add(L"C:\\r\\empty\\");
}

// What a document says, without the time that the scan took.
std::string factsOf(const std::string& document) {
  const std::size_t from = document.find("\"seconds\":");
  if (from == std::string::npos) return document;
  return document.substr(0, from) + document.substr(document.find(',', from));
}

void checkJobs(const char* what, const ScanSteps& steps,
               const std::function<std::shared_ptr<Job>()>& make,
               const std::function<void(const Job&)>& also = {}) {
  const auto reference = make();
  runJob(*reference, steps);
  REQUIRE(reference->document);
  const std::string expected = factsOf(*reference->document);
  const std::uint64_t count = forEveryAllocation(what, [&](std::uint64_t n, Failing how) {
    const std::int64_t before = blocksInUse();
    {
      const auto job = make();
      FailingMemory failing(n, how);
      runJob(*job, steps);
      failing.end();
      const ProgressTexts texts = job->progress.texts();
      CHECK((job->done && job->resultReady && job->password.empty()));
      if (texts.error.empty()) {
        // Turbo gives way to the walk; that is told in the document.
        if (texts.noTurbo == reference->progress.texts().noTurbo) {
          CHECK(factsOf(*job->document) == expected);
        } else {
          CHECK(texts.noTurbo == kMftMemory);
        }
      } else {
        CHECK(texts.error == kNoMemory);
        CHECK((job->result.folders.empty() && job->result.files.empty() && !job->document));
      }
      if (also) also(*job);
    }
    CHECK(comesBackTo(before));
  });
  CHECK(count > 50);
}

std::shared_ptr<Job> jobOf(const std::wstring& target) {
  auto job = std::make_shared<Job>();
  job->target = target;
  job->kind = kDefaultKind;
  job->namePatterns = {L"*"};
  return job;
}

} // namespace

TEST_CASE("a scan without memory fails as such, whichever allocation it is: walk and turbo") {
  App app;
  fill(*app.disk);
  ScanSteps steps = app.state.steps;
  checkJobs("walk", steps, [] { return jobOf(L"C:\\r"); });

  TestVolume volume;
  const std::uint64_t root = reference(5, 5);
  volume.addFolder(30).name(L"folder with a long name", root);
  for (std::uint32_t i = 31; i < 40; ++i) {
    const std::wstring name = L"file number " + std::to_wstring(i) + L".type" + std::to_wstring(i);
    volume.add(i).file(name, reference(30, 1), 1'000'000 + i);
  }
  volume.extend(40, reference(31, 1)).name(L"another name of the file", root);
  volume.add(41).file(L"orphan.txt", reference(20, 9), 7);
  steps.turboAllowed = [](const std::wstring&) { return TurboVerdict{true, {}}; };
  steps.turbo = [image = volume.image()](ScanProgress& progress, const ScanOptions& options,
                                         ScanResult& result) {
    const OpenVolume open = [&image](wchar_t) {
      return OpenedVolume{std::make_unique<MemoryVolume>(image), {}};
    };
    return turboScan(open, progress, options, result);
  };
  checkJobs("turbo", steps, [] { return jobOf(L"C:\\"); });
}

TEST_CASE("a scan over ssh without memory fails as such and ends ssh") {
  App app;
  ScanSteps steps = app.state.steps;
  bool started = false;
  std::string trace;
  steps.ssh = [&](ScanProgress& progress, const ScanOptions& options, Secret password,
                  ScanResult& result, SshFacts& facts) {
    const SshStart start = [&](const std::wstring&, const Secret&, std::string_view&) {
      auto host = std::make_unique<Played>();
      host->texts = {"Welcome to this machine\nVORDA-DF\n"
                     "Filesystem     1024-blocks      Used Available Capacity Mounted on\n"
                     "/dev/sda1        102400000  51200000   2048 50% /\nVORDA-FIND\n"
                     "d\t4096\t1700000000.5\t/data\n"
                     "f\t5\t1700000000.1\t/data/a folder with a long name/a long name.txt\n"
                     "f\t60000000\t1700000001\t/data/a folder with a long name/deep/b.iso\n"
                     "f\t7\t1700000001\t/data/another folder with a long name/none\n"};
      host->exitCode = 0;
      host->trace = &trace;
      started = true;
      return host;
    };
    return sshScan(start, progress, options, std::move(password), result, facts);
  };
  checkJobs(
      "ssh", steps,
      [&] {
        started = false;
        trace.clear();
        auto job = jobOf(L"user@host.example:/data");
        job->kind = kSshKind;
        job->password = Secret("a password that is long enough");
        return job;
      },
      [&](const Job&) { CHECK((!started || !trace.empty())); });
}

TEST_CASE("a search without memory fails as such, and the next one finds everything") {
  App app;
  for (const wchar_t* folder : {L"C:\\one folder with a long name", L"D:\\another folder"}) {
    for (int i = 0; i < 4; ++i) {
      app.addContent(folder, L"a file with a long name " + std::to_wstring(i),
                     std::string(200'000, static_cast<char>('a' + i % 2)));
    }
  }
  app.scanned("C:");
  app.scanned("D:");
  struct Row {
    const char* path;
    const char* fields;
    BackgroundRun& run;
  };
  const Row rows[] = {{"/api/findfiles", "ids=1,2&names=file&min=1", app.state.finder},
                      {"/api/dupsacross", "ids=1,2&min=1", app.state.duplicates},
                      {"/api/verifydups",
                       "seen=1&p=D:%5Canother%20folder%5Ca%20file%20with%20a%20long%20name%200",
                       app.state.verification}};
  for (const Row& row : rows) {
    app.post(row.path, row.fields);
    const auto facts = [&row](std::string document) { // without the time of reading
      const std::size_t seen = document.find("\"seen\":");
      return row.fields[0] == 's' ? document.substr(0, seen) : document;
    };
    const std::string expected = facts(app.resultOf(row.path));
    const std::int64_t before = blocksInUse();
    forEveryAllocation(row.path, [&](std::uint64_t n, Failing how) {
      const std::string answer = askWithout(app, n, how, {"POST", row.path, row.fields}, [&row] {
        while (row.run.running()) std::this_thread::yield();
      });
      const bool started = answer == kStarted;
      CHECK((started || answer == kNoMemoryAnswer));
      const std::string left = app.get(row.path);
      CHECK((facts(left) == expected || left == kNoMemoryRun ||
             (!started && left == R"(200 {"running":false})")));
    });
    CHECK(facts(runToEnd(app, row.path, row.fields)) == expected);
    CHECK(comesBackTo(before + 4)); // the document and what it is kept in
  }
}

TEST_CASE("a scan that could not be noted as forgotten is in no result either") {
  App app;
  app.addContent(L"C:\\", L"one.txt", "text");
  app.scanned("C:");
  forEveryAllocation("forget", [&](std::uint64_t n, Failing how) {
    const int id = app.scanned("C:");
    OpenGate gate(app);
    app.post("/api/findfiles", "min=1&names=one&ids=" + std::to_string(id));
    gate.waitUntilReached();
    const std::string answer =
        askWithout(app, n, how, {"GET", "/api/forget?id=" + std::to_string(id), ""});
    gate.shut = false;
    const std::string left = app.resultOf("/api/findfiles");
    const bool forgotten = answer == R"(200 {"ok":true})";
    CHECK((forgotten || answer == kNoMemoryAnswer));
    // A search that could not take it out fails as a whole.
    CHECK((left.find("one.txt") == std::string::npos) == (forgotten || left == kNoMemoryRun));
    app.get("/api/forget?id=" + std::to_string(id));
  });
}

namespace {

// The first line of a CSV has the time.
std::string untimed(const std::string& answer) {
  const std::size_t from = answer.find("  scanned ");
  return from == std::string::npos ? answer : answer.substr(answer.find("\r\n", from));
}

} // namespace

TEST_CASE("every request without memory is answered as such or right") {
  const std::map<std::string, std::string> targets = {
      {"/api/browse", "?p=C:%5Cr"},
      {"/api/files", "?p=C:%5Cr"},
      {"/api/dirs", "?id=1&p=C:%5Cr"},
      {"/api/ext", "?id=1&e=.type1"},
      {"/api/account", "?id=1"},
      {"/api/types", "?id=1"},
      {"/api/file", "?id=1&p=C:%5Cr%5Cnode_modules%5Cinside%5Cdeep%5Cdeeper%5Cx.js"},
      {"/api/export", "?id=1&what=files"},
      {"/api/result", "?id=1&more=1"},
      {"/api/cancel", "?id=1"},
      {"/api/reveal", "?p=C:%5Cr%5Ca%20folder%20with%20a%20long%20name"}};
  const std::map<std::string, std::string> bodies = {
      {"/api/scan", "path=C:%5Cr%5Cfolder%20with%20a%20long%20name%200&label=some%20long%20label"},
      {"/api/delete", "dryrun=1&seen=1&job=1&p=C:%5Cr%5Cempty&p=C:%5Cr%5Cnode_modules"}};
  for (const Route& route : routes()) {
    App app;
    fill(*app.disk);
    app.elevated = false;
    const auto setStartPath = [&app] { app.state.startPath.set(L"\\\\server\\a long share"); };
    setStartPath();
    app.scanned("C:%5Cr");
    const std::string path(route.path);
    const std::string method(route.method.empty() ? "GET" : route.method);
    const Question question = {method, path + (targets.contains(path) ? targets.at(path) : ""),
                               bodies.contains(path) ? bodies.at(path) : ""};
    const bool scan = path == "/api/scan";
    const std::string expected = untimed(app.told(question.method, question.target, question.body));
    const auto tidy = [&] {
      for (const auto& job : app.state.jobs.all()) {
        if (job->id == 1) continue;
        app.waitUntilDone(job->id);
        app.get("/api/forget?id=" + std::to_string(job->id));
      }
      while (app.state.duplicates.running()) std::this_thread::yield();
    };
    tidy();
    forEveryAllocation(path.c_str(), [&](std::uint64_t n, Failing how) {
      if (path == "/api/targets") setStartPath();
      const std::string answer = untimed(askWithout(app, n, how, question));
      CHECK((answer == expected || answer == kNoMemoryAnswer ||
             (scan && answer.starts_with("200 {\"id\":"))));
      if (scan) CHECK((app.state.jobs.all().size() == 1) == (answer == kNoMemoryAnswer));
      if (path == "/api/targets" && answer == kNoMemoryAnswer) {
        CHECK(!app.state.startPath.take().empty());
      }
      tidy();
    });
    if (path == "/api/targets") setStartPath();
    if (!scan) {
      CHECK(untimed(app.told(question.method, question.target, question.body)) == expected);
    }
    tidy();
  }
}

TEST_CASE("without memory nobody gets in who has no key") {
  App app;
  app.state.keyRequired = true;
  const Question question = {"GET", "/api/jobs?token=a%20long%20key%20that%20is%20wrong", ""};
  forEveryAllocation("key", [&](std::uint64_t n, Failing how) {
    const std::string answer = askWithout(app, n, how, question);
    CHECK((answer.starts_with("401 ") || answer == kNoMemoryAnswer));
  });
}
