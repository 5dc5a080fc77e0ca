#include "update/hand_over.h"

#include <algorithm>

namespace vorda {

namespace {

constexpr std::uint64_t kHour = 36'000'000'000;

} // namespace

bool isFresh(const HandOver& list, std::uint64_t now) {
  return list.written <= now && now - list.written < kHour;
}

HandOver withAgent(HandOver list, const std::wstring& record, std::uint64_t now) {
  if (!isFresh(list, now)) list = {};
  if (std::find(list.agents.begin(), list.agents.end(), record) == list.agents.end()) {
    list.agents.push_back(record);
  }
  list.log.emplace_back(L"asked to close during an installation, noted for restart");
  list.written = now;
  return list;
}

} // namespace vorda
