// Which port the server listens on: what is tried, how often and in which order, and the
// text for people when nothing worked.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace vorda {

inline constexpr std::uint16_t kDefaultPort = 7666;      // of the interactive tool
inline constexpr std::uint16_t kDefaultAgentPort = 7777; // of agent, server and service

constexpr bool isPortNumber(std::int64_t number) { return number >= 1 && number <= 65'535; }

struct PortRequest {
  std::int32_t asked = 0;   // --port as given; 0: not given
  std::uint32_t stored = 0; // this machine's setting, see readPortSetting
  bool network = false;     // other machines reach us at this port, so it must not move
};

// How to try a port and to wait; the clock is the caller's.
struct PortTrial {
  // As startServer: false with the reason. Port 0 lets the system choose.
  std::function<bool(std::uint16_t port, std::wstring& reason)> start;
  std::function<void(unsigned milliseconds)> sleep;
};

// False with the reason when the server could not be started on any port.
bool startOnSomePort(const PortRequest& request, const PortTrial& trial, std::wstring& reason);

std::wstring startFailureText(const PortRequest& request, const std::wstring& reason);

} // namespace vorda
