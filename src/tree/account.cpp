#include "tree/account.h"

#include "base/paths.h"
#include "base/text.h"

#include <algorithm>
#include <array>
#include <numeric>

namespace vorda {

namespace {

enum Place : std::uint8_t { kFiles, kSystem, kShadow, kBin, kPlaces };

// In bytes, without what has a row of its own.
struct PlaceSums {
  std::uint64_t disk = 0; // of files, with streams
  std::uint64_t streams = 0;
  std::uint64_t tables = 0;
};

bool isOneOf(std::wstring_view name, std::initializer_list<std::wstring_view> names) {
  return std::any_of(names.begin(), names.end(),
                     [name](std::wstring_view one) { return equalsIgnoreCase(name, one); });
}

class Accountant {
public:
  explicit Accountant(const ScanResult& result) : result_(result) {}

  Account account() {
    Account account;
    if (result_.disk.empty()) return account;
    findPlaces();
    sumPlaces();
    account.rows = rows();
    const VolumeFacts& volume = result_.volume;
    account.cluster = volume.counted ? volume.cluster : 0;
    account.fromBitmap = volume.fromBitmap;
    if (!volume.wholeVolume || !volume.usedKnown) return account;
    // What was deleted since is used no more.
    const std::uint64_t now = result_.disk[0].totalDisk;
    const std::uint64_t gone = volume.diskThen - std::min(volume.diskThen, now);
    const std::uint64_t come = now - std::min(now, volume.diskThen);
    account.used = volume.used - std::min(volume.used, gone) + come;
    std::uint64_t explained = 0;
    for (const AccountRow& row : account.rows) {
      if (!row.info) explained += row.bytes.value_or(0);
    }
    account.unexplained = static_cast<std::int64_t>(*account.used - explained);
    return account;
  }

private:
  // The place of each folder. In a scan of a part of a drive, all are ordinary files.
  void findPlaces() {
    place_.assign(result_.folders.size(), kFiles);
    if (!result_.volume.wholeVolume) return;
    std::vector<std::uint32_t> pending;
    for (std::uint32_t child = result_.folders[0].firstChild; child != kNoFolder;
         child = result_.folders[child].nextSibling) {
      const std::wstring& name = result_.folders[child].name;
      if (isOneOf(name, {L"$Recycle.Bin", L"RECYCLER", L"RECYCLED"})) {
        place_[child] = kBin;
      } else if (isOneOf(name, {L"System Volume Information"})) {
        place_[child] = kShadow;
      } else if (result_.volume.counted && result_.disk[child].fixed &&
                 isOneOf(name, {L"$Extend"})) {
        place_[child] = kSystem;
      }
      if (place_[child] != kFiles) {
        named_[place_[child]] = child;
        pending.push_back(child);
      }
    }
    while (!pending.empty()) {
      const std::uint32_t folder = pending.back();
      pending.pop_back();
      for (std::uint32_t child = result_.folders[folder].firstChild; child != kNoFolder;
           child = result_.folders[child].nextSibling) {
        // The contents of deduplicated files, which are ordinary data.
        const bool chunks =
            place_[folder] == kShadow && isOneOf(result_.folders[child].name, {L"Dedup"});
        place_[child] = chunks ? kFiles : place_[folder];
        if (!chunks) pending.push_back(child);
      }
    }
  }

  void sumPlaces() {
    for (std::size_t i = 0; i < result_.disk.size(); ++i) {
      const FolderDisk& folder = result_.disk[i];
      PlaceSums& sums = sums_[place_[i]];
      sums.disk += folder.ownDisk;
      sums.streams += folder.ownStreams;
      sums.tables += folder.ownTables;
    }
  }

  static std::uint64_t sumOf(const std::vector<AccountPart>& parts) {
    return std::accumulate(
        parts.begin(), parts.end(), std::uint64_t{0},
        [](std::uint64_t sum, const AccountPart& part) { return sum + part.bytes; });
  }

  std::uint64_t all(Place place) const { return sums_[place].disk + sums_[place].tables; }

  AccountRow row(std::string_view code, std::uint64_t bytes) const {
    AccountRow row;
    row.code = code;
    row.bytes = bytes;
    row.exact = result_.volume.exact;
    return row;
  }

  AccountRow placeRow(std::string_view code, Place place, const wchar_t* folder) const {
    AccountRow made = row(code, all(place));
    if (!result_.volume.wholeVolume) return made;
    const std::uint32_t index = named_[place];
    made.path = joinPath(result_.rootPath,
                         index == kNoFolder ? std::wstring(folder) : result_.folders[index].name);
    return made;
  }

  std::vector<AccountRow> rows() const {
    const VolumeFacts& volume = result_.volume;
    const std::uint64_t paging = sumOf(volume.paging);
    const std::uint64_t system = sumOf(volume.system);
    const PlaceSums& files = sums_[kFiles];
    // Streams of files of the file system count with those files.
    const std::uint64_t apart = files.streams + paging + system;
    std::vector<AccountRow> rows;
    rows.push_back(row("files", files.disk - std::min(files.disk, apart)));
    if (volume.counted) {
      rows.push_back(row("streams", files.streams));
      rows.push_back(row("tables", files.tables));
      AccountRow own = row("system", all(kSystem) + system);
      own.parts = volume.system;
      if (all(kSystem) != 0) own.parts.push_back({L"$Extend", all(kSystem)});
      std::sort(own.parts.begin(), own.parts.end(), [](const AccountPart& a, const AccountPart& b) {
        return a.bytes != b.bytes ? a.bytes > b.bytes : a.name < b.name;
      });
      rows.push_back(std::move(own));
    }
    rows.push_back(shadowRow());
    rows.push_back(reservedRow());
    rows.push_back(row("paging", paging));
    rows.back().parts = volume.paging;
    rows.push_back(placeRow("bin", kBin, L"$Recycle.Bin"));
    AccountRow unreadable;
    unreadable.code = "unreadable";
    unreadable.count = result_.unreadableFolders;
    unreadable.exact = false;
    rows.push_back(std::move(unreadable));
    rows.push_back(row("cloud", result_.disk[0].totalCloud));
    rows.back().info = true;
    rows.push_back(twiceRow());
    rows.push_back(row("unlisted", volume.unlistedBytes));
    rows.back().info = true;
    rows.back().count = volume.unlistedFiles;
    return rows;
  }

  AccountRow shadowRow() const {
    AccountRow shadow = placeRow("shadow", kShadow, L"System Volume Information");
    if (result_.volume.counted || !result_.volume.wholeVolume) return shadow;
    // The walk cannot read that folder; what it could read of it is part of what Windows says.
    shadow.told = result_.volume.shadowKnown;
    shadow.exact = false;
    if (shadow.told) {
      shadow.bytes = std::max(*shadow.bytes, result_.volume.shadow);
    } else if (*shadow.bytes == 0) {
      shadow.bytes.reset();
    }
    return shadow;
  }

  AccountRow reservedRow() const {
    AccountRow reserved = row("reserved", result_.volume.reserved);
    reserved.told = result_.volume.reservedKnown;
    reserved.exact = false;
    if (!reserved.told) reserved.bytes.reset();
    reserved.info = result_.volume.fromBitmap;
    return reserved;
  }

  AccountRow twiceRow() const {
    std::uint64_t bytes = 0;
    std::uint64_t names = 0;
    const LinkTable& links = result_.links;
    for (const LinkedFile& file : links.files) {
      if (links.complete) break; // there, sizes count once
      std::uint64_t listed = 0;
      for (std::uint32_t n = 0; n < file.count; ++n) {
        if (links.names[file.first + n].type != kNoType) ++listed;
      }
      if (listed < 2) continue;
      names += listed - 1;
      bytes += file.size * (listed - 1);
    }
    AccountRow twice = row("twice", bytes);
    twice.info = true;
    twice.count = names;
    return twice;
  }

  const ScanResult& result_;
  std::vector<Place> place_;
  std::array<std::uint32_t, kPlaces> named_{kNoFolder, kNoFolder, kNoFolder, kNoFolder};
  std::array<PlaceSums, kPlaces> sums_{};
};

} // namespace

Account accountOf(const ScanResult& result) { return Accountant(result).account(); }

} // namespace vorda
