// What the closing step of an installation hands over to the restarting step.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vorda {

// Times are FILETIMEs: units of 100 ns since 1601, UTC.
struct HandOver {
  std::vector<std::wstring> agents; // see AgentRecord
  std::vector<std::wstring> log;    // the lines the closing step printed
  std::uint64_t written = 0;
};

// Whether the list is less than an hour old and not from the future. A list left behind by an
// interrupted installation must not start programs days later.
bool isFresh(const HandOver& list, std::uint64_t now);

// Adds an agent that something other than the closing step asked to close during an
// installation. The previous contents are dropped if they are not fresh.
HandOver withAgent(HandOver list, const std::wstring& record, std::uint64_t now);

} // namespace vorda
