// tqkit bundle, uuid, script and task on the sample add-on bundle.

#include <gtest/gtest.h>

#include "tests/tools/InProcess.h"

namespace tq {
namespace {

using testing::runInProcess;

const std::string Sample = std::string(TQ_SOURCE_DIR) + "/samples/SampleAddOn.bundle";

TEST(TqkitBundle, InfoShowsIdentityBuildInformationAndResourceBundles) {
  auto result = runInProcess({"bundle", "info", Sample});
  ASSERT_EQ(result.status, 0) << result.err;
  for (const char* line : {"identifier: org.tqbasekit.SampleAddOn\n", "version: 2.4.1 (241)\n",
                           "log identifier: SAMPLE\n", "bug number: 1234\n", "localizations: en, pl\n",
                           "searched resource bundles: Contents/Resources/Resources/SampleTexts.bundle\n"}) {
    EXPECT_NE(result.out.find(line), std::string::npos) << line << result.out;
  }
  auto missing = runInProcess({"bundle", "info", "/no/such/bundle"});
  EXPECT_EQ(missing.status, 1);
  EXPECT_EQ(missing.err, "tqkit: bundle info: cannot open bundle '/no/such/bundle': not a folder\n");
}

TEST(TqkitBundle, LocalizeFindsResourceBundlesFirstAndAppliesPluralRules) {
  struct Case {
    std::vector<std::string> options;
    const char* key;
    const char* expected;
  } cases[] = {
      {{"--lang", "pl"}, "greeting", "Witaj, %@!\n"},
      {{"--lang", "pl"}, "status.ready", "Gotowy (z pakietu zasobów SampleTexts).\n"},  // the UTF-16 table
      {{"--lang", "pl"}, "columns", "Temat\tOd \"nadawcy\"\n"},
      {{"--lang", "pl"}, "no.such.key", "no.such.key\n"},
      {{"--lang", "pl", "--plural", "1"}, "%d messages", "1 wiadomość\n"},
      {{"--lang", "pl", "--plural", "0"}, "%d messages", "Brak wiadomości\n"},
      {{"--lang", "en", "--table", "Other"}, "greeting", "greeting\n"},
  };
  for (const Case& c : cases) {
    std::vector<std::string> words{"bundle", "localize"};
    words.insert(words.end(), c.options.begin(), c.options.end());
    words.push_back(Sample);
    words.push_back(c.key);
    auto result = runInProcess(words);
    EXPECT_EQ(result.status, 0) << c.key << result.err;
    EXPECT_EQ(result.out, c.expected) << c.key;
  }
  EXPECT_EQ(runInProcess({"bundle", "localize", "--plural", "many", Sample, "k"}).status, 2);
  EXPECT_EQ(runInProcess({"bundle", "localize", Sample}).status, 2);
}

TEST(TqkitUUID, CompactAndExpandAreInverseAndRefuseOtherTexts) {
  EXPECT_EQ(runInProcess({"uuid", "compact", "FFFFFFFF-FFFF-FFFF-FFFF-FFFFFFFFFFFF"}).out, "/////////////////////w\n");
  EXPECT_EQ(runInProcess({"uuid", "expand", "-"}, "/////////////////////w\n").out,
            "FFFFFFFF-FFFF-FFFF-FFFF-FFFFFFFFFFFF\n");
  auto fresh = runInProcess({"uuid"});
  ASSERT_EQ(fresh.status, 0);
  const std::string standard = fresh.out.substr(0, 36), compact = fresh.out.substr(37, 22);
  EXPECT_EQ(runInProcess({"uuid", "expand", compact}).out, standard + "\n");
  EXPECT_EQ(runInProcess({"uuid", "expand", "short"}).err,
            "tqkit: uuid: 'short' is not a compact UUID: it needs 22 characters\n");
  EXPECT_EQ(runInProcess({"uuid", "expand", "*********************!"}).status, 1);
  EXPECT_EQ(runInProcess({"uuid", "compact", "not-a-uuid"}).status, 1);
  EXPECT_EQ(runInProcess({"uuid", "rotate", "x"}).status, 2);
}

TEST(TqkitScript, RunPrintsTheHandlersResultAsJSONAndReportsItsFailure) {
  auto greeting = runInProcess({"script", "run", Sample, "Greeter", "greet:person", "name=Marta"});
  ASSERT_EQ(greeting.status, 0) << greeting.err;
  EXPECT_EQ(greeting.out,
            "{\n  \"handledBy\": \"greet_person\",\n  \"name\": \"Marta\",\n  \"result\": \"Hello, Marta!\"\n}\n");
  EXPECT_EQ(runInProcess({"script", "run", Sample, "Greeter", "count:letters", "name=Marta"}).out, "5\n");
  auto unknown = runInProcess({"script", "run", Sample, "Greeter", "dance"});
  EXPECT_EQ(unknown.status, 1);
  EXPECT_EQ(unknown.err, "tqkit: script run: handler 'dance' failed: Greeter.scpt: no handler named 'dance'\n");
  auto missing = runInProcess({"script", "run", Sample, "Nope", "run"});
  EXPECT_EQ(missing.err,
            "tqkit: script run: cannot load script 'Nope': NSAppleScript: Unable find file for script 'Nope'\n");
  EXPECT_EQ(runInProcess({"script", "run", Sample, "Greeter", "greet", "noequals"}).status, 2);
}

TEST(TqkitTask, RunPassesOutputThroughAndReportsTheCompletion) {
  auto ok = runInProcess({"task", "run", "--", "sh", "-c", "echo from the task"});
  EXPECT_EQ(ok.status, 0) << ok.err;
  EXPECT_EQ(ok.out, "from the task\ntask completed: exit status 0\n");
  auto failed = runInProcess({"task", "run", "--", "sh", "-c", "echo oops >&2; exit 4"});
  EXPECT_EQ(failed.status, 1);
  EXPECT_EQ(failed.err, "oops\ntqkit: task run: 'sh' failed: The task exited with status 4.\n");
  EXPECT_EQ(runInProcess({"task", "run", "/no/such/program"}).status, 1);
}

}  // namespace
}  // namespace tq
