// The error words that the API answers in {"error":word}.
//
// They are part of the interface: clients compare them, so they must not change. Not all of
// them are English, on purpose.
#pragma once

#include <string_view>

namespace vorda::words {

// The gate
inline constexpr std::string_view kForeignOrigin = "foreignOrigin";
inline constexpr std::string_view kWrongKey = "onjuiste of ontbrekende sleutel";
inline constexpr std::string_view kUnknownEndpoint = "onbekend eindpunt";
inline constexpr std::string_view kInternalError = "internalError";
inline constexpr std::string_view kTooManyKeys = "tooManyKeys";
inline constexpr std::string_view kTooManyFields = "tooManyFields";

// Missing or unusable parameters
inline constexpr std::string_view kNoPath = "nopath";
inline constexpr std::string_view kNoScanPath = "geen pad opgegeven";
inline constexpr std::string_view kNothingGiven = "niets opgegeven";
inline constexpr std::string_view kNeedFilter = "needFilter";
inline constexpr std::string_view kNotAllowed = "notAllowed";
inline constexpr std::string_view kIncomplete = "incomplete";

// Jobs
inline constexpr std::string_view kNoJob = "noJob";
inline constexpr std::string_view kUnknownJob = "opdracht onbekend";
inline constexpr std::string_view kNotReady = "nog niet klaar";

// Folders; one that cannot be listed is kNoSuchDir in scan/words.h
inline constexpr std::string_view kNoPreview = "noPreview";
inline constexpr std::string_view kNotScanned = "notScanned";

// Actions
inline constexpr std::string_view kLogUnreadable = "logUnreadable";
inline constexpr std::string_view kUnreadable = "unreadable"; // a folder that is to be emptied
inline constexpr std::string_view kEmptyFailed = "emptyFailed";
inline constexpr std::string_view kQuitRefused = "quitRefused";
inline constexpr std::string_view kElevateRefused = "elevateRefused";
inline constexpr std::string_view kProgramRefused = "programRefused";

} // namespace vorda::words
