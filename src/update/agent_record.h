// One entry of the list of agents to be started again after an installation, as text:
//
//   service|                       the Windows service ran
//   system|COMMAND LINE            an agent of the local system account
//   account|SID|COMMAND LINE       an agent of another account
//
// The text comes back from the registry, so it is data: nothing in it names what is started.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vorda {

inline constexpr std::wstring_view kSystemAccount = L"S-1-5-18";

// What a running copy is, by the arguments behind its program's name. A page is closed and
// never started again.
enum class CopyKind { page, agent, service };
CopyKind kindOfCopy(const std::vector<std::wstring>& arguments);

struct AgentRecord {
  enum class Kind { service, system, account, damaged };
  Kind kind = Kind::damaged;
  std::wstring commandLine;
};

std::wstring serviceRecord();

// account: the SID as text; empty when it is not known, and so not the system's.
std::wstring agentRecord(std::wstring_view account, std::wstring_view commandLine);

AgentRecord readRecord(std::wstring_view text);

// What stands behind the program's name in a command line, as it stands there, leading
// blanks included.
std::wstring_view argumentText(std::wstring_view commandLine);

} // namespace vorda
