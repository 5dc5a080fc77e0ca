// Speed of the walk compared with one thread that uses FindFirstFileExW and with
// std::filesystem. All alternate within one run, since the machine's speed drifts; compare
// medians and ratios.
//
// walk_win.exe FOLDER [ROUNDS]
#include "base/text.h"
#include "scan/walk/walk.h"

#include <windows.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace {

using namespace vorda;

struct Totals {
  std::uint64_t files = 0;
  std::uint64_t bytes = 0;
  bool operator==(const Totals&) const = default;
};

void findFiles(const std::wstring& folder, Totals& totals) {
  WIN32_FIND_DATAW data;
  const HANDLE find = FindFirstFileExW((folder + L"\\*").c_str(), FindExInfoBasic, &data,
                                       FindExSearchNameMatch, nullptr, FIND_FIRST_EX_LARGE_FETCH);
  if (find == INVALID_HANDLE_VALUE) return;
  do {
    const std::wstring_view name = data.cFileName;
    if (name == L"." || name == L"..") continue;
    if ((data.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) continue;
    if ((data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
      findFiles(folder + L"\\" + data.cFileName, totals);
    } else {
      ++totals.files;
      totals.bytes += (static_cast<std::uint64_t>(data.nFileSizeHigh) << 32) | data.nFileSizeLow;
    }
  } while (FindNextFileW(find, &data) != FALSE);
  FindClose(find);
}

Totals oneThread(const std::wstring& root) {
  Totals totals;
  findFiles(root, totals);
  return totals;
}

Totals standardLibrary(const std::wstring& root) {
  Totals totals;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
    if (!entry.is_regular_file()) continue;
    ++totals.files;
    totals.bytes += entry.file_size();
  }
  return totals;
}

Totals walkWith(const std::wstring& root, unsigned workers) {
  const auto folders = systemFolders();
  ScanProgress progress;
  ScanOptions options;
  options.root = root;
  ScanResult result;
  walk(*folders, progress, options, result, workers);
  return {result.fileCount, result.byteCount};
}

struct Contender {
  std::string name;
  std::function<Totals()> run;
  std::vector<double> seconds;

  double median() const {
    std::vector<double> sorted = seconds;
    std::sort(sorted.begin(), sorted.end());
    return sorted[sorted.size() / 2];
  }
};

} // namespace

extern "C" int wmain(int count, wchar_t** arguments) {
  if (count < 2) {
    std::fprintf(stderr, "usage: walk_win.exe FOLDER [ROUNDS]\n");
    return 2;
  }
  const std::wstring root = arguments[1];
  const int rounds =
      count > 2 ? std::max(1, static_cast<int>(std::wcstol(arguments[2], nullptr, 10))) : 7;
  std::vector<Contender> contenders;
  contenders.push_back({"FindFirstFileExW, 1 thread", [&root] { return oneThread(root); }, {}});
  contenders.push_back({"std::filesystem", [&root] { return standardLibrary(root); }, {}});
  contenders.push_back({"walk, default workers", [&root] { return walkWith(root, 0); }, {}});
  for (const unsigned workers : {1U, 2U, 3U, 4U, 8U, 16U}) {
    contenders.push_back({"walk, " + std::to_string(workers) + " workers",
                          [&root, workers] { return walkWith(root, workers); },
                          {}});
  }
  const Totals expected = oneThread(root);
  for (int round = 0; round < rounds; ++round) {
    for (Contender& contender : contenders) {
      const auto start = std::chrono::steady_clock::now();
      const Totals totals = contender.run();
      const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
      contender.seconds.push_back(took.count());
      if (totals == expected) continue;
      std::fprintf(stderr, "%s counted %llu files, %llu bytes; expected %llu, %llu\n",
                   contender.name.c_str(), totals.files, totals.bytes, expected.files,
                   expected.bytes);
      return 1;
    }
  }
  std::printf("%llu files, medians of %d rounds\n", expected.files, rounds);
  double best = contenders[2].median();
  for (std::size_t i = 2; i < contenders.size(); ++i) {
    best = std::min(best, contenders[i].median());
  }
  std::printf("%-28s %8s %14s %14s %10s\n", "", "seconds", "x 1 thread", "x std", "over best");
  for (const Contender& contender : contenders) {
    const double seconds = contender.median();
    std::printf("%-28s %8.3f %14.2f %14.2f %9.0f%%\n", contender.name.c_str(), seconds,
                contenders[0].median() / seconds, contenders[1].median() / seconds,
                (seconds / best - 1) * 100);
  }
  return 0;
}
