// Output of an ssh host, fed in chunks whose size is the first byte. The result does not depend
// on the chunks, and its totals add up.
#include "scan/ssh/ssh_output.h"

#include <array>
#include <cstdlib>

using namespace vorda;

namespace {

void require(bool holds) {
  if (!holds) std::abort();
}

// Totals that must not depend on the chunk size.
std::array<std::uint64_t, 6> listed(std::string_view bytes, std::size_t step) {
  ScanOptions options;
  options.fileListThreshold = 0;
  ScanProgress progress;
  ScanResult result;
  ListingTree tree("/d", options, result);
  SshOutput output(tree, result, progress);
  for (; !bytes.empty(); bytes.remove_prefix(std::min(step, bytes.size()))) {
    output.feed(bytes.substr(0, step));
  }
  output.finish();
  std::uint64_t own = 0;
  for (std::size_t i = 0; i < result.folders.size(); ++i) {
    require(i == 0 ? result.folders[i].parent == kNoFolder : result.folders[i].parent < i);
    own += result.folders[i].ownBytes;
  }
  std::uint64_t typed = 0;
  for (const auto& [key, total] : result.types) typed += total.bytes;
  require(own == result.byteCount && typed == own && result.files.size() == result.fileCount);
  return {own,
          result.fileCount,
          result.folders.size(),
          output.linesListed(),
          output.permissionDenied() ? 1U : 0U,
          output.fileSystem().totalBytes};
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
  const auto whole = listed(bytes, size);
  require(whole == listed(bytes, data[0] + std::size_t{1}) && whole[2] <= size);
  return 0;
}
