#include "api/preview_api.h"

#include "api/words.h"
#include "base/text.h"
#include "json/json_writer.h"
#include "search/image_kind.h"

#include <memory>
#include <span>
#include <string>

namespace vorda {

namespace {

constexpr std::uint64_t kMostBytes = 20'000'000;

// Whether the document lists a copy with this path. Each begins with it, and a quote inside a text is
// escaped, so nothing else in the document can look like that. A path with U+FFFD may stand for another
// one, whose name cannot be written.
bool isListed(const BackgroundRun& duplicates, const std::wstring& path) {
  const RunStatus status = duplicates.status();
  if (path.empty() || !status.document || path.find(L'\xFFFD') != std::wstring::npos) return false;
  JsonWriter json;
  json.open('{');
  json.string("p", path);
  return status.document->find(json.text() + ",") != std::string::npos;
}

HttpResponse notFound() { return errorAnswer(404, words::kNoPreview); }

} // namespace

HttpResponse previewImage(const AppState& state, const HttpRequest& request) {
  if (state.remote) return errorAnswer(400, words::kNotAllowed);
  const std::wstring path = toUtf16(request.queryValue("p").value_or(""));
  if (!isListed(state.duplicates, path)) return notFound();
  FileFailure failure = FileFailure::none;
  // Looked at first: opening a file that is in the cloud would fetch it.
  const auto seen = state.contents->look(path, failure);
  if (!seen || seen->size > kMostBytes) return notFound();
  const std::unique_ptr<ContentFile> file = state.contents->open(path, Writers::allowed, failure);
  const auto opened = file ? file->state() : std::nullopt;
  if (!opened || opened->file.size > kMostBytes) return notFound();
  std::string head(kImageHeadBytes, '\0');
  const auto headRead = file->read(0, std::as_writable_bytes(std::span(head)));
  if (!headRead) return notFound();
  const std::string_view kind = imageKindOf(std::string_view(head).substr(0, *headRead));
  if (kind.empty()) return notFound();
  std::string bytes(static_cast<std::size_t>(opened->file.size), '\0');
  const auto read = file->read(0, std::as_writable_bytes(std::span(bytes)));
  if (!read) return notFound();
  bytes.resize(*read);
  // It may be another file by now, or the same with other contents.
  if (imageKindOf(std::string_view(bytes).substr(0, kImageHeadBytes)) != kind) return notFound();
  HttpResponse response = answer(200, std::move(bytes), kind);
  response.guarded = true;
  return response;
}

} // namespace vorda
