#include "api/request_fields.h"

#include "base/text.h"

#include <charconv>

namespace vorda {

namespace {

std::shared_ptr<Job> jobOfNumber(const JobTable& jobs, std::string_view number) {
  int id = 0;
  const char* end = number.data() + number.size();
  const auto parsed = std::from_chars(number.data(), end, id);
  return parsed.ec == std::errc() && parsed.ptr == end ? jobs.find(id) : nullptr;
}

} // namespace

std::unique_ptr<FormFields> completeForm(HttpRequest& request) {
  const auto announced = request.header("content-length");
  if (announced && *announced != std::to_string(request.body.size())) return nullptr;
  return std::make_unique<FormFields>(std::move(request.body));
}

std::vector<std::string> valuesOf(const FormFields& fields, std::string_view name) {
  std::vector<std::string> values;
  for (const auto& [key, value] : fields.pairs()) {
    if (key == name) values.emplace_back(value);
  }
  return values;
}

std::vector<std::wstring> requestedPaths(const FormFields& fields) {
  std::vector<std::wstring> paths;
  for (const auto& [key, value] : fields.pairs()) {
    if (key == "p") paths.push_back(toUtf16(value));
  }
  return paths;
}

std::shared_ptr<Job> requestedJob(const JobTable& jobs, const HttpRequest& request) {
  const std::optional<std::string> number = request.queryValue("id");
  return number ? jobOfNumber(jobs, *number) : nullptr;
}

std::shared_ptr<Job> finishedJob(const JobTable& jobs, const HttpRequest& request) {
  std::shared_ptr<Job> job = requestedJob(jobs, request);
  return job && job->done ? job : nullptr;
}

std::shared_ptr<Job> usableJob(const JobTable& jobs, std::string_view number) {
  std::shared_ptr<Job> job = jobOfNumber(jobs, number);
  return job && isUsable(*job) ? job : nullptr;
}

std::shared_ptr<Job> usableJob(const JobTable& jobs, const FormFields& fields) {
  return usableJob(jobs, fields.get("job"));
}

bool isUsable(const Job& job) { return job.resultReady && job.progress.texts().error.empty(); }

} // namespace vorda
