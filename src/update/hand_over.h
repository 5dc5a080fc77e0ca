// What the step that closes the running copies hands over to the one that starts them again
// after the installation.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vorda {

// Times here are FILETIMEs: units of 100 ns since 1601, UTC.
struct HandOver {
  std::vector<std::wstring> agents; // see AgentRecord
  std::vector<std::wstring> log;    // what the closing step said
  std::uint64_t written = 0;
};

// Whether it is from this installation: less than an hour old and not from the future. One
// that an interrupted installation left behind must not start programs days later.
bool isFresh(const HandOver& list, std::uint64_t now);

// The list with an agent more, which is asked to close by somebody else during an
// installation. What is not fresh any more is dropped first.
HandOver withAgent(HandOver list, const std::wstring& record, std::uint64_t now);

} // namespace vorda
