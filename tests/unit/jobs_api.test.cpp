#include "support/runs.h"

using namespace vorda;
using namespace vorda::test;

TEST_CASE("a job from start to result, and forgotten while running") {
  App app;
  const std::wstring root = app.disk->addFolder(L"M:", L"r\u00E9");
  for (int i = 0; i < 20; ++i) {
    app.disk->addFile(app.disk->addFolder(root, std::to_wstring(i)), L"f", 5);
  }
  OpenGate gate(app);
  CHECK(app.post("/api/scan", "kind=map&path=") == R"(400 {"error":"geen pad opgegeven"})");
  CHECK(app.post("/api/scan", "path=M%3A%5Cr%C3%A9") == R"(200 {"id":1,"ok":true})");
  CHECK(app.post("/api/scan", "path=M%3A%5Cnone&kind=drive&label=L+1") ==
        R"(200 {"id":2,"ok":true})");
  app.waitUntilDone(2);
  CHECK(app.get("/api/result?id=1") == R"(400 {"error":"nog niet klaar"})");
  CHECK(app.get("/api/result?id=2") == R"(400 {"error":"noSuchDir"})");
  CHECK(app.get("/api/export?id=2") == R"(400 {"error":"noSuchDir"})");
  for (const char* id : {"", "x", "3", "1x", "-1", " 1", "99999999999999999999"}) {
    CHECK(app.get(std::string("/api/result?id=") + id) == R"(404 {"error":"opdracht onbekend"})");
  }
  CHECK(app.get("/api/dirs?id=1&p=M%3A") == R"(404 {"error":"noJob"})");
  CHECK(app.get("/api/ext?id=1&e=.iso") == R"(400 {"error":"noJob"})");
  CHECK(app.get("/api/export?id=1") == R"(400 {"error":"nopath"})");
  gate.waitUntilReached();
  const std::string jobs = app.get("/api/jobs");
  CHECK(jobs.starts_with(R"(200 [{"id":1,"path":"M:\\ré","kind":"map","label":"M:\\ré",)"
                         R"("state":"scanning","files":0,"bytes":0,"dirs":0,"phase":1,)"
                         R"("seconds":0,"status":"reading","current":"","error":"",)"
                         R"("method":"walk","noTurbo":"notlocal","elapsed":)"));
  CHECK(holds(jobs, R"("kind":"drive","label":"L 1","state":"error")"));
  gate.shut = false;
  app.waitUntilDone(1);
  CHECK(
      holds(app.get("/api/jobs"), R"("state":"done","files":20,"bytes":100,"dirs":21,"phase":3)"));
  app.state.jobs.find(1)->document = nullptr; // as a change leaves it for want of memory
  const auto first = app.ask("GET", "/api/result?id=1");
  CHECK(first.status == 200);
  CHECK(first.body == app.ask("GET", "/api/result?id=1").body); // shared, not copied
  CHECK(first.payload().starts_with(R"({"meta":{"path":"M:\\ré",)"));

  gate.reached = 0;
  gate.shut = true;
  CHECK(app.post("/api/scan", "path=M%3A%5Cr%C3%A9") == R"(200 {"id":3,"ok":true})");
  gate.waitUntilReached();
  CHECK(app.get("/api/cancel?id=3") == R"(200 {"ok":true})");
  gate.shut = false;
  app.waitUntilDone(3);
  CHECK(app.get("/api/jobs").ends_with(R"("noTurbo":"notlocal","partial":"cancelled"}])"));
  CHECK(holds(app.get("/api/result?id=3"), R"("binned":0,"partial":"cancelled"},"tree")"));
  const std::string csv = app.get("/api/export?id=3");
  CHECK(csv.substr(0, csv.find("\r\n")).ends_with("  partial: cancelled"));

  CHECK(app.get("/api/forget?id=1") == R"(200 {"ok":true})");
  CHECK(app.get("/api/result?id=1") == R"(404 {"error":"opdracht onbekend"})");
  gate.shut = true;
  CHECK(app.post("/api/scan", "path=M%3A%5Cr%C3%A9") == R"(200 {"id":4,"ok":true})");
  std::shared_ptr<Job> forgotten = app.state.jobs.find(4);
  CHECK(app.get("/api/forget?id=4") == R"(200 {"ok":true})");
  gate.shut = false;
  while (!forgotten->done) std::this_thread::yield();
  CHECK(forgotten->result.fileCount < 20);
  const std::weak_ptr<Job> freed = forgotten;
  forgotten.reset();
  while (!freed.expired()) std::this_thread::yield();
}

TEST_CASE("what the list says of a scan that runs") {
  App app;
  const auto job = std::make_shared<Job>();
  job->target = L"C:\\x";
  app.state.jobs.add(job);
  std::this_thread::sleep_for(std::chrono::milliseconds(2));
  const auto says = [&app](const char* text) { return holds(app.get("/api/jobs"), text); };
  CHECK(says(R"("path":"C:\\x","kind":"","label":"","state":"scanning")"));
  CHECK_FALSE(says("top"));
  job->progress.edit([](ProgressTexts& texts) { texts.top = {{L"a", 5}, {L"b", 4}}; });
  CHECK(says(R"(,"top":[{"n":"a","s":5},{"n":"b","s":4}]}])"));
  CHECK_FALSE(says(R"("elapsed":0,)"));
  job->progress.cancelRequested = job->rootGone = job->resultReady = true;
  CHECK(says(R"("state":"cancelled")"));
  CHECK(says(R"("top")"));
  CHECK(app.get("/api/dirs?id=1&p=C%3A") == R"(404 {"error":"noJob"})");
  job->resultReady = false;
  CHECK(app.get("/api/cleanable?job=1") == R"(404 {"error":"noJob"})");
}
