#include "tq/platform/script/UserUnixTask.h"

#include <cstring>

#include "tq/platform/system/ChildProcess.h"
#include "tq/platform/system/FileSystem.h"
#include "tq/platform/value/Number.h"

namespace tq {

namespace {

Ref<Error> taskError(std::int64_t code, const char* key, std::int64_t value, const std::string& description) {
  return Error::errorWithDomain(UserUnixTaskErrorDomain, code,
                                dict({{str(LocalizedDescriptionKey), str(description)}, {str(key), num(value)}}));
}

Ref<Error> completionError(const ChildProcessResult& run) {
  if (run.startError) {
    return taskError(UserUnixTaskCannotStartError, "POSIXError", run.startError,
                     std::string("The task could not be started: ") + std::strerror(run.startError) + ".");
  }
  if (run.signal) {
    return taskError(UserUnixTaskSignalledError, "Signal", run.signal,
                     "The task was ended by signal " + std::to_string(run.signal) + ".");
  }
  if (run.exitStatus != 0) {
    return taskError(UserUnixTaskExitedError, "ExitStatus", run.exitStatus,
                     "The task exited with status " + std::to_string(run.exitStatus) + ".");
  }
  return nullptr;
}

}  // namespace

Ref<UserUnixTask> UserUnixTask::initWithURL(const String& url, Ref<Error>* error) {
  std::string path = url.utf8();
  if (path.starts_with("file://")) path = path.substr(7);
  if (path.find('/') != std::string::npos) {
    const auto status = FileSystem::current()->status(path);
    if (!status.exists || status.isDirectory) {
      setError(error, taskError(UserUnixTaskCannotStartError, "POSIXError", ENOENT, "No executable at " + path + "."));
      return nullptr;
    }
    path = FileSystem::current()->resolve(path);
  }
  return make<UserUnixTask>(path);
}

void UserUnixTask::executeWithArguments(std::vector<std::string> arguments, CompletionHandler completionHandler,
                                        DispatchQueueRef completionQueue) const {
  ChildProcessRequest request;
  request.executable = executable_;
  request.arguments = std::move(arguments);
  request.output = output_ >= 0 ? ChildOutput::Descriptor : ChildOutput::Discard;
  request.outputDescriptor = output_;
  request.error = error_ >= 0 ? ChildOutput::Descriptor : ChildOutput::Discard;
  request.errorDescriptor = error_;
  if (!completionQueue) completionQueue = DispatchQueue::global();
  // The wait blocks a worker thread for the task's life, never the caller.
  DispatchQueue::global()->async([request = std::move(request), handler = std::move(completionHandler), completionQueue] {
    Ref<Error> error = completionError(ChildProcess::run(request));
    if (handler) completionQueue->async([handler, error] { handler(error); });
  });
}

}  // namespace tq
