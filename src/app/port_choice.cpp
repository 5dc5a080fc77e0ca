#include "app/port_choice.h"

namespace vorda {

namespace {

constexpr unsigned kPauseMs = 200;
// About three seconds, in which a copy that is quitting or being replaced by an elevated one can
// release the port.
constexpr unsigned kBrieflyMs = 14 * kPauseMs;
// So long for a port that nobody uses and Windows refuses all the same.
constexpr unsigned kPatientlyMs = 20'000;

constexpr int kTriesAfterAsked = 12;

// Tries the port again and again for so long.
bool tryFor(unsigned milliseconds, std::uint16_t port, const PortTrial& trial,
            std::wstring& reason) {
  for (unsigned waited = 0; !trial.start(port, reason); waited += kPauseMs) {
    if (waited >= milliseconds) return false;
    trial.sleep(kPauseMs);
  }
  return true;
}

bool tryRepeatedly(std::uint16_t port, const PortTrial& trial, std::wstring& reason) {
  return tryFor(kBrieflyMs, port, trial, reason) ||
         (!trial.inUse(port) && tryFor(kPatientlyMs - kBrieflyMs, port, trial, reason));
}

// Another copy that is running keeps its port, and this one moves on at once.
bool tryUnlessInUse(std::uint16_t port, const PortTrial& trial, std::wstring& reason) {
  return trial.start(port, reason) ||
         (!trial.inUse(port) && tryFor(kBrieflyMs, port, trial, reason));
}

// Tries the ports in order, up to 65535 at most.
bool tryRange(int first, int last, const PortTrial& trial, std::wstring& reason) {
  for (int port = first; port <= last && isPortNumber(port); ++port) {
    if (trial.start(static_cast<std::uint16_t>(port), reason)) return true;
  }
  return false;
}

} // namespace

bool startOnSomePort(const PortRequest& request, const PortTrial& trial, std::wstring& reason) {
  if (request.asked != 0) {
    // Truncated to 16 bits, an invalid number would open a port that nobody asked for.
    if (!isPortNumber(request.asked)) {
      reason = L"there is no port " + std::to_wstring(request.asked) + L": ports are 1 to 65535";
      return false;
    }
    const auto port = static_cast<std::uint16_t>(request.asked);
    return tryRepeatedly(port, trial, reason) ||
           (!request.network && tryRange(port + 1, port + kTriesAfterAsked, trial, reason));
  }
  const std::uint16_t usual = request.network ? kDefaultAgentPort : kDefaultPort;
  const std::uint16_t port =
      isPortNumber(request.stored) ? static_cast<std::uint16_t>(request.stored) : usual;
  if (!request.network) {
    return tryUnlessInUse(port, trial, reason) ||
           tryRange(port + 1, port + kStoredPortTries - 1, trial, reason) || trial.start(0, reason);
  }
  if (tryRepeatedly(port, trial, reason)) return true;
  reason = L"port " + std::to_wstring(port) + L" is in use: " + reason;
  return false;
}

bool takePortAgain(std::uint16_t port, const PortTrial& trial, std::wstring& reason) {
  return tryFor(kPatientlyMs, port, trial, reason);
}

std::wstring portLostText(std::uint16_t port, const std::wstring& reason) {
  return L"Vorda was not restarted as administrator, and could not use port " +
         std::to_wstring(port) + L" again.\n\n" + reason + L"\n\nPlease start Vorda again.";
}

std::wstring startFailureText(const PortRequest& request, const std::wstring& reason) {
  std::wstring text = L"Vorda could not start.\n\n";
  // An invalid port number is not in use.
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

std::wstring runningText(std::uint32_t port) {
  return L"Vorda is at http://127.0.0.1:" + std::to_wstring(port) +
         L"/\nPress Ctrl+C to stop it, or run vorda.com --stop elsewhere.";
}

} // namespace vorda
