// Helpers for tests of background runs.
#pragma once

#include "support/app.h"
#include "support/cases.h"

namespace vorda::test {

constexpr const char* kStarted = R"(200 {"started":true,"running":true})";

// The result of a run with these form fields.
inline std::string runToEnd(App& app, const std::string& path, const std::string& fields) {
  REQUIRE(app.post(path, fields) == kStarted);
  return app.resultOf(path);
}

// An expected document by its name in the table.
inline std::string expectedDocument(const std::string& name) {
  for (const auto& row : cases("search_documents.txt", 2)) {
    if (row[0] == name) return row[1];
  }
  return "no such row";
}

// The first number with this key in a document.
inline std::uint64_t numberIn(const std::string& document, const std::string& key) {
  const std::size_t at = document.find("\"" + key + "\":");
  REQUIRE(at != std::string::npos);
  return std::stoull(document.substr(at + key.size() + 3));
}

// Blocks every opened folder until shut is false.
struct OpenGate {
  std::atomic<bool> shut{true};
  std::atomic<int> reached{0};
  App& app;
  explicit OpenGate(App& on) : app(on) {
    app.disk->onOpen = [this](const std::wstring&) {
      ++reached;
      while (shut) std::this_thread::yield();
    };
  }
  ~OpenGate() { app.disk->onOpen = nullptr; }
  void waitUntilReached() const {
    while (reached == 0) std::this_thread::yield();
  }
};

} // namespace vorda::test
