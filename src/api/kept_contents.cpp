#include "api/kept_contents.h"

#include "base/time.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace vorda {

namespace {

constexpr std::size_t kBlockBytes = 1'048'576;

class KeptContents final : public KeptFile {
public:
  KeptContents(FileContents& contents, std::wstring path, std::unique_ptr<ContentFile> file)
      : contents_(contents), path_(std::move(path)), file_(std::move(file)) {}

  std::optional<Seen> look() override {
    const std::optional<OpenState> state = file_->state();
    if (!state) return std::nullopt;
    return Seen{
        SeenKind::file, state->file.size, state->file.lastWrite, contents_.identity(path_), {}};
  }

  std::optional<SeenContents> read() override {
    const std::optional<OpenState> before = file_->state();
    if (!before) return std::nullopt;
    const std::unique_ptr<Hasher> hasher = contents_.hasher();
    std::vector<std::byte> buffer(kBlockBytes);
    for (std::uint64_t done = 0; done < before->file.size;) {
      const auto piece = static_cast<std::size_t>(
          std::min<std::uint64_t>(before->file.size - done, buffer.size()));
      const std::span<std::byte> block(buffer.data(), piece);
      if (file_->read(done, block) != piece) return std::nullopt;
      hasher->add(block);
      done += piece;
    }
    const std::optional<Digest> digest = hasher->finish();
    if (!digest || file_->state() != before) return std::nullopt;
    return SeenContents{*digest, nowUnixMs()};
  }

private:
  FileContents& contents_;
  std::wstring path_;
  std::unique_ptr<ContentFile> file_;
};

} // namespace

std::unique_ptr<KeptFile> ContentKeeper::keep(const std::wstring& path, KeepFor what) {
  FileFailure failure = FileFailure::none;
  const Writers others = what == KeepFor::good ? Writers::refusedAsDeleters : Writers::refused;
  std::unique_ptr<ContentFile> file = contents_.open(path, others, failure);
  if (!file) return nullptr;
  return std::make_unique<KeptContents>(contents_, path, std::move(file));
}

} // namespace vorda
