// Helpers for tests of background searches.
#pragma once

#include "support/app.h"

#include <doctest/doctest.h>

namespace vorda::test {

// The first number with this key in a document.
inline std::uint64_t numberIn(const std::string& document, const std::string& key) {
  const std::size_t at = document.find("\"" + key + "\":");
  REQUIRE(at != std::string::npos);
  return std::stoull(document.substr(at + key.size() + 3));
}

// Blocks every opening of a folder until shut is cleared.
struct OpenGate {
  std::atomic<bool> shut{true};
  std::atomic<int> reached{0};
  App& app;
  explicit OpenGate(App& on) : app(on) {
    app.folders->onOpen = [this](const std::wstring&) {
      ++reached;
      while (shut) std::this_thread::yield();
    };
  }
  ~OpenGate() { app.folders->onOpen = nullptr; }
  void waitUntilReached() const {
    while (reached == 0) std::this_thread::yield();
  }
};

} // namespace vorda::test
