#include "win/file_identity.h"

#include <cstring>

namespace vorda {

std::optional<FileIdentity> fileIdentity(HANDLE file) {
  FileIdentity identity;
  // ReFS has 128-bit file IDs; some file systems support only the older call with 64 bits.
  FILE_ID_INFO id{};
  BY_HANDLE_FILE_INFORMATION info{};
  if (GetFileInformationByHandleEx(file, FileIdInfo, &id, sizeof id) != FALSE) {
    identity.volume = id.VolumeSerialNumber;
    static_assert(sizeof id.FileId.Identifier == sizeof identity.number);
    std::memcpy(identity.number.data(), id.FileId.Identifier, sizeof identity.number);
  } else if (GetFileInformationByHandle(file, &info) != FALSE) {
    identity.volume = info.dwVolumeSerialNumber;
    identity.number[0] = static_cast<std::uint64_t>(info.nFileIndexHigh) << 32 | info.nFileIndexLow;
  }
  const bool known = identity.number[0] != 0 || identity.number[1] != 0;
  return known ? std::optional(identity) : std::nullopt;
}

} // namespace vorda
