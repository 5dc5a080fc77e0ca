#include "api/wrong_keys.h"

#include "http/message.h"

#include <algorithm>

namespace vorda {

bool WrongKeys::refuses(std::uint32_t address, TimePoint now) {
  const std::lock_guard lock(mutex_);
  const auto at = guesses_.find(address);
  return at != guesses_.end() && at->second.count >= kAllowed && now - at->second.began < kPeriod;
}

void WrongKeys::note(std::uint32_t address, TimePoint now) {
  if (isLoopbackAddress(address)) return;
  const std::lock_guard lock(mutex_);
  if (!guesses_.contains(address)) makeRoom(now);
  Guesses& guesses = guesses_.try_emplace(address, Guesses{now}).first->second;
  if (now - guesses.began >= kPeriod) guesses = {now};
  if (++guesses.count == kAllowed) guesses.began = now;
}

// Forgets what is over, and the oldest when that is not enough.
void WrongKeys::makeRoom(TimePoint now) {
  if (guesses_.size() < kMaxAddresses) return;
  std::erase_if(guesses_, [now](const auto& one) { return now - one.second.began >= kPeriod; });
  if (guesses_.size() < kMaxAddresses) return;
  guesses_.erase(
      std::min_element(guesses_.begin(), guesses_.end(), [](const auto& a, const auto& b) {
        return a.second.began < b.second.began;
      }));
}

} // namespace vorda
