#include "http/message_parser.h"
#include "search/image_kind.h"
#include "support/runs.h"

using namespace vorda;
using namespace vorda::test;
using namespace std::string_literals;

namespace {

const std::string kPng = "\x89PNG\r\n\x1a\n"s + std::string(100, 'p');

// Files with equal contents in C:\d and C:\e, and the finished search for them.
struct Pictures {
  App app;
  void add(const std::wstring& name, const std::string& content) {
    app.addContent(L"C:\\d", name, content);
    app.addContent(L"C:\\e", name, content);
  }
  void search() {
    app.scanned("C:");
    runToEnd(app, "/api/dupsacross", "ids=1&min=1");
  }
  HttpResponse preview(const std::string& path) { return app.ask("GET", "/api/preview?p=" + path); }
  int status(const std::string& path) { return preview(path).status; }
};

} // namespace

TEST_CASE("what counts as an image is decided by its first bytes") {
  const std::string bitmap = "BM"s + std::string(12, '\x07') + "\x28\0\0\0"s;
  const std::vector<std::pair<std::string, std::string>> heads = {
      {"\x89PNG\r\n\x1a\n", "image/png"},
      {"\xff\xd8\xff\xe0", "image/jpeg"},
      {"GIF87a", "image/gif"},
      {"GIF89a", "image/gif"},
      {"RIFF\x01\x02\x03\x04WEBP", "image/webp"},
      {bitmap, "image/bmp"}};
  for (const auto& [head, kind] : heads) {
    CHECK(imageKindOf(head) == kind);
    CHECK(imageKindOf(head + "more") == kind);
    const std::size_t needed = kind == "image/jpeg" ? 3 : head.size();
    for (std::size_t length = 0; length < needed; ++length) {
      CHECK(imageKindOf(std::string_view(head).substr(0, length)).empty());
    }
  }
  for (const int size : {12, 40, 52, 56, 64, 108, 124, 41, 0}) {
    const std::string head = "BM"s + std::string(12, '\0') + static_cast<char>(size) + "\0\0\0"s;
    const std::string_view expected = size == 41 || size == 0 ? "" : "image/bmp";
    CHECK(imageKindOf(head) == expected);
    CHECK(imageKindOf("AM" + head.substr(2)).empty());
    CHECK(imageKindOf(head.substr(0, 17) + "x").empty());
  }
  for (const char* text :
       {"XIFF1234WEBP", "<svg xmlns=\"http://www.w3.org/2000/svg\">", "<!DOCTYPE html>",
        "BM, a text of some length", "RIFF1234WAVEfmt ", "%PDF-1.7", "GIF88a", " GIF89a", "MZ"}) {
    CHECK(imageKindOf(text).empty());
  }
}

TEST_CASE("a preview is an image that the search on view lists, and nothing else") {
  Pictures own;
  App& app = own.app;
  own.add(L"a.txt", kPng); // its name does not matter
  own.add(L"page.png", "<html><script>alert(1)</script></html>");
  own.add(L"x\",\"p\":\"y.png", kPng + "q");
  own.add(L"\xD800.png", kPng + "r");
  own.add(L"big.png", kPng + "b");
  own.add(L"fits.png", kPng + "f");
  app.addContent(L"C:\\d", L"alone.png", kPng + "alone");
  app.disk->addFile(L"C:\\d", L"\xFFFD.png", 1);
  app.contents->add(L"C:\\d\\\xFFFD.png", kPng + "other");
  CHECK(own.status("C:\\d\\a.txt") == 404); // no search yet
  own.search();
  app.contents->edit(L"C:\\d\\fits.png", [](auto& file) { file.state.size = 20'000'000; });
  app.contents->edit(L"C:\\d\\big.png", [](auto& file) { file.state.size = 20'000'001; });

  const HttpResponse image = own.preview("C:\\d\\a.txt");
  CHECK(image.status == 200);
  CHECK(image.contentType == "image/png");
  CHECK(image.payload() == kPng);
  const std::string head = responseHead(image);
  for (const char* line :
       {"X-Content-Type-Options: nosniff\r\n", "Cross-Origin-Resource-Policy: same-origin\r\n",
        "Content-Security-Policy: default-src 'none'; sandbox\r\n"}) {
    CHECK(holds(head, line));
  }
  CHECK(own.status("C:\\e\\x\",\"p\":\"y.png") == 200);
  CHECK(own.status("C:\\d\\fits.png") == 200);

  for (const char* path :
       {"", "C:\\d\\alone.png", "C:\\d\\page.png", "C:\\d\\big.png", "y.png", "c:\\d\\a.txt",
        "C:\\d\\a.txt ", "C:\\d\\a.tx", "C:/d/a.txt", "C:\\d\\..\\d\\a.txt", "\\\\?\\C:\\d\\a.txt",
        "C:\\d\\\xEF\xBF\xBD.png", "*", "C:\\d\\a.txt\",\"m\":1"}) {
    CAPTURE(path);
    CHECK(own.status(path) == 404);
  }
  CHECK(app.get("/api/preview") == R"(404 {"error":"noPreview"})");

  // Between two looks at it the file grows, goes, shrinks, becomes another or cannot be read any more.
  const auto meanwhile = [&](auto& hook, int which, auto change) {
    app.contents->rewrite(L"C:\\d\\a.txt", kPng);
    int looks = 0;
    hook = [&, which, change](const std::wstring& path) {
      if (++looks == which) app.contents->edit(path, change);
    };
    HttpResponse response = own.preview("C:\\d\\a.txt");
    hook = nullptr;
    return response;
  };
  MemoryContents& disk = *app.contents;
  const auto grow = [](MemoryFile& file) { file.state.size = 20'000'001; };
  const auto go = [](MemoryFile& file) { ++file.number; };
  const auto fail = [](MemoryFile& file) { file.failure = FileFailure::unreadable; };
  CHECK(meanwhile(disk.onState, 1, grow).status == 404);
  CHECK(meanwhile(disk.onState, 1, go).status == 404);
  const auto shorter = meanwhile(disk.onRead, 2, [](auto& file) { file.content.resize(20); });
  CHECK(shorter.payload() == kPng.substr(0, 20));
  CHECK(meanwhile(disk.onRead, 2, [](auto& file) { file.content = "<html>"; }).status == 404);
  CHECK(meanwhile(disk.onRead, 2, [](auto& file) { file.failsReading = true; }).status == 404);
  app.contents->edit(L"C:\\d\\a.txt", [](auto& file) { file.failsReading = false; });
  CHECK(meanwhile(disk.onOpen, 1, fail).status == 404);
  app.contents->edit(L"C:\\d\\a.txt", [](auto& file) { file.failure = FileFailure::none; });

  // Whatever it is by now counts, not what it was when it was compared.
  app.contents->edit(L"C:\\d\\fits.png", [](auto& file) { file.failure = FileFailure::cloud; });
  app.contents->rewrite(L"C:\\e\\fits.png", "<html>");
  app.contents->edit(L"C:\\d\\a.txt", [](auto& file) { file.failsReading = true; });
  app.contents->remove(L"C:\\e\\a.txt");
  const int before = app.contents->opened;
  CHECK(own.status("C:\\d\\fits.png") == 404);
  CHECK(app.contents->opened == before); // what is in the cloud is not fetched
  for (const char* path : {"C:\\e\\fits.png", "C:\\d\\a.txt", "C:\\e\\a.txt"})
    CHECK(own.status(path) == 404);

  // Another search forgets these, an agent shows none, and other sites get nothing.
  app.state.remote = true;
  CHECK(app.get("/api/preview?p=C:\\e\\x\",\"p\":\"y.png") == R"(400 {"error":"notAllowed"})");
  app.state.remote = false;
  CHECK(app.get("/api/preview?p=C:\\e\\x\",\"p\":\"y.png", {{"sec-fetch-site", "cross-site"}}) ==
        R"(403 {"error":"foreignOrigin"})");
  app.get("/api/forget?id=1");
  CHECK(own.status("C:\\e\\x\",\"p\":\"y.png") == 404);
}
