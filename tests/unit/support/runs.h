// What tests of searches in the background share.
#pragma once

#include "support/app.h"

#include <doctest/doctest.h>

namespace vorda::test {

// The value of a number in a document, the first one of that key.
inline std::uint64_t numberIn(const std::string& document, const std::string& key) {
  const std::size_t at = document.find("\"" + key + "\":");
  REQUIRE(at != std::string::npos);
  return std::stoull(document.substr(at + key.size() + 3));
}

// A gate that holds every folder that is opened until it is let through.
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
