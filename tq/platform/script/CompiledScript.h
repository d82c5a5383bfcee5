#pragma once
// Compiled scripts on a system without a script service: a script is an
// executable file (a resource of type "scpt" in a bundle, any language).
// Running a handler starts it once:
//
//   <script> <handler name>          the handler name with ":" as "_"
//   standard input                   the handler's one record of string keys
//                                    and string values, as a JSON object
//   standard output                  its result, as JSON (see ScriptJSON.h)
//   exit status                      0 for success; any other is an error,
//                                    whose message is the last line the
//                                    script wrote to standard error
//
// The script runs in a process group of its own, which is stopped when it
// runs past its time-out and killed when it ends.

#include <string>

#include "tq/platform/collection/Dictionary.h"
#include "tq/platform/script/EventDescriptor.h"

namespace tq {

/// The keys of a script's error information.
inline constexpr const char* ScriptErrorMessage = "ScriptErrorMessage";
inline constexpr const char* ScriptErrorBriefMessage = "ScriptErrorBriefMessage";
inline constexpr const char* ScriptErrorNumber = "ScriptErrorNumber";
/// Everything the script wrote to standard error (only when it failed).
inline constexpr const char* ScriptErrorStandardError = "ScriptErrorStandardError";

/// The error numbers the runner gives; a script that exits with status N
/// (1-255) gives N, one ended by signal S gives 128 + S.
inline constexpr std::int64_t ScriptErrorFileNotFound = -43;
inline constexpr std::int64_t ScriptErrorNotExecutable = -54;
inline constexpr std::int64_t ScriptErrorCannotStart = -1;
inline constexpr std::int64_t ScriptErrorCoercion = -1700;
inline constexpr std::int64_t ScriptErrorNotHandled = -1708;
inline constexpr std::int64_t ScriptErrorTimedOut = -1712;

class CompiledScript : public Object {
 public:
  /// The time-out of a handler call unless one is set: two minutes.
  static constexpr double DefaultTimeout = 120;

  /// The script at a path (a file URL or a plain path). Nil and error
  /// information when the file does not exist, is no regular file or may not
  /// be run.
  static Ref<CompiledScript> initWithContentsOfURL(const String& url, Ref<Dictionary>* errorInfo = nullptr);

  explicit CompiledScript(std::string path) : path_(std::move(path)) {}
  std::string className() const override { return "CompiledScript"; }
  Ref<String> description() const override;

  const std::string& path() const { return path_; }
  double timeout() const { return timeout_; }
  void setTimeout(double seconds) { timeout_ = seconds; }

  /// Runs the handler an event names: class 'ascr', id 'psbr', the handler's
  /// name under 'snam', and its parameters (a list holding one record whose
  /// 'usrf' list alternates key and value texts) as the direct object. The
  /// result descriptor, or nil and error information.
  Ref<EventDescriptor> executeEvent(const EventDescriptor& event, Ref<Dictionary>* errorInfo = nullptr);

 private:
  std::string path_;
  double timeout_ = DefaultTimeout;
};

}  // namespace tq
