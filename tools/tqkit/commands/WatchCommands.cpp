// tqkit watch: follow a file or a folder tree as the library's watchers see
// them, one JSON line per event (file) or per delivered batch (folder).
//
// file: {"events": [...], "path": PATH}, the kernel's events of the call
// ("write", "rename", "delete"); the library's file watcher calls its
// delegate's three methods for each of them. folder: {"lastEventId": ID,
// "mustScanSubDirs": BOOL, "paths": [...]}, the paths each once; when
// mustScanSubDirs is true the caller should rescan the whole tree (the
// kernel's queue overflowed, the folder went away or came back, or --since
// asked for history the kernel does not keep).

#include <cerrno>
#include <cstdint>
#include <set>
#include <string>

#include "Command.h"
#include "EventLines.h"
#include "ValueJSON.h"
#include "tq/platform/collection/Array.h"
#include "tq/platform/collection/Dictionary.h"
#include "tq/platform/dispatch/FolderEventStream.h"
#include "tq/platform/value/Number.h"
#include "tq/platform/value/String.h"
#include "tq/system/TQFileWatcher.h"

using namespace tqkit;

namespace {

class PrintingDelegate : public tq::TQFileWatcherDelegate {
 public:
  PrintingDelegate(EventLines& lines, std::string path) : lines_(lines), path_(std::move(path)) {}
  // The last of the three calls each event makes: the line is printed once.
  void fileDeletedForWatcher(tq::TQFileWatcher& watcher) override {
    auto source = watcher.source();
    const unsigned long events = source ? source->data() : 0;
    auto names = tq::make<tq::MutableArray>();
    if (events & tq::DispatchVnode::Write) names->addObject(tq::str("write"));
    if (events & tq::DispatchVnode::Rename) names->addObject(tq::str("rename"));
    if (events & tq::DispatchVnode::Delete) names->addObject(tq::str("delete"));
    lines_.queue(toJSON(tq::dict({{tq::str("path"), tq::str(path_)}, {tq::str("events"), names}}), false));
  }

 private:
  EventLines& lines_;
  std::string path_;
};

int watchFile(Arguments& arguments) {
  EventLines lines(arguments);
  auto words = arguments.positionals(1, 1);
  auto delegate = std::make_shared<PrintingDelegate>(lines, words[0]);
  auto watcher = tq::TQFileWatcher::initWithDelegate(delegate, words[0]);
  tq::Ref<tq::Error> error;
  if (!watcher->startWatchingWithError(&error)) {
    throw FailureException{"cannot watch '" + words[0] + "': " + error->localizedDescription()};
  }
  lines.run();
  watcher->stopWatching();
  return Success;
}

std::uint64_t eventId(const std::string& text) {
  char* end = nullptr;
  errno = 0;
  unsigned long long value = std::strtoull(text.c_str(), &end, 10);
  if (text.empty() || *end != '\0' || errno != 0 || text[0] == '-') throw UsageException{"--since needs an event id"};
  return value;
}

int watchFolder(Arguments& arguments) {
  EventLines lines(arguments);
  tq::FolderEventStream::Options options;
  options.fileEvents = true;
  const std::string since = arguments.option("--since", "");
  const std::string latency = arguments.option("--latency", "");
  if (!since.empty()) options.sinceEventId = eventId(since);
  if (!latency.empty()) options.latencySeconds = EventLines::positive(latency, "--latency");
  auto words = arguments.positionals(1, 1);
  auto print = [&lines](const std::vector<tq::FolderEvent>& events) {
    std::set<std::string> paths;
    bool mustScan = false;
    for (const auto& event : events) {
      paths.insert(event.path);
      mustScan = mustScan || (event.flags & tq::FolderEventFlag::MustScanSubDirs);
    }
    auto list = tq::make<tq::MutableArray>();
    for (const auto& path : paths) list->addObject(tq::str(path));
    lines.print(toJSON(tq::dict({{tq::str("paths"), list},
                                 {tq::str("lastEventId"), tq::num(events.back().id)},
                                 {tq::str("mustScanSubDirs"), tq::Number::numberWithBool(mustScan)}}),
                       false));
  };
  std::string why;
  auto stream = tq::FolderEventStream::create(words[0], options, tq::DispatchQueue::main(), print, &why);
  if (!stream) throw FailureException{why};
  lines.run();
  return Success;
}

const CommandGroup watchGroup{
    "watch",
    "follow changes to a file or a folder tree",
    {
        {.name = "file",
         .synopsis = "[--count N] [--timeout SECONDS] PATH",
         .summary = "Prints a JSON line each time the file is written, renamed or deleted.",
         .run = watchFile,
         .description = "Each line is {\"events\": [...], \"path\": PATH} with the events the kernel reported "
                        "(write, rename, delete), merged while the previous line was made. The watch follows "
                        "the file through renames, as an open descriptor does, and is not moved to a new file "
                        "at the old path. Runs until interrupted, or until --count lines or --timeout seconds.",
         .options = {EventCountOption, EventTimeoutOption},
         .examples = {{"tqkit watch file --count 1 notes.txt", "waits for one change"},
                      {"tqkit watch file --timeout 60 Defaults.plist", "prints a minute of changes"}}},
        {.name = "folder",
         .synopsis = "[--since ID] [--latency SECONDS] [--count N] [--timeout SECONDS] PATH",
         .summary = "Prints a JSON line for each batch of changes anywhere in the tree.",
         .run = watchFolder,
         .description = "Each line is {\"lastEventId\": ID, \"mustScanSubDirs\": BOOL, \"paths\": [...]}: the "
                        "paths changed in the batch, each once. Folders made later are watched too. When "
                        "mustScanSubDirs is true, changes may have been lost (the kernel's queue overflowed, "
                        "or the folder went away or came back) and the whole tree should be rescanned. "
                        "Changes are grouped for --latency seconds (1 by default). Event ids grow within a "
                        "run; --since ID with an id from an earlier run reports the folder for a rescan, since "
                        "the kernel keeps no history.",
         .options = {{"--since ID", "resumes after an earlier run's last event id"},
                     {"--latency SECONDS", "groups changes for SECONDS (default 1)"},
                     EventCountOption,
                     EventTimeoutOption},
         .examples = {{"tqkit watch folder ~/Mail", "follows a mail folder tree"},
                      {"tqkit watch folder --latency 0.1 --count 5 .", "five quick batches of the current folder"}}},
    }};

}  // namespace
