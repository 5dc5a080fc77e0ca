// The log that --log asks for: what the program did, so that somebody who was not there can tell what
// went wrong. It holds no key, no password and nothing of a request but its method and path, and names
// files only in lines of the level detail, which --log-names asks for.
#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>

namespace vorda {

enum class LogLevel { error, warning, info, detail };

class DiagnosticLog {
public:
  // Gets whole lines in UTF-8, one after the other.
  using Sink = std::function<void(std::string_view line)>;

  DiagnosticLog() = default; // keeps nothing
  DiagnosticLog(Sink sink, bool withNames, std::function<std::uint64_t()> now)
      : sink_(std::move(sink)), now_(std::move(now)), withNames_(withNames) {}

  bool keeps(LogLevel level) const { return sink_ && (withNames_ || level != LogLevel::detail); }
  // text: UTF-8. Control characters become "?", since a name may hold a line break.
  void write(LogLevel level, std::string_view text);

private:
  Sink sink_;
  std::function<std::uint64_t()> now_; // milliseconds since 1970
  bool withNames_ = false;
  bool full_ = false;
  std::uint64_t written_ = 0;
  std::mutex mutex_;
};

// What one run writes at most, so that a log that was forgotten does not fill the disk.
inline constexpr std::uint64_t kMostLogBytes = 16U * 1024 * 1024;

} // namespace vorda
