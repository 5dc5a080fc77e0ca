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

int main(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    std::error_code error;
    std::size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(argv[i], error)) {
      std::fprintf(stderr, "%s\n", entry.path().c_str());
      std::ifstream stream(entry.path(), std::ios::binary);
      if (!stream.is_open()) return 1;
      const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
      // A buffer of exactly this size lets the address sanitizer see a read past the end.
      const std::vector<std::uint8_t> exact(bytes.begin(), bytes.end());
      LLVMFuzzerTestOneInput(exact.data(), exact.size());
      ++count;
    }
    std::printf("%s: %zu inputs\n", argv[i], count);
    if (count == 0) return 1;
  }
  return argc < 2 ? 2 : 0;
}
