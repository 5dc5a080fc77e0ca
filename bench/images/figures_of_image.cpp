// figures_of_image IMAGE: what turbo says of bytes on disk on the volume in a file, as lines that
// bench/images/disk_figures.py reads.
//
//   account used BYTES unexplained BYTES cluster BYTES exact 0|1 links COUNT
//   row CODE BYTES
//   folder DISK BACK CLOUD TABLES OWN STREAMS FIXED PATH
#include "base/text.h"
#include "scan/turbo/turbo_scan.h"
#include "tree/account.h"
#include "tree/disk_sums.h"

#include <cstdio>
#include <fstream>
#include <new>

namespace {

using namespace vorda;

class ImageFile final : public Volume {
public:
  explicit ImageFile(const char* name) : file_(name, std::ios::binary) {}
  bool isOpen() const { return file_.is_open(); }

  std::size_t read(std::uint64_t offset, std::uint8_t* out, std::size_t size) override {
    file_.clear();
    file_.seekg(static_cast<std::streamoff>(offset));
    file_.read(reinterpret_cast<char*>(out), static_cast<std::streamsize>(size));
    return static_cast<std::size_t>(file_.gcount());
  }

  PageBuffer buffer(std::size_t size) override {
    constexpr std::align_val_t kPage{4096};
    return {static_cast<std::uint8_t*>(operator new(size, kPage)),
            [](std::uint8_t* at) { operator delete(at, kPage); }};
  }

private:
  std::ifstream file_;
};

void printFigures(const ScanResult& result) {
  const auto number = [](std::uint64_t value) { return std::to_string(value); };
  const Account account = accountOf(result);
  std::string text = "account used " + number(account.used.value_or(0)) + " unexplained " +
                     std::to_string(account.unexplained) + " cluster " + number(account.cluster) +
                     " exact " + (result.volume.exact ? "1" : "0") + " links " +
                     number(result.links.files.size()) + "\n";
  for (const AccountRow& row : account.rows) {
    text += "row " + std::string(row.code) + " " + number(row.bytes.value_or(0)) + "\n";
  }
  for (std::uint32_t i = 0; i < result.folders.size(); ++i) {
    const FolderDisk& disk = result.disk[i];
    text += "folder";
    for (const std::uint64_t value : {disk.totalDisk, disk.totalBack, disk.totalCloud,
                                      disk.ownTables, disk.ownDisk, disk.ownStreams}) {
      text += " " + number(value);
    }
    text += std::string(disk.fixed ? " 1 " : " 0 ") + toUtf8(folderPath(result.folders, i, L'/')) +
            "\n";
  }
  std::fputs(text.c_str(), stdout);
}

} // namespace

int main(int count, char** arguments) {
  if (count != 2) {
    std::fprintf(stderr, "usage: figures_of_image IMAGE\n");
    return 2;
  }
  ScanProgress progress;
  ScanOptions options;
  options.root = L"d:";
  ScanResult result;
  const auto open = [arguments](wchar_t) -> OpenedVolume {
    auto image = std::make_unique<ImageFile>(arguments[1]);
    if (!image->isOpen()) return {nullptr, kMftOpenFailed};
    return {std::move(image), {}};
  };
  if (!turboScan(open, progress, options, result)) {
    std::fprintf(stderr, "not read: %s\n", progress.texts().failure.c_str());
    return 1;
  }
  result.volume.wholeVolume = true;
  sumScan(result, progress);
  printFigures(result);
  return 0;
}
