// Descriptors, the JSON form of a script's parameters and result, scripts
// run as executables and users' Unix tasks.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <future>

#include "tests/support/TemporaryFolder.h"
#include "tq/platform/script/CompiledScript.h"
#include "tq/platform/script/ScriptJSON.h"
#include "tq/platform/script/UserUnixTask.h"
#include "tq/platform/value/Number.h"

namespace tq {
namespace {

using testing::TemporaryFolder;

std::string writeScript(const TemporaryFolder& folder, const std::string& name, const std::string& body) {
  auto path = folder.write(name, "#!/bin/sh\n" + body);
  ::chmod(path.c_str(), 0755);
  return path.string();
}

TEST(EventDescriptorTest, ValuesReadBackFromTheirBytes) {
  EXPECT_EQ(fourCharCode("list"), 0x6C697374u);
  EXPECT_EQ(fileTypeString(fourCharCode("ldt ")), "'ldt '");
  EXPECT_EQ(EventDescriptor::descriptorWithString(*str("héllo"))->stringValue()->utf8(), "héllo");
  EXPECT_EQ(EventDescriptor::descriptorWithInt32(-7)->int32Value(), -7);
  EXPECT_EQ(EventDescriptor::descriptorWithDouble(2.5)->doubleValue(), 2.5);
  EXPECT_TRUE(EventDescriptor::descriptorWithBoolean(true)->booleanValue());
  EXPECT_EQ(EventDescriptor::descriptorWithEnumCode(fourCharCode("yes "))->enumCodeValue(), fourCharCode("yes "));
  auto date = Date::dateWithTimeIntervalSince1970(1'700'000'000);
  EXPECT_EQ(EventDescriptor::descriptorWithDate(*date)->dateValue()->timeIntervalSince1970(), 1'700'000'000);
  // Values of other types read as nothing rather than reinterpreting bytes.
  EXPECT_FALSE(EventDescriptor::descriptorWithInt32(1)->stringValue());
  EXPECT_FALSE(EventDescriptor::descriptorWithString(*str("x"))->dateValue());
}

TEST(EventDescriptorTest, ListsAndRecordsKeepOrderAndKeywords) {
  auto list = EventDescriptor::listDescriptor();
  list->insertDescriptor(EventDescriptor::descriptorWithInt32(2), 0);
  list->insertDescriptor(EventDescriptor::descriptorWithInt32(1), 1);
  list->insertDescriptor(EventDescriptor::descriptorWithInt32(3), 99);
  ASSERT_EQ(list->numberOfItems(), 3);
  for (int i = 1; i <= 3; ++i) EXPECT_EQ(list->descriptorAtIndex(i)->int32Value(), i);
  EXPECT_FALSE(list->descriptorAtIndex(0));
  EXPECT_FALSE(list->descriptorAtIndex(4));
  auto record = EventDescriptor::recordDescriptor();
  record->setDescriptor(EventDescriptor::descriptorWithInt32(1), AE::pName);
  record->setDescriptor(EventDescriptor::descriptorWithInt32(2), AE::pName);
  EXPECT_EQ(record->numberOfItems(), 1);
  EXPECT_EQ(record->descriptorForKeyword(AE::pName)->int32Value(), 2);
  EXPECT_EQ(record->keywordForDescriptorAtIndex(1), AE::pName);
}

TEST(ScriptJSONTest, ResultsBecomeTypedDescriptors) {
  struct Case {
    const char* json;
    FourCharCode type;
  } cases[] = {
      {"\"text\"", AE::typeUnicodeText}, {"42", AE::typeSInt32},       {"4294967296", AE::typeIEEE64BitFloatingPoint},
      {"1.5", AE::typeIEEE64BitFloatingPoint}, {"true", AE::typeBoolean}, {"null", AE::typeType},
      {"[1, \"a\"]", AE::typeAEList},    {"{\"a\": \"b\"}", AE::typeAERecord}, {"{\"$date\": 0}", AE::typeLongDateTime},
      {"{\"$enum\": \"abcd\"}", AE::typeEnumerated}, {"  \n", AE::typeNull},
  };
  for (const Case& c : cases) {
    Ref<Error> error;
    auto descriptor = ScriptJSON::readResult(c.json, &error);
    ASSERT_TRUE(descriptor) << c.json << ": " << (error ? error->localizedDescription() : "");
    EXPECT_EQ(fileTypeString(descriptor->descriptorType()), fileTypeString(c.type)) << c.json;
  }
  auto record = ScriptJSON::readResult(R"({"name": "n", "result": 1, "other": "o"})");
  EXPECT_EQ(record->descriptorForKeyword(AE::pName)->stringValue()->utf8(), "n");
  EXPECT_EQ(record->descriptorForKeyword(AE::keyAEResult)->int32Value(), 1);
  auto fields = record->descriptorForKeyword(AE::keyASUserRecordFields);
  ASSERT_TRUE(fields);
  EXPECT_EQ(fields->descriptorAtIndex(1)->stringValue()->utf8(), "other");
  for (const char* bad : {"{", "{\"$enum\": \"toolong\"}", "{\"$date\": \"x\"}"}) {
    Ref<Error> error;
    EXPECT_FALSE(ScriptJSON::readResult(bad, &error)) << bad;
    EXPECT_TRUE(error) << bad;
  }
}

Ref<EventDescriptor> handlerCall(const char* handler, std::vector<std::pair<const char*, const char*>> params) {
  auto event = EventDescriptor::eventWithEventClass(AE::kASScriptSuite, AE::kASPrepositionalSubroutine,
                                                              nullptr, -1, 0);
  auto pairs = EventDescriptor::listDescriptor();
  for (auto [key, value] : params) {
    pairs->insertDescriptor(EventDescriptor::descriptorWithString(*str(key)), 0);
    pairs->insertDescriptor(EventDescriptor::descriptorWithString(*str(value)), 0);
  }
  auto record = EventDescriptor::recordDescriptor();
  record->setDescriptor(pairs, AE::keyASUserRecordFields);
  auto direct = EventDescriptor::listDescriptor();
  direct->insertDescriptor(record, 0);
  event->setParamDescriptor(direct, AE::keyDirectObject);
  event->setParamDescriptor(EventDescriptor::descriptorWithString(*str(handler)), AE::keyASSubroutineName);
  return event;
}

TEST(CompiledScriptTest, TheScriptGetsItsHandlerAndParametersAndAnswersJSON) {
  TemporaryFolder folder("scripts");
  auto path = writeScript(folder, "echo.scpt", "printf '{\"handler\": \"%s\", \"input\": ' \"$1\"; cat; printf '}'\n");
  Ref<Dictionary> errorInfo;
  auto script = CompiledScript::initWithContentsOfURL(*str("file://" + path), &errorInfo);
  ASSERT_TRUE(script);
  auto result = script->executeEvent(*handlerCall("greet_person", {{"who", "Marta"}, {"tone", "\"warm\""}}), &errorInfo);
  ASSERT_TRUE(result) << describeUTF8(errorInfo);
  auto fields = result->descriptorForKeyword(AE::keyASUserRecordFields);
  ASSERT_TRUE(fields);
  EXPECT_EQ(fields->descriptorAtIndex(2)->stringValue()->utf8(), "greet_person");
  auto input = fields->descriptorAtIndex(4)->descriptorForKeyword(AE::keyASUserRecordFields);
  EXPECT_EQ(input->descriptorAtIndex(1)->stringValue()->utf8(), "who");
  EXPECT_EQ(input->descriptorAtIndex(4)->stringValue()->utf8(), "\"warm\"");
}

TEST(CompiledScriptTest, FailuresBecomeErrorInformation) {
  TemporaryFolder folder("scripts");
  struct Case {
    const char* body;
    double timeout;
    std::int64_t number;
    const char* message;
  } cases[] = {
      {"echo 'first line' >&2; echo 'no such handler' >&2; exit 4", 0, 4, "no such handler"},
      {"exit 2", 0, 2, "The script exited with status 2."},
      {"kill -KILL $$", 0, 128 + 9, "The script was ended by signal 9."},
      {"sleep 20", 0.2, ScriptErrorTimedOut, "The script timed out"},
      {"echo 'not json'", 0, ScriptErrorCoercion, "is not JSON"},
  };
  int n = 0;
  for (const Case& c : cases) {
    auto script = CompiledScript::initWithContentsOfURL(*str(writeScript(folder, "s" + std::to_string(++n), c.body)));
    ASSERT_TRUE(script);
    script->setTimeout(c.timeout > 0 ? c.timeout : 10);
    Ref<Dictionary> info;
    EXPECT_FALSE(script->executeEvent(*handlerCall("run", {}), &info)) << c.body;
    ASSERT_TRUE(info) << c.body;
    EXPECT_EQ(cast<Number>(info->objectForKey(std::string_view(ScriptErrorNumber)))->integerValue(), c.number)
        << c.body;
    EXPECT_NE(describeUTF8(info->objectForKey(std::string_view(ScriptErrorMessage))).find(c.message),
              std::string::npos)
        << c.body;
  }
  folder.write("plain.scpt", "not executable");
  Ref<Dictionary> info;
  EXPECT_FALSE(CompiledScript::initWithContentsOfURL(*str(folder.string() + "/plain.scpt"), &info));
  EXPECT_EQ(cast<Number>(info->objectForKey(std::string_view(ScriptErrorNumber)))->integerValue(),
            ScriptErrorNotExecutable);
  EXPECT_FALSE(CompiledScript::initWithContentsOfURL(*str(folder.string() + "/missing.scpt")));
}

TEST(UserUnixTaskTest, CompletionCarriesTheTaskErrorOnItsQueue) {
  auto queue = DispatchQueue::createSerial("org.tqbasekit.tests.unixTask");
  struct Case {
    std::vector<std::string> arguments;
    std::int64_t code;  // 0: no error
  } cases[] = {{{"-c", "exit 0"}, 0}, {{"-c", "exit 5"}, UserUnixTaskExitedError},
               {{"-c", "kill -TERM $$"}, UserUnixTaskSignalledError}};
  auto task = UserUnixTask::initWithURL(*str("/bin/sh"));
  ASSERT_TRUE(task);
  for (const Case& c : cases) {
    std::promise<std::pair<Ref<Error>, std::string>> done;
    task->executeWithArguments(
        c.arguments, [&](const Ref<Error>& error) { done.set_value({error, DispatchQueue::currentLabel()}); }, queue);
    auto [error, label] = done.get_future().get();
    EXPECT_EQ(label, "org.tqbasekit.tests.unixTask");
    EXPECT_EQ(error ? error->code() : 0, c.code) << c.arguments[1];
    if (error) EXPECT_EQ(error->domain(), UserUnixTaskErrorDomain);
  }
  Ref<Error> error;
  EXPECT_FALSE(UserUnixTask::initWithURL(*str("/no/such/tool"), &error));
  EXPECT_TRUE(error);
}

}  // namespace
}  // namespace tq
