// Descriptors turned into plain values, the handler-call event, scripts found
// in bundles with their three messages, suites' enumerators and Unix tasks
// awaited from coroutines and futures.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <future>

#include "tests/system/SystemTestSupport.h"
#include "tq/platform/value/Number.h"
#include "tq/system/TQScript.h"
#include "tq/system/UnixTaskTQFoundation.h"

namespace tq {
namespace {

using namespace testing;
namespace F = TQFoundation;
using D = EventDescriptor;

Ref<D> text(const char* value) { return D::descriptorWithString(*str(value)); }

Ref<D> list(std::initializer_list<Ref<D>> items) {
  auto result = D::listDescriptor();
  for (const auto& item : items) result->insertDescriptor(item, 0);
  return result;
}

TEST(TQScriptValueTest, EachKnownTypeConvertsAndOthersAreLogged) {
  CaughtPlatformLog log;
  auto date = Date::dateWithTimeIntervalSince1970(86400);
  auto specifier = D::descriptorWithDescriptorType(AE::typeObjectSpecifier, "x", 1);
  EXPECT_EQ(describeUTF8(F::value(*text("héllo"))), "héllo");
  EXPECT_TRUE(F::value(*D::descriptorWithInt32(-3))->isEqual(*num(-3)));
  EXPECT_TRUE(F::value(*D::descriptorWithDouble(0.25))->isEqual(*num(0.25)));
  EXPECT_TRUE(cast<Number>(F::value(*D::descriptorWithBoolean(true)))->isBool());
  EXPECT_TRUE(F::value(*D::descriptorWithDate(*date))->isEqual(*date));
  EXPECT_TRUE(F::value(*D::descriptorWithDescriptorType(AE::typeTrue, nullptr, 0))->isEqual(*Number::numberWithBool(true)));
  EXPECT_TRUE(F::value(*D::descriptorWithDescriptorType(AE::typeFalse, nullptr, 0))->isEqual(*Number::numberWithBool(false)));
  EXPECT_TRUE(isKindOf<Null>(F::value(*D::descriptorWithTypeCode(AE::cMissingValue))));
  EXPECT_EQ(F::value(*specifier), specifier);
  EXPECT_TRUE(log.taken().empty());
  EXPECT_FALSE(F::value(*D::descriptorWithDescriptorType(fourCharCode("abcd"), nullptr, 0)));
  EXPECT_FALSE(F::value(*D::descriptorWithTypeCode(fourCharCode("utxt"))));
  EXPECT_EQ(log.taken(), (std::vector<std::string>{"unrecognized <EventDescriptor: 'abcd'> type: 'abcd'",
                                                   "unrecognized <EventDescriptor: 'type'('utxt')> type: 'type'"}));
}

TEST(TQScriptValueTest, ArraysKeepTextRecordsAndListsAndSkipTheRest) {
  EXPECT_EQ(describeUTF8(F::arrayRepresentation(*list({text("a"), text("b")}))), describeUTF8(arr({str("a"), str("b")})));
  auto record = D::recordDescriptor();
  record->setDescriptor(text("n"), AE::pName);
  auto mixed = list({text("a"), D::descriptorWithInt32(5), list({text("inner"), D::descriptorWithDouble(1)}), record});
  auto array = F::arrayRepresentation(*mixed);
  ASSERT_EQ(array->count(), 3u);
  EXPECT_EQ(describeUTF8(array->objectAtIndex(1)), describeUTF8(arr({str("inner")})));
  EXPECT_EQ(describeUTF8(array->objectAtIndex(2)), describeUTF8(dict({{str("name"), str("n")}})));
  EXPECT_FALSE(F::arrayRepresentation(*record));
}

TEST(TQScriptValueTest, KeyValuePairsWalkPairsOfTextKeys) {
  EXPECT_FALSE(F::keyValuePairs(*list({text("odd")})));
  EXPECT_FALSE(F::keyValuePairs(*D::recordDescriptor()));
  auto nestedFields = D::descriptorWithDescriptorType(AE::keyASUserRecordFields, nullptr, 0);
  auto pairs = F::keyValuePairs(*list({text("a"), D::descriptorWithInt32(1), D::descriptorWithInt32(7), text("skipped"),
                                       text("b"), text("two"), text("gone"), nestedFields}));
  ASSERT_TRUE(pairs);
  EXPECT_EQ(pairs->count(), 2u);
  EXPECT_TRUE(pairs->objectForKey(std::string_view("a"))->isEqual(*num(1)));
  EXPECT_EQ(describeUTF8(pairs->objectForKey(std::string_view("b"))), "two");
  EXPECT_FALSE(pairs->objectForKey(std::string_view("gone")));  // a 'usrf' value merges, its key is dropped
}

TEST(TQScriptValueTest, RecordsStoreTheFourKeywordsThenTheUserFieldsOverThem) {
  auto record = D::recordDescriptor();
  record->setDescriptor(text("r"), AE::keyAEResult);
  record->setDescriptor(text("u"), AE::keyURL);
  record->setDescriptor(text("n"), AE::pName);
  record->setDescriptor(D::descriptorWithDate(*Date::dateWithTimeIntervalSince1970(0)), AE::typeLongDateTime);
  record->setDescriptor(list({text("name"), text("from fields"), text("extra"), D::descriptorWithInt32(2)}),
                        AE::keyASUserRecordFields);
  auto dictionary = F::dictionaryRepresentation(*record);
  ASSERT_TRUE(dictionary);
  std::vector<std::string> keys;
  for (const auto& [key, object] : dictionary->entries()) keys.push_back(describeUTF8(key));
  EXPECT_EQ(keys, (std::vector<std::string>{"result", "url", "name", "date", "extra"}));
  EXPECT_EQ(describeUTF8(dictionary->objectForKey(std::string_view("name"))), "from fields");
  EXPECT_FALSE(F::dictionaryRepresentation(*list({})));
}

TEST(TQScriptEventTest, TheHandlerCallEventIsBuiltAsDescribed) {
  auto parameters = dict({{str("first"), str("1")}, {str("second"), str("2")}});
  auto event = F::eventForFunction(*str("do:it:"), parameters);
  EXPECT_EQ(event->eventClass(), fourCharCode("ascr"));
  EXPECT_EQ(event->eventID(), fourCharCode("psbr"));
  EXPECT_EQ(event->returnID(), -1);
  EXPECT_EQ(event->transactionID(), 0);
  auto target = event->attributeDescriptorForKeyword(fourCharCode("addr"));
  ASSERT_TRUE(target);
  EXPECT_EQ(target->descriptorType(), fourCharCode("kpid"));
  std::int32_t pid = 0;
  ASSERT_EQ(target->data()->length(), 4u);
  std::memcpy(&pid, target->data()->bytes(), 4);
  EXPECT_EQ(pid, ::getpid());
  EXPECT_EQ(event->paramDescriptorForKeyword(fourCharCode("snam"))->stringValue()->utf8(), "do_it_");
  auto direct = event->paramDescriptorForKeyword(fourCharCode("----"));
  ASSERT_TRUE(direct);
  ASSERT_EQ(direct->numberOfItems(), 1);
  auto fields = direct->descriptorAtIndex(1)->descriptorForKeyword(fourCharCode("usrf"));
  ASSERT_EQ(fields->numberOfItems(), 4);
  const char* expected[] = {"first", "1", "second", "2"};
  for (int i = 0; i < 4; ++i) EXPECT_EQ(fields->descriptorAtIndex(i + 1)->stringValue()->utf8(), expected[i]);
  EXPECT_FALSE(F::eventForFunction(*str("run"), dict({}))->paramDescriptorForKeyword(fourCharCode("----")));
}

TEST(TQScriptRunTest, ScriptsAreFoundInBundlesRunAndReported) {
  TemporaryFolder folder("scriptbundle");
  auto bundle = writeBundle(folder, "S.bundle", {{"CFBundleIdentifier", "org.example.tq.scripts"}});
  auto script = folder.write("S.bundle/Contents/Resources/Greeter.scpt",
                             "#!/bin/sh\n[ \"$1\" = greet_person ] || { echo \"no handler $1\" >&2; exit 3; }\n"
                             "input=$(cat)\nprintf '{\"result\": \"hi\", \"input\": %s}' \"$input\"\n");
  ::chmod(script.c_str(), 0755);
  folder.write("S.bundle/Contents/Resources/Broken.scpt", "not executable");
  CaughtPlatformLog log;
  EXPECT_FALSE(F::scriptNamed(*str("Missing"), *bundle));
  EXPECT_FALSE(F::scriptNamed(*str("Broken"), *bundle));
  auto lines = log.taken();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0], "NSAppleScript: Unable find file for script 'Missing'");
  EXPECT_TRUE(lines[1].starts_with("Failed to load script 'Broken', error: ")) << lines[1];

  auto greeter = F::scriptNamed(*str("Greeter"), *str("org.example.tq.scripts"));
  ASSERT_TRUE(greeter);
  Ref<Dictionary> errorInfo;
  auto result = F::executeFunction(*greeter, *str("greet:person"), dict({{str("who"), str("Marta")}}), &errorInfo);
  ASSERT_TRUE(result) << describeUTF8(errorInfo);
  auto value = cast<Dictionary>(F::value(*result));
  EXPECT_EQ(describeUTF8(value->objectForKey(std::string_view("result"))), "hi");
  EXPECT_EQ(describeUTF8(cast<Dictionary>(value->objectForKey(std::string_view("input")))->objectForKey(std::string_view("who"))),
            "Marta");
  EXPECT_FALSE(F::executeFunction(*greeter, *str("other"), nullptr, &errorInfo));
  ASSERT_TRUE(errorInfo);
  EXPECT_EQ(describeUTF8(errorInfo->objectForKey(std::string_view(ScriptErrorMessage))), "no handler other");
  lines = log.taken();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_TRUE(lines[0].starts_with("errorInfo ")) << lines[0];
}

TEST(TQScriptSuiteTest, TheFirstMatchingEnumeratorNamesTheValue) {
  ScriptSuiteRegistry registry;
  registry.registerSuite({"Mail", {{"priority", fourCharCode("prio"),
                                    {{fourCharCode("high"), "high", "High Priority"}, {fourCharCode("low "), "low", ""}}}}});
  registry.registerSuite({"Other", {{"levels", fourCharCode("levl"), {{fourCharCode("high"), "high", "Other High"}}}}});
  EXPECT_EQ(describeUTF8(F::valueForEnumeratedType(registry, fourCharCode("high"))), "High Priority");
  EXPECT_EQ(describeUTF8(F::valueForEnumeratedType(registry, fourCharCode("low "))), "low");
  EXPECT_FALSE(F::valueForEnumeratedType(registry, fourCharCode("none")));
  ScriptSuiteRegistry::sharedScriptSuiteRegistry()->registerSuite(
      {"TQScriptSuiteTest", {{"answers", fourCharCode("answ"), {{fourCharCode("yes "), "yes", "Yes"}}}}});
  EXPECT_EQ(describeUTF8(F::value(*D::descriptorWithEnumCode(fourCharCode("yes ")))), "Yes");
}

// The smallest coroutine that runs at once and reports how it ended.
struct Detached {
  struct promise_type {
    Detached get_return_object() { return {}; }
    std::suspend_never initial_suspend() noexcept { return {}; }
    std::suspend_never final_suspend() noexcept { return {}; }
    void return_void() {}
    void unhandled_exception() { std::terminate(); }
  };
};

Detached runTask(Ref<UserUnixTask> task, std::vector<std::string> arguments, std::promise<std::string>& outcome) {
  try {
    co_await F::execute(std::move(task), std::move(arguments));
    outcome.set_value("succeeded");
  } catch (const UnixTaskError& error) {
    outcome.set_value("failed: " + error.error()->localizedDescription());
  }
}

TEST(TQUnixTaskTest, TasksCanBeAwaitedOrWaitedForThroughAFuture) {
  auto shell = UserUnixTask::initWithURL(*str("/bin/sh"));
  for (auto [script, expected] : {std::pair{"exit 0", "succeeded"}, {"exit 6", "failed: The task exited with status 6."}}) {
    std::promise<std::string> outcome;
    runTask(shell, {"-c", script}, outcome);
    EXPECT_EQ(outcome.get_future().get(), expected);
  }
  EXPECT_NO_THROW(F::executeFuture(shell, {"-c", "true"}).get());
  try {
    F::executeFuture(shell, {"-c", "kill -KILL $$"}).get();
    ADD_FAILURE() << "no error";
  } catch (const UnixTaskError& error) {
    EXPECT_EQ(error.error()->code(), UserUnixTaskSignalledError);
  }
}

}  // namespace
}  // namespace tq
