// Runs a fuzz target over kept inputs, without a fuzzing engine: every file of every folder named on
// the command line. A folder without files is an error, since it would prove nothing.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

bool runFile(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
  if (!stream.is_open() || stream.bad()) {
    std::fprintf(stderr, "cannot read %s\n", file.c_str());
    return false;
  }
  // A buffer of exactly this size lets the address sanitizer see a read past the end.
  const std::vector<std::uint8_t> exact(bytes.begin(), bytes.end());
  std::fprintf(stderr, "%s (%zu bytes)\n", file.c_str(), exact.size());
  LLVMFuzzerTestOneInput(exact.data(), exact.size());
  return true;
}

bool runFolder(const char* folder) {
  std::error_code error;
  std::size_t count = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
    if (!entry.is_regular_file()) continue;
    if (!runFile(entry.path())) return false;
    ++count;
  }
  if (error || count == 0) {
    std::fprintf(stderr, "no inputs in %s\n", folder);
    return false;
  }
  std::printf("%s: %zu inputs\n", folder, count);
  return true;
}

} // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: %s folder...\n", argv[0]);
    return 2;
  }
  for (int i = 1; i < argc; ++i) {
    if (!runFolder(argv[i])) return 1;
  }
  return 0;
}
