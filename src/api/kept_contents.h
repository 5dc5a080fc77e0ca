// Keeps files from changing through the access to contents that searches use.
#pragma once

#include "fileops/file_keeper.h"
#include "search/file_contents.h"

namespace vorda {

// contents must live longer than the keeper and the files it keeps.
class ContentKeeper final : public FileKeeper {
public:
  explicit ContentKeeper(FileContents& contents) : contents_(contents) {}

  std::unique_ptr<KeptFile> keep(const std::wstring& path, KeepFor what) override;

private:
  FileContents& contents_;
};

} // namespace vorda
