#include "update/installer_steps.h"

namespace vorda {

namespace {

// The Windows error codes that are reported for records that are refused.
constexpr unsigned long kBadArguments = 160; // ERROR_BAD_ARGUMENTS
constexpr unsigned long kInvalidData = 13;   // ERROR_INVALID_DATA

std::wstring aboutService(const wchar_t* what) {
  return std::wstring(L"service ") + kAgentServiceName + L" " + what;
}

class Restart {
public:
  Restart(const RestartSteps& steps, StepOutcome& outcome) : steps_(steps), outcome_(outcome) {}

  void one(const AgentRecord& record) {
    using Kind = AgentRecord::Kind;
    switch (record.kind) {
    case Kind::service: return service();
    case Kind::system: return agent(record.commandLine);
    case Kind::account:
      return say(L"not restarted, runs under its own account: " + withoutKey(record.commandLine));
    case Kind::damaged: return failedWith(kInvalidData);
    }
  }

private:
  void say(std::wstring line) { outcome_.lines.push_back(std::move(line)); }
  void fail(std::wstring line) {
    say(std::move(line));
    outcome_.failed = true;
  }
  void failedWith(unsigned long code) { fail(L"restart failed (" + std::to_wstring(code) + L")"); }

  void service() {
    switch (steps_.startService()) {
    case ServiceStart::gone: return fail(aboutService(L"is gone"));
    case ServiceStart::alreadyRunning: return say(aboutService(L"was already running"));
    case ServiceStart::started: return say(aboutService(L"started"));
    case ServiceStart::refused: return fail(aboutService(L"would not start"));
    }
  }

  void agent(const std::wstring& commandLine) {
    if (steps_.kindOf(commandLine) != CopyKind::agent) return failedWith(kBadArguments);
    if (!steps_.asSystem) {
      return say(L"not restarted, this step does not run as SYSTEM: " + withoutKey(commandLine));
    }
    if (!steps_.imageExists)
      return fail(L"not restarted, " + std::wstring(kProgramName) + L" is gone: " +
                  withoutKey(commandLine));
    const unsigned long code = steps_.start(argumentText(commandLine));
    if (code != 0) return failedWith(code);
    say(L"restarted  " + withoutKey(commandLine));
  }

  const RestartSteps& steps_;
  StepOutcome& outcome_;
};

} // namespace

StepOutcome closeCopies(const CloseSteps& steps, std::wstring_view folder,
                        std::vector<std::wstring>* records) {
  StepOutcome outcome;
  bool ran = false;
  std::optional<bool> serviceStopped;
  for (const RunningCopy& copy : steps.copies) {
    const std::wstring pid = L"pid " + std::to_wstring(copy.id);
    if (!copy.opened) outcome.lines.push_back(pid + L": cannot open");
    if (copy.elsewhere) continue;
    ran = true;
    if (!copy.opened) {
      outcome.failed = true;
      continue;
    }
    // First through the service manager, which might restart a service whose process is killed.
    if (copy.kind == CopyKind::service) {
      if (const auto stopped = steps.stopService(copy.id)) serviceStopped = stopped;
    }
    if (!steps.end(copy.id)) {
      outcome.lines.push_back(pid + L": cannot close");
      outcome.failed = true;
      continue;
    }
    const bool agent = copy.kind == CopyKind::agent;
    outcome.lines.push_back(pid + L" closed  " + (agent ? L"agent  " : L"") +
                            withoutKey(copy.commandLine));
    if (agent && records != nullptr) {
      records->push_back(agentRecord(copy.account, copy.commandLine));
    }
  }
  if (serviceStopped) {
    outcome.lines.push_back(aboutService(*serviceStopped ? L"stopped" : L"could not be stopped"));
    if (!*serviceStopped) outcome.failed = true;
    if (records != nullptr) records->push_back(serviceRecord());
  }
  if (!ran) outcome.lines.push_back(L"nothing was running from " + std::wstring(folder));
  return outcome;
}

StepOutcome restartCopies(const HandOver& list, std::uint64_t now, const RestartSteps& steps) {
  if (list.agents.empty()) return {{L"nothing to restart"}, false};
  if (!isFresh(list, now)) {
    return {{L"ignored a list left behind by an earlier installation"}, false};
  }
  StepOutcome outcome;
  Restart restart(steps, outcome);
  for (const std::wstring& record : list.agents) restart.one(readRecord(record));
  return outcome;
}

} // namespace vorda
