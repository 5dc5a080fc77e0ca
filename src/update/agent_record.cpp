#include "update/agent_record.h"

#include <algorithm>

namespace vorda {

namespace {

// How a record begins; part of the stored format.
constexpr std::wstring_view kService = L"service|";
constexpr std::wstring_view kSystem = L"system|";
constexpr std::wstring_view kAccount = L"account|";

} // namespace

CopyKind kindOfCopy(const std::vector<std::wstring>& arguments) {
  const auto has = [&arguments](std::wstring_view option) {
    return std::find(arguments.begin(), arguments.end(), option) != arguments.end();
  };
  if (has(kServiceOption)) return CopyKind::service;
  return has(kAgentOption) || has(kServerOption) ? CopyKind::agent : CopyKind::page;
}

std::wstring serviceRecord() { return std::wstring(kService); }

std::wstring agentRecord(std::wstring_view account, std::wstring_view commandLine) {
  std::wstring text(account == kSystemAccount ? kSystem : kAccount);
  if (account != kSystemAccount) text.append(account).append(L"|");
  return text.append(commandLine);
}

AgentRecord readRecord(std::wstring_view text) {
  using Kind = AgentRecord::Kind;
  if (text.starts_with(kService)) return {Kind::service, {}};
  if (text.starts_with(kSystem)) return {Kind::system, std::wstring(text.substr(kSystem.size()))};
  const std::size_t end = text.find(L'|', kAccount.size());
  if (!text.starts_with(kAccount) || end == std::wstring_view::npos) return {};
  return {Kind::account, std::wstring(text.substr(end + 1))};
}

std::wstring_view argumentText(std::wstring_view commandLine) {
  // Unlike in arguments, a backslash in the program name escapes nothing.
  const bool quoted = commandLine.starts_with(L'"');
  const std::size_t end = quoted ? commandLine.find(L'"', 1) : commandLine.find_first_of(L" \t");
  if (end == std::wstring_view::npos) return {};
  return commandLine.substr(quoted ? end + 1 : end);
}

} // namespace vorda
