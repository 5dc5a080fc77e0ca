#include "fileops/recycle_bin.h"

namespace vorda {

std::wstring binFolder(const std::wstring& path) { return path.substr(0, 2) + L"\\$Recycle.Bin"; }

} // namespace vorda
