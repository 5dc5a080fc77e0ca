// A record of an agent to restart after an installation. As text:
//
//   service|                       the Windows service was running
//   system|COMMAND LINE            an agent run by the local system account
//   account|SID|COMMAND LINE       an agent run by another account
//
// The text is read back from the registry, so it is not trusted: the program that is started
// does not depend on it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vorda {

inline constexpr std::wstring_view kSystemAccount = L"S-1-5-18"; // a SID

// The options that make a copy something other than a page.
inline constexpr std::wstring_view kAgentOption = L"--agent";
inline constexpr std::wstring_view kServerOption = L"--server";
inline constexpr std::wstring_view kServiceOption = L"--service";
inline constexpr std::wstring_view kTokenOption = L"--token"; // takes the next argument

// What kind of copy runs with these arguments, not counting the program name. A page is never
// restarted.
enum class CopyKind { page, agent, service };
CopyKind kindOfCopy(const std::vector<std::wstring>& arguments);

struct AgentRecord {
  enum class Kind { service, system, account, damaged };
  Kind kind = Kind::damaged;
  std::wstring commandLine;
};

std::wstring serviceRecord();

// account: a SID, or empty if unknown, which counts as an account other than the system's.
std::wstring agentRecord(std::wstring_view account, std::wstring_view commandLine);

AgentRecord readRecord(std::wstring_view text);

// The part of a command line after the program name, unchanged, including leading spaces.
std::wstring_view argumentText(std::wstring_view commandLine);

// A command line as it may be shown or logged: the value of "--token" is replaced by "***".
std::wstring withoutKey(std::wstring_view commandLine);

} // namespace vorda
