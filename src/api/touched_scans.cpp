#include "api/touched_scans.h"

#include "api/job_change.h"
#include "api/request_fields.h"
#include "base/paths.h"
#include "base/text.h"
#include "fileops/recycle_bin.h"
#include "tree/tree_update.h"

#include <cmath>
#include <optional>
#include <utility>

namespace vorda {

namespace {

bool isSameOrBelow(const std::wstring& path, const std::wstring& folder) {
  return equalsIgnoreCase(path, folder) || liesBelow(path, folder);
}

std::wstring finalRootOf(Machine& machine, const std::wstring& root) {
  const std::wstring full = machine.fullPath(root);
  const auto place = machine.finalPlace(full);
  return place ? place->path : full;
}

std::uint64_t scaled(std::uint64_t number, std::uint64_t part, std::uint64_t whole) {
  if (part == whole) return number;
  const double share = static_cast<double>(part) / static_cast<double>(whole);
  return static_cast<std::uint64_t>(std::llround(static_cast<double>(number) * share));
}

// The path in the tree of a scan of a path below its root.
std::wstring inTree(const std::wstring& scanned, const std::wstring& root,
                    const std::wstring& real) {
  std::size_t from = root.size();
  while (from < real.size() && real[from] == L'\\') ++from;
  return joinPath(scanned, real.substr(from));
}

} // namespace

struct TouchedScans::Share {
  struct Listing {
    std::wstring path; // in the tree
    ScanResult now;
    const TypeTotals* before; // null: all types of the scan
  };
  std::vector<std::pair<std::wstring, const DeletedPath*>> gone; // by path in the tree
  std::vector<Listing> listings;
  std::uint64_t bytes = 0;
  std::uint64_t files = 0;
  bool rootGone = false;
  bool any = false;
};

TouchedScans::TouchedScans(const JobTable& jobs, Machine& machine, FolderSource& folders,
                           const Job* named)
    : machine_(machine), folders_(folders) {
  const std::wstring around = named ? finalRootOf(machine, named->rootPath()) : std::wstring();
  // Locked in order of job number, so that two operations cannot deadlock.
  for (const std::shared_ptr<Job>& job : jobs.all()) {
    if (!isUsable(*job) || job->overSsh()) continue;
    std::wstring scanned = job->rootPath();
    std::wstring root = finalRootOf(machine, scanned);
    const bool touches =
        !named || job.get() == named || isSameOrBelow(root, around) || isSameOrBelow(around, root);
    if (!touches) continue;
    std::unique_lock lock(job->fileOperation);
    if (!isUsable(*job)) continue; // it failed meanwhile
    scans_.push_back({job, std::move(scanned), std::move(root), std::move(lock)});
  }
}

std::vector<Job*> TouchedScans::jobs() const {
  std::vector<Job*> all;
  for (const Scan& scan : scans_) all.push_back(scan.job.get());
  return all;
}

void TouchedScans::update(const DeleteResult& result) {
  if (result.unknown) return fail();
  for (Scan& scan : scans_) {
    orFail(*scan.job, [&] { update(scan, result); });
  }
}

void TouchedScans::fail() {
  for (Scan& scan : scans_) failJob(*scan.job);
}

ScanResult TouchedScans::survey(const Scan& scan, const std::wstring& real) const {
  return surveyFolder(folders_, real, optionsOf(*scan.job));
}

void TouchedScans::addPath(Scan& scan, const DeletedPath& one, bool deleted, Share& share) {
  if (one.outOfReach) return;
  const std::wstring& scanned = scan.scanned;
  if (isSameOrBelow(scan.root, one.real)) { // the whole scan lies in it
    share.rootGone = deleted;
    share.any = true;
    share.listings.push_back({scanned, survey(scan, scan.root), nullptr});
  } else if (liesBelow(one.real, scan.root)) {
    const std::wstring path = inTree(scanned, scan.root, one.real);
    share.any = true;
    share.bytes += deleted ? one.measure.bytes : one.lost.bytes;
    share.files += deleted ? one.measure.files : one.lost.files;
    if (deleted) {
      share.gone.emplace_back(path, &one);
    } else if (one.folder) {
      // A folder that the shell failed to delete may have lost some of its content.
      share.listings.push_back({path, survey(scan, one.real), &one.measure.types});
    }
  }
}

void TouchedScans::update(Scan& scan, const DeleteResult& result) {
  Share share;
  for (const DeletedPath& one : result.deleted) addPath(scan, one, true, share);
  for (const DeletedPath& one : result.left) addPath(scan, one, false, share);
  if (!share.any) return;
  Job& job = *scan.job;
  const std::lock_guard lock(job.resultMutex);
  TreeUpdate update(job.result);
  const ScanOptions options = optionsOf(job);
  for (const auto& [path, one] : share.gone) {
    const PathMeasure& measure = one->measure;
    const bool isListed = options.keeps(lastName(path), measure.bytes) &&
                          options.bounds.hold(measure.bytes, 0); // its time is not known any more
    update.removePath(path, one->folder, measure.bytes, measure.files, measure.types, isListed);
  }
  for (const Share::Listing& one : share.listings) {
    const TypeTotals before = one.before ? *one.before : job.result.types;
    const std::uint64_t less = update.replaceFolder(one.path, one.now, before);
    if (!one.before) share.bytes += less;
  }
  const std::wstring& first = result.wouldDelete.front().real;
  const std::uint64_t binned =
      result.binned == 0 ? 0 : scaled(share.bytes, result.binned, result.bytes);
  if (binned > 0 && isDriveLetterPath(first)) {
    update.moveIntoBin(binFolder(first), machine_.userSid(), binned,
                       scaled(share.files, result.binned, result.bytes),
                       result.binned == result.bytes);
  }
  job.freed += share.bytes - binned;
  job.binned += binned;
  if (share.rootGone) job.rootGone = true;
  finishChange(job, update);
}

void TouchedScans::updateCleaned(const std::wstring& folder, const TypeTotals& typesBefore,
                                 std::uint64_t freed) {
  for (Scan& scan : scans_) {
    orFail(*scan.job,
           [&] { updateCleaned(scan, finalRootOf(machine_, folder), typesBefore, freed); });
  }
}

void TouchedScans::updateCleaned(Scan& scan, const std::wstring& real,
                                 const TypeTotals& typesBefore, std::uint64_t freed) {
  const bool inside = isSameOrBelow(scan.root, real);
  if (!inside && !liesBelow(real, scan.root)) return;
  Job& job = *scan.job;
  const std::wstring& scanned = scan.scanned;
  const std::wstring path = inside ? scanned : inTree(scanned, scan.root, real);
  const ScanResult now = survey(scan, inside ? scan.root : real);
  const bool gone = inside && !folders_.facts(scan.root).exists;
  const std::lock_guard lock(job.resultMutex);
  TreeUpdate update(job.result);
  const TypeTotals before = inside ? job.result.types : typesBefore;
  const std::uint64_t less = update.replaceFolder(path, now, before);
  job.freed += inside ? less : freed;
  if (gone) job.rootGone = true;
  finishChange(job, update);
}

} // namespace vorda
