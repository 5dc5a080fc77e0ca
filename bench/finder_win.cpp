// The file finder: a search by name alone against the bare walk of the same tree, taking
// turns; and what a search holds in memory that finds 500,000 of 1,000,000 files.
//
// finder_win.exe FOLDER [ROUNDS]
#include "api/search_form.h"
#include "base/text.h"
#include "measure_win.h"
#include "scan/walk/walk.h"
#include "search/finder.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

using namespace vorda;
using bench::median;
using bench::secondsOf;

// A thousand folders of a thousand files each, none of which is held.
class ManyFiles final : public FolderSource {
public:
  static constexpr std::uint32_t kEach = 1000;

  // Every second file is a hit; sizes are a permutation of the numbers below a prime.
  static std::uint64_t sizeOf(std::uint64_t number) { return number * 610'639 % 1'000'003; }
  static std::wstring nameOf(std::uint64_t number) {
    return (number % 2 == 0 ? L"hit " : L"other ") + std::to_wstring(number) +
           L" of a usual length.dat";
  }

  std::unique_ptr<FolderReader> reader() override { return std::make_unique<Reader>(); }
  PathFacts facts(const std::wstring&) override { return {true, true, false, 0}; }
  std::wstring absolute(const std::wstring& path) override { return path; }

private:
  class Reader final : public FolderReader {
  public:
    bool open(const std::wstring& folder, bool) override {
      root_ = folder.size() <= 3;
      at_ = 0;
      if (!root_) number_ = std::wcstoul(folder.c_str() + folder.rfind(L' '), nullptr, 10);
      return true;
    }
    bool next(FolderItem& item) override {
      if (at_ == kEach) return false;
      const std::uint64_t number = std::uint64_t{number_} * kEach + at_;
      name_ = root_ ? L"a folder " + std::to_wstring(at_) : nameOf(number);
      item = {name_, root_ ? 0 : sizeOf(number), 0, root_, false, false};
      ++at_;
      return true;
    }
    bool endedEarly() const override { return false; }

  private:
    std::wstring name_;
    std::uint32_t number_ = 0;
    std::uint32_t at_ = 0;
    bool root_ = false;
  };
};

struct Finder {
  explicit Finder(FolderSource& source) {
    steps.turboAllowed = [](const std::wstring&) { return TurboVerdict{false, kNotLocal}; };
    steps.walk = [&source](ScanProgress& progress, const ScanOptions& options, ScanResult& result) {
      return walk(source, progress, options, result);
    };
  }

  // The result document of a search of this folder.
  std::string find(const std::wstring& root, const std::string& fields) {
    const auto job = std::make_shared<Job>();
    job->target = root;
    job->done = true;
    jobs.add(job);
    const FormFields form("ids=" + std::to_string(job->id) + "&" + fields);
    run.start(finderWork(parseFinderRequest(form), jobs, steps));
    while (run.running()) Sleep(1);
    jobs.remove(job->id);
    return *run.status().document;
  }

  ScanSteps steps;
  JobTable jobs;
  BackgroundRun run;
};

void compareWithWalk(const std::wstring& root, int rounds) {
  const auto folders = systemFolders();
  Finder finder(*folders);
  std::vector<double> bare;
  std::vector<double> searched;
  std::vector<double> ratios;
  std::uint64_t files = 0;
  std::size_t bytes = 0;
  for (int round = 0; round < rounds; ++round) {
    bare.push_back(secondsOf([&] {
      ScanProgress progress;
      ScanOptions options;
      options.root = root;
      ScanResult result;
      walk(*folders, progress, options, result);
      files = result.fileCount;
    }));
    searched.push_back(
        secondsOf([&] { bytes = finder.find(root, "names=document*7*&sort=new").size(); }));
    ratios.push_back(searched.back() / bare.back());
  }
  std::printf("%llu files, medians of %d rounds: walk %.3f s, search by name %.3f s (a document of "
              "%zu bytes), ratio %.2f\n",
              files, rounds, median(bare), median(searched), bytes, median(ratios));
}

double peakMegabytes() { return bench::memory().peak / 1e6; }

// Whether the document lists exactly the 20,000 largest hits, largest first.
bool isRight(const std::string& document) {
  std::vector<std::uint64_t> hits;
  for (std::uint64_t i = 0; i < 1'000'000; i += 2) hits.push_back(i);
  std::sort(hits.begin(), hits.end(), [](std::uint64_t a, std::uint64_t b) {
    return ManyFiles::sizeOf(a) > ManyFiles::sizeOf(b);
  });
  std::size_t at = 0;
  for (std::size_t i = 0; i < kFinderHits; ++i) {
    const std::string name = toUtf8(L"\\\\" + ManyFiles::nameOf(hits[i]));
    at = document.find("{\"p\":", at);
    if (at == std::string::npos || document.find(name + "\"", at) > document.find('}', at)) {
      return false;
    }
    ++at;
  }
  return document.find("{\"p\":", at) == std::string::npos;
}

void measureMemory() {
  ManyFiles source;
  Finder finder(source);
  const double before = peakMegabytes();
  std::string document;
  const double seconds =
      secondsOf([&] { document = finder.find(L"M:\\", "names=hit*&sort=size"); });
  std::printf("1,000,000 files, 500,000 hits: %.2f s, peak memory %+.1f MB (%.1f before), the best "
              "20,000 %s, a document of %zu bytes ending %s\n",
              seconds, peakMegabytes() - before, before,
              isRight(document) ? "are right" : "ARE WRONG", document.size(),
              document.substr(document.find("\"shown\"")).c_str());
}

} // namespace

extern "C" int wmain(int count, wchar_t** arguments) {
  if (count < 2) {
    std::fprintf(stderr, "usage: finder_win.exe FOLDER [ROUNDS]\n");
    return 2;
  }
  measureMemory();
  compareWithWalk(arguments[1],
                  count > 2 ? static_cast<int>(std::wcstol(arguments[2], nullptr, 10)) : 7);
  return 0;
}
