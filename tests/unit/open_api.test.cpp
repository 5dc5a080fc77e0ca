#include "api/open_api.h"
#include "support/app.h"

#include <sstream>

using namespace vorda;
using namespace vorda::test;

TEST_CASE("only what a scan on this machine has is opened, and only by its own user") {
  App app;
  app.disk->addFile(L"C:\\data", L"a.txt", 5);
  app.scanned("C%3A%5Cdata");
  app.disk->addFile(L"E:", L"b.txt", 5);
  app.scanned("E%3A%5C");
  app.disk->addFile(L"G:", L"c.txt", 5);
  app.scanned("G%3A%2F");
  app.scanned("%5C"); // fails
  for (const auto& job : app.state.jobs.all()) job->label = L"label";
  const auto remote = std::make_shared<Job>();
  remote->kind = kSshKind;
  remote->result.rootPath = L"F:\\"; // a host that is called like a drive
  remote->resultReady = true;
  app.state.jobs.add(remote);
  const auto ask = [&app](const std::string& body) { return app.post("/api/open", body); };
  CHECK(ask("what=open&p=C%3A%2Fdata%2Fa.txt") == R"(200 {"ok":true})");
  CHECK(ask("what=terminal&p=c%3A%5CDATA") == R"(200 {"ok":true})");
  CHECK(ask("what=properties&p=C%3A%5Cdata%5Cx%5Cy") == R"(200 {"ok":true})");
  CHECK(ask("what=open&p=E%3A%5Cb.txt") == R"(200 {"ok":true})");
  CHECK(ask("what=open&p=G%3A%5Cc.txt") == R"(200 {"ok":true})");
  using Opened = std::vector<std::pair<Opening, std::wstring>>;
  CHECK(app.opened == Opened{{Opening::item, L"C:\\data\\a.txt"},
                             {Opening::terminal, L"c:\\DATA"},
                             {Opening::properties, L"C:\\data\\x\\y"},
                             {Opening::item, L"E:\\b.txt"},
                             {Opening::item, L"G:\\c.txt"}});
  app.opened.clear();
  for (const char* path :
       {"C%3A%5C", "C%3A%5Cdata2%5Cx", "C%3A%5Ctemp%5Cx", "C%3A%5Cdata%5C..%5CWindows",
        "C%3A%5Cdata%2F..%2FWindows", "%5C%5Cnas%5Cshare", "F%3A%5Cx"}) {
    CHECK(ask(std::string("what=open&p=") + path) == R"(400 {"error":"notAllowed"})");
  }
  for (const char* path :
       {"data", "calc.exe", "shell%3ARecycleBinFolder", "C%3Adata%5Cx", "C%3A%5Cdata%5Ca%00b"}) {
    CHECK(ask(std::string("what=open&p=") + path) == R"(400 {"error":"notabsolute"})");
  }
  CHECK(ask("what=open&p=C%3A%5Cdata%5Ca.txt%3Aevil.exe") == R"(400 {"error":"ambiguous"})");
  for (const char* body : {"p=C%3A%5Cdata", "what=run&p=C%3A%5Cdata", "what=open",
                           "what=open&p=", "what=open&p=C%3A%5Cdata&p=C%3A%5Cdata"}) {
    CHECK(ask(body) == R"(400 {"error":"niets opgegeven"})");
  }
  CHECK(app.post("/api/open", "what=open&p=E%3A%5Cb", {{"content-length", "99"}}) ==
        R"(400 {"error":"incomplete"})");
  CHECK(app.opened.empty());
  app.state.session.open = [](Opening, const std::wstring&) { return std::string_view("program"); };
  CHECK(ask("what=open&p=E%3A%5Cb.txt") == R"(400 {"error":"program"})");
  app.state.remote = app.state.keyRequired = true;
  CHECK(app.post("/api/open", "what=open&p=C%3A%5Cdata", {{"x-vorda-token", "KEY23"}}) ==
        R"(400 {"error":"notAllowed"})");
  CHECK(app.opened.empty());
}

TEST_CASE("files that run when they are opened") {
  for (const wchar_t* path : {L"C:\\x\\a.txt.BAT", L"C:\\a.exe. ."}) CHECK(startsAsProgram(path));
  std::wistringstream types(
      L"ade adp app appinstaller application appref-ms appx bas bat chm cmd com cpl crt csh "
      L"diagcab exe fxp gadget hlp hta inf ins isp its jar jnlp js jse ksh library-ms lnk "
      L"mad maf mda mdb mde msc msi msix msp mst pif ps1 psm1 py pyw rdp reg scf scr sct "
      L"search-ms settingcontent-ms shb url vb vbe vbs wsf wsh");
  for (std::wstring type; types >> type;) CHECK(startsAsProgram(L"C:\\a." + type));
  for (const wchar_t* path :
       {L"C:\\a.txt", L"C:\\tool.exe\\notes", L"C:\\exe", L"C:\\a.", L"C:\\movie.mkv", L""}) {
    CHECK_FALSE(startsAsProgram(path));
  }
}
