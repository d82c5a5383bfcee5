#include "tq/platform/script/CompiledScript.h"

#include <unistd.h>

#include <cstring>

#include "tq/platform/script/ScriptJSON.h"
#include "tq/platform/system/ChildProcess.h"
#include "tq/platform/system/FileSystem.h"
#include "tq/platform/value/Number.h"

namespace tq {

namespace {

Ref<Dictionary> errorInformation(std::int64_t number, const std::string& message,
                                 const std::string& standardError = std::string()) {
  std::vector<Dictionary::Entry> entries{{str(ScriptErrorMessage), str(message)},
                                         {str(ScriptErrorBriefMessage), str(message)},
                                         {str(ScriptErrorNumber), num(number)}};
  if (!standardError.empty()) entries.emplace_back(str(ScriptErrorStandardError), str(standardError));
  return make<Dictionary>(entries);
}

// A file URL's path; anything else is taken as a path already.
std::string pathOfURL(const std::string& url) {
  constexpr std::string_view scheme = "file://";
  return url.starts_with(scheme) ? url.substr(scheme.size()) : url;
}

std::string lastLine(const std::string& text) {
  std::size_t end = text.find_last_not_of("\r\n");
  if (end == std::string::npos) return {};
  std::size_t start = text.find_last_of('\n', end);
  return text.substr(start == std::string::npos ? 0 : start + 1, end + 1 - (start == std::string::npos ? 0 : start + 1));
}

// The record of string parameters an event carries, as the script reads it.
bool parameters(const EventDescriptor& event, Ref<MutableDictionary>& into, std::string& problem) {
  auto list = event.paramDescriptorForKeyword(AE::keyDirectObject);
  if (!list) return true;
  auto record = list->descriptorAtIndex(1);
  auto fields = record ? record->descriptorForKeyword(AE::keyASUserRecordFields) : nullptr;
  if (!fields) return true;
  for (std::int64_t i = 1; i + 1 <= fields->numberOfItems(); i += 2) {
    auto key = fields->descriptorAtIndex(i)->stringValue();
    auto value = fields->descriptorAtIndex(i + 1)->stringValue();
    if (!key || !value) {
      problem = "the parameters must be texts";
      return false;
    }
    into->setObject(value, key);
  }
  return true;
}

Ref<Dictionary> failure(const ChildProcessResult& run, double timeout) {
  if (run.startError) {
    return errorInformation(ScriptErrorCannotStart,
                            std::string("The script could not be started: ") + std::strerror(run.startError));
  }
  if (run.timedOut) {
    return errorInformation(ScriptErrorTimedOut,
                            "The script timed out after " + std::to_string(timeout) + " seconds.", run.error);
  }
  if (run.signal) {
    return errorInformation(128 + run.signal, "The script was ended by signal " + std::to_string(run.signal) + ".",
                            run.error);
  }
  std::string message = lastLine(run.error);
  if (message.empty()) message = "The script exited with status " + std::to_string(run.exitStatus) + ".";
  return errorInformation(run.exitStatus, message, run.error);
}

}  // namespace

Ref<CompiledScript> CompiledScript::initWithContentsOfURL(const String& url, Ref<Dictionary>* errorInfo) {
  const std::string path = pathOfURL(url.utf8());
  const auto status = FileSystem::current()->status(path);
  if (!status.exists || status.isDirectory) {
    if (errorInfo) *errorInfo = errorInformation(ScriptErrorFileNotFound, "No script file at " + path + ".");
    return nullptr;
  }
  // The file may live in a test's rooted world; the kernel runs the real one.
  const std::string real = FileSystem::current()->resolve(path);
  if (::access(real.c_str(), X_OK) != 0) {
    if (errorInfo) *errorInfo = errorInformation(ScriptErrorNotExecutable, "The script " + path + " may not be run.");
    return nullptr;
  }
  return make<CompiledScript>(real);
}

Ref<String> CompiledScript::description() const { return String::fromUTF8("<CompiledScript: " + path_ + ">"); }

Ref<EventDescriptor> CompiledScript::executeEvent(const EventDescriptor& event, Ref<Dictionary>* errorInfo) {
  auto handler = event.paramDescriptorForKeyword(AE::keyASSubroutineName);
  auto name = handler ? handler->stringValue() : nullptr;
  if (event.descriptorType() != AE::typeEvent || event.eventClass() != AE::kASScriptSuite ||
      event.eventID() != AE::kASPrepositionalSubroutine || !name) {
    if (errorInfo) *errorInfo = errorInformation(ScriptErrorNotHandled, "The event names no handler.");
    return nullptr;
  }
  auto values = MutableDictionary::dictionary();
  std::string problem;
  if (!parameters(event, values, problem)) {
    if (errorInfo) *errorInfo = errorInformation(ScriptErrorCoercion, problem);
    return nullptr;
  }
  ChildProcessRequest request;
  request.executable = path_;
  request.arguments = {name->utf8()};
  request.input = ScriptJSON::parametersText(*values);
  request.timeout = timeout_;
  ChildProcessResult run = ChildProcess::run(request);
  if (!run.succeeded()) {
    if (errorInfo) *errorInfo = failure(run, timeout_);
    return nullptr;
  }
  Ref<Error> readError;
  auto result = ScriptJSON::readResult(run.output, &readError);
  if (!result && errorInfo) *errorInfo = errorInformation(ScriptErrorCoercion, readError->localizedDescription());
  return result;
}

}  // namespace tq
