// Builds a scan result from an ssh listing in a file: seconds, and memory per file, with the
// default list of kept files and with all files kept.
//
// ssh_listing_win.exe ROOT FILE
#include "measure_win.h"
#include "scan/ssh/ssh_scan.h"

#include <cstdio>

namespace {

using namespace vorda;
using bench::memory;
using bench::secondsOf;

class FileAsSsh final : public SshProcess {
public:
  explicit FileAsSsh(std::FILE* file) : file_(file) {}
  Read read(char* buffer, std::size_t size, std::chrono::milliseconds,
            std::size_t& count) override {
    count = std::fread(buffer, 1, size, file_);
    return count > 0 ? Read::bytes : Read::end;
  }
  void end() override {}
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
  const double before = memory().now;
  bool done = false;
  const double seconds =
      secondsOf([&] { done = sshScan(start, progress, options, Secret(), result, facts); });
  if (!done) return;
  const auto files = static_cast<double>(result.fileCount);
  std::printf("  %.0f files in %zu folders, %zu kept: %.2f s (%.0f ns a file); bytes a file: %.0f "
              "held, %.0f "
              "at the peak\n",
              files, result.folders.size(), result.files.size(), seconds, seconds * 1e9 / files,
              (memory().now - before) / files, (memory().peak - before) / files);
}

} // namespace

extern "C" int wmain(int argc, wchar_t** argv) {
  if (argc != 3) return 2;
  measure(argv[1], argv[2], kFileListThreshold);
  measure(argv[1], argv[2], kFileListThreshold);
  measure(argv[1], argv[2], 0);
  return 0;
}
