// Plays back texts, then ends; "" stands for a read without output.
#pragma once

#include "scan/ssh/ssh_scan.h"

#include <doctest/doctest.h>

#include <functional>
#include <string>
#include <vector>

namespace vorda::test {

struct Played final : SshProcess {
  std::vector<std::string> texts;
  std::function<void()> onSilence;
  std::function<void()> onClose;
  std::uint32_t exitCode = 1;
  std::string* trace = nullptr; // how the process was stopped

  Read read(char* buffer, std::size_t size, std::chrono::milliseconds wait,
            std::size_t& count) override {
    CHECK(wait.count() <= 100);
    if (texts.empty()) return Read::end;
    count = texts.front().copy(buffer, size);
    texts.erase(texts.begin());
    if (count == 0) onSilence();
    return count == 0 ? Read::silence : Read::bytes;
  }
  void end() override {
    if (trace != nullptr) *trace += " ended";
  }
  std::uint32_t close(std::chrono::milliseconds) override {
    if (trace != nullptr) *trace += " closed";
    if (onClose) onClose();
    return exitCode;
  }
};

} // namespace vorda::test
