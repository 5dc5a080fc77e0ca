// Builds a scan result from a listing in a file, as it comes from the other end of an ssh:
// seconds, and memory per file, the kept ones with a filter that keeps all included.
// ssh_listing_win.exe ROOT FILE
#include "scan/ssh/ssh_scan.h"

#include <windows.h>

#include <psapi.h>

#include <cstdio>

namespace {

using namespace vorda;

PROCESS_MEMORY_COUNTERS memory() {
  PROCESS_MEMORY_COUNTERS counters{};
  counters.cb = sizeof counters;
  GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
  return counters;
}

class FileAsSsh final : public SshProcess {
public:
  explicit FileAsSsh(std::FILE* file) : file_(file) {}
  Read read(char* buffer, std::size_t size, std::chrono::milliseconds,
            std::size_t& count) override {
    count = std::fread(buffer, 1, size, file_);
    return count > 0 ? Read::bytes : Read::end;
  }
  std::uint32_t close(std::chrono::milliseconds) override {
    std::fclose(file_);
    return 0;
  }

private:
  std::FILE* file_;
};

void measure(const wchar_t* root, const wchar_t* name, std::uint64_t keptFrom) {
  const SshStart start = [name](const std::wstring&, const Secret&, std::string_view& failure) {
    std::FILE* file = _wfopen(name, L"rb");
    failure = kSshMissing;
    return file == nullptr ? nullptr : std::make_unique<FileAsSsh>(file);
  };
  ScanOptions options;
  options.root = std::wstring(L"me@h:") + root;
  options.fileListThreshold = keptFrom;
  ScanProgress progress;
  ScanResult result;
  SshFacts facts;
  const auto before = static_cast<double>(memory().WorkingSetSize);
  const auto began = std::chrono::steady_clock::now();
  if (!sshScan(start, progress, options, Secret(), result, facts)) return;
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - began;
  const auto files = static_cast<double>(result.fileCount);
  std::printf("  %.0f files in %zu folders, %zu kept: %.2f s (%.0f ns a file); bytes a file: %.0f "
              "held, %.0f "
              "at the peak\n",
              files, result.folders.size(), result.files.size(), took.count(),
              took.count() * 1e9 / files,
              (static_cast<double>(memory().WorkingSetSize) - before) / files,
              (static_cast<double>(memory().PeakWorkingSetSize) - before) / files);
}

} // namespace

extern "C" int wmain(int argc, wchar_t** argv) {
  if (argc != 3) return 2;
  measure(argv[1], argv[2], kFileListThreshold);
  measure(argv[1], argv[2], kFileListThreshold);
  measure(argv[1], argv[2], 0);
  return 0;
}
