// What the file operations ask of the machine they run on, and do to it.
//
// Everything that decides lies in front of this interface, so that it can be run against a
// made-up machine; what stands behind it on Windows is one system call each. Shared between
// threads.
#pragma once

#include "base/file_identity.h"
#include "base/time.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vorda {

// Where an opened path really lies.
struct FinalPlace {
  std::wstring path; // "X:\…" or "\\server\share\…"; no link or substituted drive left in it
  std::wstring onVolume; // the part behind the volume's own root, from "\" on; may be empty
};

// A folder that this machine cannot do without, wherever it was put.
struct KnownFolder {
  std::wstring path;
  std::string word; // the refusal for it
  bool beneath = false;
};

struct ShellOutcome {
  int code = 0;
  bool aborted = false;
};

struct BinFigures {
  std::uint64_t bytes = 0;
  std::uint64_t items = 0;
};

class Machine {
public:
  virtual ~Machine() = default;

  // The path as the system reads it: "." and ".." worked out, trailing blanks and dots of
  // names dropped, devices recognised. The same path when the system does not tell.
  virtual std::wstring fullPath(const std::wstring& path) = 0;

  // Every short alias in the path replaced by the real name; nothing when the system does
  // not tell.
  virtual std::optional<std::wstring> longPath(const std::wstring& path) = 0;

  // Where the path leads when it is opened, links followed; nothing when it cannot be.
  virtual std::optional<FinalPlace> finalPlace(const std::wstring& path) = 0;

  // The identity of what lies at the path itself, a link not followed.
  virtual std::optional<FileIdentity> identity(const std::wstring& path) = 0;

  // Keeps a folder from being renamed, moved or replaced as long as the result lives, as far
  // as the system allows; null when it does not.
  virtual std::shared_ptr<void> hold(const std::wstring& folder) = 0;

  virtual std::vector<KnownFolder> knownFolders() = 0;

  // The root of the system's drive, and the folders in which other volumes are mounted.
  virtual std::vector<std::wstring> volumeRoots() = 0;

  // Whether what is deleted on the drive or share with this root can go to a recycle bin.
  virtual bool hasBin(const std::wstring& root) = 0;

  // What the bin of a drive ("X:\") holds, or with an empty root those of all drives.
  virtual std::optional<BinFigures> binFigures(const std::wstring& root) = 0;

  // Empties the bins of all drives; the shell's result, negative for a failure.
  virtual std::int32_t emptyBins() = 0;

  // The user's security identifier as text, the name of his folder in every bin; empty when
  // the system does not tell.
  virtual std::wstring userSid() = 0;

  // Hands all paths to the shell at once; they must be absolute and short enough for it.
  virtual ShellOutcome shellDelete(const std::vector<std::wstring>& paths, bool intoBin) = 0;

  // Adds bytes at the end of the deletion log, all of them or none. A log that cannot be
  // opened is passed over in silence.
  virtual void appendToLog(std::string_view bytes) = 0;

  virtual LocalTime now() = 0;
};

// The machine this process runs on.
std::unique_ptr<Machine> systemMachine();

} // namespace vorda
