// Files that are kept from changing while their copies are deleted, and the reading of their
// contents.
#pragma once

#include "base/seen.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace vorda {

// While it exists, nobody else can write to the file.
class KeptFile {
public:
  virtual ~KeptFile() = default;
  // Kind, size, time and identity now; nothing if the file is gone.
  virtual std::optional<Seen> look() = 0;
  // Reads everything; nothing on failure, or if the file changed meanwhile.
  virtual std::optional<SeenContents> read() = 0;
};

enum class KeepFor {
  deletion, // others may delete it
  good,     // nobody may
};

class FileKeeper {
public:
  virtual ~FileKeeper() = default;
  // Null if that is not possible: the file is missing, a link, a folder, in the cloud, or open
  // for writing.
  virtual std::unique_ptr<KeptFile> keep(const std::wstring& path, KeepFor what) = 0;
};

} // namespace vorda
