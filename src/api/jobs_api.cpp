#include "api/jobs_api.h"

#include "api/request_fields.h"
#include "api/words.h"
#include "base/detached_thread.h"
#include "base/text.h"
#include "base/time.h"
#include "http/form_fields.h"
#include "json/json_writer.h"
#include "report/result_document.h"

#include <chrono>

namespace vorda {

namespace {

std::string_view stateOf(const Job& job, const ProgressTexts& texts) {
  if (!texts.error.empty()) return "error";
  if (job.done) return "done";
  return job.progress.cancelRequested ? kCancelled : "scanning";
}

// What only a running scan has.
void writeRunning(JsonWriter& json, const Job& job, const ProgressTexts& texts) {
  const auto elapsed = std::chrono::duration_cast<std::chrono::milliseconds>(
      std::chrono::steady_clock::now() - job.progress.began);
  json.number("elapsed", static_cast<std::uint64_t>(elapsed.count()));
  if (texts.top.empty()) return;
  json.open("top", '[');
  for (const TopFolder& one : texts.top) {
    json.open('{');
    json.string("n", one.name);
    json.number("s", one.bytes);
    json.close('}');
  }
  json.close(']');
}

void writeJob(JsonWriter& json, const Job& job) {
  const ProgressTexts texts = job.progress.texts();
  json.open('{');
  json.number("id", static_cast<std::uint64_t>(job.id));
  json.string("path", job.target);
  json.string("kind", job.kind);
  json.string("label", job.label);
  json.string("state", stateOf(job, texts));
  json.number("files", job.progress.files);
  json.number("bytes", job.progress.bytes);
  json.number("dirs", job.progress.dirs);
  json.number("phase", static_cast<std::uint64_t>(job.progress.phase));
  json.seconds(job.progress.seconds);
  json.string("status", wordOf(texts.status));
  json.string("current", texts.current);
  json.string("error", texts.error);
  json.string("method", wordOf(texts.method));
  json.string("noTurbo", texts.noTurbo);
  if (texts.partial != Partial::none) json.string("partial", wordOf(texts.partial));
  if (!job.done) writeRunning(json, job, texts);
  if (job.rootGone) json.boolean("gone", true);
  json.close('}');
}

HttpResponse startedAnswer(const Job& job) {
  JsonWriter json;
  json.open('{');
  json.number("id", static_cast<std::uint64_t>(job.id));
  json.boolean("ok", true);
  json.close('}');
  return answer(200, json.take());
}

} // namespace

HttpResponse startScan(HttpRequest& request, JobTable& jobs, const ScanSteps& steps) {
  const FormFields fields(std::move(request.body));
  const std::string_view path = fields.get("path");
  if (path.empty()) return errorAnswer(400, words::kNoScanPath);
  const auto job = std::make_shared<Job>();
  job->target = toUtf16(path);
  job->kind = fields.has("kind") ? fields.get("kind") : kDefaultKind;
  const std::string_view label = fields.get("label");
  job->label = label.empty() ? job->target : toUtf16(label);
  if (job->overSsh()) job->password = Secret(fields.get("password"));
  jobs.add(job);
  try {
    HttpResponse response = startedAnswer(*job); // first: a scan that runs has to be answered
    startDetached([job, &steps] { runJob(*job, steps); });
    return response;
  } catch (...) {
    jobs.remove(job->id);
    throw;
  }
}

HttpResponse listJobs(const JobTable& jobs) {
  JsonWriter json;
  json.open('[');
  for (const auto& job : jobs.all()) writeJob(json, *job);
  json.close(']');
  return answer(200, json.take());
}

HttpResponse jobResult(const HttpRequest& request, const JobTable& jobs) {
  const std::shared_ptr<Job> job = requestedJob(jobs, request);
  if (!job) return errorAnswer(404, words::kUnknownJob);
  if (const std::string error = job->progress.texts().error; !error.empty()) {
    return errorAnswer(400, error);
  }
  if (!job->resultReady) return errorAnswer(400, words::kNotReady);
  HttpResponse response;
  const std::lock_guard lock(job->resultMutex);
  // After a change of the scan there may have been no memory for it.
  if (!job->document) buildResultDocument(*job, kDocumentOptions, nowUnixMs());
  response.body = job->document;
  return response;
}

HttpResponse cancelJob(const HttpRequest& request, const JobTable& jobs) {
  if (const auto job = requestedJob(jobs, request)) job->progress.cancelRequested = true;
  return okAnswer();
}

HttpResponse forgetJob(const HttpRequest& request, JobTable& jobs,
                       const std::function<void(int)>& forgotten) {
  HttpResponse response = okAnswer(); // first: what is forgotten has to be answered
  if (const auto job = requestedJob(jobs, request)) {
    // Its result can no longer be requested, so a running scan may as well stop.
    job->progress.cancelRequested = true;
    jobs.remove(job->id);
    forgotten(job->id);
  }
  return response;
}

} // namespace vorda
