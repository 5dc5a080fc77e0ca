// Guessing a key over the network is made slow: an address that has shown too many wrong ones is
// refused for a while, whatever it shows then.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>

namespace vorda {

class WrongKeys {
public:
  using TimePoint = std::chrono::steady_clock::time_point;

  static constexpr unsigned kAllowed = 20; // within kPeriod
  static constexpr std::chrono::seconds kPeriod{60};
  static constexpr std::size_t kMaxAddresses = 4'096; // remembered at a time

  // Addresses are IPv4, the first byte in the highest bits. Loopback is never refused.
  bool refuses(std::uint32_t address, TimePoint now);
  void note(std::uint32_t address, TimePoint now);

private:
  struct Guesses {
    TimePoint began; // of the period; once there are kAllowed, of the refusal
    unsigned count = 0;
  };
  void makeRoom(TimePoint now);

  std::mutex mutex_;
  std::map<std::uint32_t, Guesses> guesses_;
};

} // namespace vorda
