// What the closing step of an installation hands over to the restarting step.
//
// Each folder the program is installed in has a list of its own, so that closing one installation
// never starts the agents of another.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vorda {

// Times are FILETIMEs: units of 100 ns since 1601, UTC.
struct HandOver {
  std::vector<std::wstring> agents; // see AgentRecord
  std::vector<std::wstring> log;    // the lines the closing step printed
  std::uint64_t written = 0;
  std::wstring folder =
      {}; // absolute; empty in a list of an earlier version, which had one for all
};

using HandOvers = std::vector<HandOver>; // the latest first

// Whether the list is less than an hour old and not from the future. A list left behind by an
// interrupted installation must not start programs days later.
bool isFresh(const HandOver& list, std::uint64_t now);

// Adds an agent that something other than the closing step asked to close during an
// installation. The previous contents are dropped if they are not fresh.
HandOver withAgent(HandOver list, const std::wstring& record, std::uint64_t now);

// The list of a folder, a fresh one if there is one. One of an earlier version belongs to any
// folder. Empty if there is none.
HandOver listOf(const HandOvers& lists, std::wstring_view folder, std::uint64_t now);

// The lists without that of this folder, and without those that are no longer fresh.
HandOvers withoutList(HandOvers lists, std::wstring_view folder, std::uint64_t now);

// The same with this list in its place.
HandOvers withList(HandOvers lists, HandOver list, std::uint64_t now);

} // namespace vorda
