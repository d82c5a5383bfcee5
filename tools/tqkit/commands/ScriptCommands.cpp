// tqkit script: runs a handler of a script shipped in a bundle, as an add-on
// does (one record of string parameters in, a typed result out), and prints
// the result as JSON.
//
// tqkit task: runs a program through the asynchronous Unix-task interface
// and reports how it ended; its output passes through.

#include <string>
#include <vector>

#include "Command.h"
#include "ValueJSON.h"
#include "tq/platform/dispatch/DispatchQueue.h"
#include "tq/platform/dispatch/RunLoop.h"
#include "tq/platform/object/PlatformLog.h"
#include "tq/platform/value/Number.h"
#include "tq/system/TQScript.h"
#include "tq/system/UnixTaskTQFoundation.h"

using namespace tqkit;

namespace {

namespace F = tq::TQFoundation;

// The library reports script problems to the platform log; the command says
// them once, in its own error line.
class CaughtLog {
 public:
  CaughtLog() : previous_(tq::setPlatformLogHandler(&CaughtLog::take)) { last().clear(); }
  ~CaughtLog() { tq::setPlatformLogHandler(previous_); }
  static std::string& last() {
    static std::string line;
    return line;
  }

 private:
  static void take(const std::string& line) { last() = line; }
  tq::PlatformLogHandler previous_;
};

tq::Ref<tq::Dictionary> parameters(const std::vector<std::string>& words) {
  auto result = tq::MutableDictionary::dictionary();
  for (const std::string& word : words) {
    const std::size_t equals = word.find('=');
    if (equals == std::string::npos) throw UsageException{"a parameter needs the form key=value, not '" + word + "'"};
    requireUTF8(word, "a parameter");
    result->setObject(tq::str(word.substr(equals + 1)), tq::str(word.substr(0, equals)));
  }
  return result;
}

double seconds(const std::string& text) {
  char* end = nullptr;
  const double value = std::strtod(text.c_str(), &end);
  if (text.empty() || *end != '\0' || !(value > 0)) throw UsageException{"--timeout needs a positive number"};
  return value;
}

int scriptRun(Arguments& arguments) {
  const std::string timeout = arguments.option("--timeout", "");
  auto words = arguments.positionals(3, SIZE_MAX);
  auto values = parameters(std::vector<std::string>(words.begin() + 3, words.end()));
  auto bundle = tq::Bundle::bundleWithPath(words[0]);
  if (!bundle) throw FailureException{"cannot open bundle '" + words[0] + "': not a folder"};
  CaughtLog log;
  auto script = F::scriptNamed(*tq::str(words[1]), *bundle);
  if (!script) throw FailureException{"cannot load script '" + words[1] + "': " + CaughtLog::last()};
  if (!timeout.empty()) script->setTimeout(seconds(timeout));
  tq::Ref<tq::Dictionary> errorInfo;
  auto result = F::executeFunction(*script, *tq::str(words[2]), values, &errorInfo);
  if (!result) {
    auto message = errorInfo ? errorInfo->objectForKey(std::string_view(tq::ScriptErrorMessage)) : nullptr;
    throw FailureException{"handler '" + words[2] + "' failed: " + tq::describeUTF8(message)};
  }
  // A handler that returns nothing answers the null descriptor.
  tq::Id value = result->descriptorType() == tq::AE::typeNull ? tq::Null::null() : F::value(*result);
  if (!value) throw FailureException{"handler '" + words[2] + "' answered a value of no known type: " + CaughtLog::last()};
  writeOut(arguments, toJSON(value) + "\n");
  return Success;
}

int taskRun(Arguments& arguments) {
  auto words = arguments.positionals(1, SIZE_MAX);
  tq::Ref<tq::Error> error;
  auto task = tq::UserUnixTask::initWithURL(*tq::str(words[0]), &error);
  if (!task) throw FailureException{"cannot run '" + words[0] + "': " + error->localizedDescription()};
  // The task writes straight into the command's streams, after what the
  // command wrote itself.
  std::fflush(arguments.streams().out);
  std::fflush(arguments.streams().err);
  task->setStandardOutput(fileno(arguments.streams().out));
  task->setStandardError(fileno(arguments.streams().err));
  bool done = false;
  tq::Ref<tq::Error> outcome;
  // The completion comes on the main queue, which this thread drains while
  // it waits, as a host's main loop would.
  task->executeWithArguments(
      std::vector<std::string>(words.begin() + 1, words.end()),
      [&](const tq::Ref<tq::Error>& failure) {
        outcome = failure;
        done = true;
      },
      tq::DispatchQueue::main());
  while (!done) tq::RunLoop::main().runUntil([&] { return done; }, 3600);
  if (outcome) throw FailureException{"'" + words[0] + "' failed: " + outcome->localizedDescription()};
  writeOut(arguments, "task completed: exit status 0\n");
  return Success;
}

const CommandGroup scriptGroup{
    "script",
    "handlers of the scripts that bundles ship",
    {
        {.name = "run",
         .synopsis = "[--timeout S] BUNDLE NAME HANDLER [KEY=VALUE...]",
         .summary = "Runs a handler of a bundle's script and prints its result as JSON.",
         .run = scriptRun,
         .description =
             "The script is the resource NAME.scpt of the bundle: an executable, started as 'NAME.scpt HANDLER' "
             "with ':' in HANDLER written as '_' and the parameters as one JSON object of strings on its standard "
             "input. Its standard output is its result in JSON; objects with the keys result, url and name come "
             "back under their keywords, {\"$date\": seconds} is a date. A script that exits with another status "
             "than 0 fails with the last line it wrote to standard error.",
         .options = {{"--timeout S", "stops the script after S seconds (120 by default)"}},
         .examples = {{"tqkit script run samples/SampleAddOn.bundle Greeter greet:person name=Marta",
                       "calls the handler greet_person with {\"name\": \"Marta\"}"},
                      {"tqkit script run --timeout 5 Mail.bundle Sync run", "gives the handler five seconds"}}},
    }};

const CommandGroup taskGroup{
    "task",
    "programs run through the asynchronous Unix-task interface",
    {
        {.name = "run",
         .synopsis = "[--] COMMAND [ARGUMENT...]",
         .summary = "Runs a program without blocking and reports how it ended.",
         .run = taskRun,
         .description =
             "COMMAND is a path or a name found in PATH. Its output and errors pass through. The completion is "
             "delivered on the main queue, which tqkit drains while it waits; then 'task completed: exit status 0' "
             "is printed, or the failure (another exit status, a signal) is reported and the status is 1. Put "
             "-- before a command whose arguments start with '-'.",
         .examples = {{"tqkit task run -- ls -l /tmp", "lists /tmp, then reports the completion"},
                      {"tqkit task run false", "fails: The task exited with status 1."}}},
    }};

}  // namespace
