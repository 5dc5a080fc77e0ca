// File records: decoded values lie inside the record, stored names are safe to display, and
// failed fixups change nothing.
#include "scan/turbo/file_record.h"
#include "scan/turbo/record_table.h"

#include <cstdlib>
#include <vector>

namespace {

struct Names {
  vorda::NamePool pool{1};
  vorda::NamePool::Writer writer{pool};
};

// The name after storing it in a pool.
std::wstring kept(vorda::ByteView name) {
  static auto names = std::make_unique<Names>();
  vorda::PooledName pooled;
  if (!names->writer.add(name, pooled)) {
    names = std::make_unique<Names>(); // full
    if (!names->writer.add(name, pooled)) std::abort();
  }
  std::wstring text;
  names->pool.read(pooled, text);
  return text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::vector<std::uint8_t> bytes(data, data + size);
  const vorda::ByteView record(bytes.data(), size);
  const vorda::RecordHeader header = vorda::readHeader(record);
  if (header.baseReference.record >> 48U != 0) std::abort();
  vorda::MftLayout layout;
  layout.clusterBytes = 4096;
  layout.clusters = 1ULL << (size % 52);
  const vorda::RecordValues values = vorda::readValues(record, layout);
  const vorda::RecordClusters& clusters = values.clusters;
  if (clusters.all > layout.clusters || clusters.data > clusters.all ||
      clusters.streams > clusters.all - clusters.data || values.ownNames > values.fileNames) {
    std::abort();
  }
  const std::size_t name = values.name.size();
  const bool inside = name == 0 || (values.name.data() >= record.data() &&
                                    values.name.data() + name <= record.data() + size);
  if (!inside || name % 2 != 0 || name > 510 || values.size > 1ULL << 53U) std::abort();
  const std::wstring text = name == 0 ? L"" : kept(values.name);
  const bool harmless = text.find_first_of(std::wstring_view(L"/\\\0", 3)) == std::wstring::npos;
  if (text.size() != name / 2 || !harmless || text == L"." || text == L"..") std::abort();
  std::size_t ownNames = 0;
  vorda::AttributeWalk walk(record);
  vorda::Attribute attribute;
  while (walk.next(attribute)) {
    const vorda::OwnName own = vorda::ownNameOf(attribute);
    if (own.name.empty()) continue;
    ++ownNames;
    kept(own.name);
  }
  if (static_cast<std::uint16_t>(ownNames) != values.ownNames) std::abort();
  const std::vector<std::uint8_t> before = bytes;
  if (!vorda::applyFixups(bytes.data(), size) && bytes != before) std::abort();
  return 0;
}
