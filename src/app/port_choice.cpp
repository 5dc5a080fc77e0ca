#include "app/port_choice.h"

namespace vorda {

namespace {

// A copy that is just ending, or being replaced by an elevated one, has this long (with
// the pauses about three seconds) to leave its port.
constexpr unsigned kAttempts = 15;
constexpr unsigned kPauseMs = 200;

constexpr int kPortsBehindAsked = 12;
constexpr int kPortsBehindStored = 11;

bool insistOn(std::uint16_t port, const PortTrial& trial, std::wstring& reason) {
  for (unsigned attempt = 0; attempt < kAttempts; ++attempt) {
    if (attempt > 0) trial.sleep(kPauseMs);
    if (trial.start(port, reason)) return true;
  }
  return false;
}

// The row ends at the last port there is; it does not begin anew at the first.
bool tryRow(int first, int last, const PortTrial& trial, std::wstring& reason) {
  for (int port = first; port <= last && isPortNumber(port); ++port) {
    if (trial.start(static_cast<std::uint16_t>(port), reason)) return true;
  }
  return false;
}

} // namespace

bool startOnSomePort(const PortRequest& request, const PortTrial& trial, std::wstring& reason) {
  if (request.asked != 0) {
    // A number that is no port is refused instead of being cut to 16 bits, which would
    // open a port that nobody asked for; waiting for it or moving on would not help.
    if (!isPortNumber(request.asked)) {
      reason = L"there is no port " + std::to_wstring(request.asked) + L": ports are 1 to 65535";
      return false;
    }
    const auto port = static_cast<std::uint16_t>(request.asked);
    return insistOn(port, trial, reason) ||
           (!request.network && tryRow(port + 1, port + kPortsBehindAsked, trial, reason));
  }
  const std::uint16_t usual = request.network ? kDefaultAgentPort : kDefaultPort;
  const std::uint16_t port =
      isPortNumber(request.stored) ? static_cast<std::uint16_t>(request.stored) : usual;
  if (!request.network) {
    return tryRow(port, port + kPortsBehindStored, trial, reason) || trial.start(0, reason);
  }
  if (insistOn(port, trial, reason)) return true;
  reason = L"port " + std::to_wstring(port) + L" is in use: " + reason;
  return false;
}

std::wstring startFailureText(const PortRequest& request, const std::wstring& reason) {
  std::wstring text = L"Vorda could not start.\n\n";
  // Of a number that is no port it would be wrong to say that it is in use.
  if (isPortNumber(request.asked)) {
    text += L"Port " + std::to_wstring(request.asked) + L" is in use.";
    if (request.network) {
      text += L"\n\nAn agent does not move to another port: the firewall rule and the machine "
              L"that scans both point at this one. Free the port, or set a different agent port.";
    }
    text += L"\n\n";
  }
  return text + reason;
}

} // namespace vorda
