#include "update/hand_over.h"

#include "base/text.h"

#include <algorithm>

namespace vorda {

namespace {

constexpr std::uint64_t kHour = 36'000'000'000;

bool belongsTo(const HandOver& list, std::wstring_view folder) {
  return list.folder.empty() || equalsIgnoreCase(list.folder, folder);
}

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

HandOver listOf(const HandOvers& lists, std::wstring_view folder, std::uint64_t now) {
  const HandOver* found = nullptr;
  for (const HandOver& list : lists) {
    if (!belongsTo(list, folder)) continue;
    if (isFresh(list, now)) return list;
    if (found == nullptr) found = &list;
  }
  return found == nullptr ? HandOver{} : *found;
}

HandOvers withoutList(HandOvers lists, std::wstring_view folder, std::uint64_t now) {
  std::erase_if(lists, [folder, now](const HandOver& list) {
    return belongsTo(list, folder) || !isFresh(list, now);
  });
  return lists;
}

HandOvers withList(HandOvers lists, HandOver list, std::uint64_t now) {
  HandOvers all;
  HandOvers others = withoutList(std::move(lists), list.folder, now);
  all.push_back(std::move(list));
  for (HandOver& other : others) all.push_back(std::move(other));
  return all;
}

} // namespace vorda
