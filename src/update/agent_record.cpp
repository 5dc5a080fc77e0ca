#include "update/agent_record.h"

#include <algorithm>

namespace vorda {

namespace {

// How a record begins; part of the stored format.
constexpr std::wstring_view kService = L"service|";
constexpr std::wstring_view kSystem = L"system|";
constexpr std::wstring_view kAccount = L"account|";

constexpr std::wstring_view kHidden = L"***";
constexpr std::wstring_view kBlanks = L" \t";

// Where the argument at the start of a text ends: at the first blank outside quotation marks. A
// quotation mark after an odd number of backslashes is part of the argument.
std::size_t argumentEnd(std::wstring_view text) {
  bool quoted = false;
  bool escaped = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (!quoted && kBlanks.find(text[i]) != std::wstring_view::npos) return i;
    if (text[i] == L'"' && !escaped) quoted = !quoted;
    escaped = text[i] == L'\\' && !escaped;
  }
  return text.size();
}

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

std::wstring withoutKey(std::wstring_view commandLine) {
  std::wstring_view rest = argumentText(commandLine);
  std::wstring shown(commandLine.substr(0, commandLine.size() - rest.size()));
  bool isKey = false;
  while (!rest.empty()) {
    const std::size_t start = std::min(rest.find_first_not_of(kBlanks), rest.size());
    shown.append(rest.substr(0, start));
    rest.remove_prefix(start);
    const std::wstring_view argument = rest.substr(0, argumentEnd(rest));
    shown.append(isKey && !argument.empty() ? kHidden : argument);
    rest.remove_prefix(argument.size());
    std::wstring option(argument);
    std::erase(option, L'"');
    isKey = !isKey && option == kTokenOption;
  }
  return shown;
}

} // namespace vorda
