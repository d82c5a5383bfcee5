#include <gtest/gtest.h>

#include <string>

#include "tq/collections/TQEncodedJSONRepresentation.h"
#include "tq/collections/TQObjectJSONRepresentation.h"
#include "tq/platform/archive/JSON.h"
#include "tq/platform/collection/Dictionary.h"

namespace tq {
namespace {

// An encodable type of the tests: a note with a text, {"text": "..."}.
class Note : public Object, public TQJSONEncodable {
 public:
  explicit Note(std::string text) : text(std::move(text)) {}
  std::string className() const override { return "Note"; }
  Ref<Data> jsonRepresentation() const override {
    return JSON::writeData(make<Dictionary>(std::initializer_list<Dictionary::Entry>{{str("text"), str(text)}}).get());
  }
  static Ref<Note> initWithJsonRepresentation(const Data& json) {
    auto members = std::dynamic_pointer_cast<Dictionary>(
        JSON::read(std::string_view(reinterpret_cast<const char*>(json.bytes()), json.length())));
    auto text = members ? std::dynamic_pointer_cast<String>(members->objectForKey("text")) : nullptr;
    return text ? make<Note>(text->utf8()) : nullptr;
  }
  std::string text;
};

std::string textOf(const Ref<Data>& data) { return std::string(reinterpret_cast<const char*>(data->bytes()), data->length()); }
Ref<Data> dataOf(const std::string& text) { return Data::dataWithBytes(text.data(), text.size()); }

class JSONRepresentation : public ::testing::Test {
 protected:
  void SetUp() override { TQJSONEncodableTypes::registerType<Note>("Note"); }
};

TEST_F(JSONRepresentation, TheRecordHoldsTheClassNameAndTheObjectsJson) {
  auto record = TQObjectJSONRepresentation::newWithEncodableObject(make<Note>("hi"));
  EXPECT_EQ(record->objectClassName()->utf8(), "Note");
  EXPECT_EQ(textOf(record->jsonData()), R"({"text":"hi"})");
  auto again = std::dynamic_pointer_cast<Note>(
      TQObjectJSONRepresentation::instantiateObjectWithClassName(String("Note"), *record->jsonData()));
  ASSERT_TRUE(again);
  EXPECT_EQ(again->text, "hi");
  EXPECT_EQ(TQObjectJSONRepresentation::instantiateObjectWithClassName(String("Nothing"), *record->jsonData()), nullptr);
  EXPECT_EQ(TQObjectJSONRepresentation::instantiateObjectWithClassName(String("Note"), *dataOf("[]")), nullptr);
}

TEST_F(JSONRepresentation, EncodesExactlyTheTwoKeysAndRoundTrips) {
  JSONKeyedEncoder encoder;
  TQEncodedJSONRepresentation(make<Note>("é")).encode(encoder);
  std::string json = textOf(encoder.encodedData());
  // {"text":"é"} in Base64, then the class name.
  EXPECT_EQ(json, R"({"base64jsonData":"eyJ0ZXh0Ijoiw6kifQ==","className":"Note"})");
  auto decoded = TQEncodedJSONRepresentation::decode(JSONKeyedDecoder(*encoder.encodedData()));
  auto note = std::dynamic_pointer_cast<Note>(decoded.object);
  ASSERT_TRUE(note);
  EXPECT_EQ(note->text, "é");
}

TEST_F(JSONRepresentation, ErrorsOfTheRecordAreTheDecodersOwn) {
  struct Case {
    const char* json;
    DecodingError::Kind kind;
    const char* key;
  } cases[] = {
      {R"({"base64jsonData":"e30="})", DecodingError::Kind::KeyNotFound, "className"},
      {R"({"className":"Note"})", DecodingError::Kind::KeyNotFound, "base64jsonData"},
      {R"({"className":5,"base64jsonData":"e30="})", DecodingError::Kind::TypeMismatch, "className"},
      {R"({"className":"Note","base64jsonData":"e30*"})", DecodingError::Kind::DataCorrupted, "base64jsonData"},
      {R"(["className"])", DecodingError::Kind::DataCorrupted, ""},
      {R"({"className")", DecodingError::Kind::DataCorrupted, ""},
  };
  for (const Case& c : cases) {
    try {
      TQEncodedJSONRepresentation::decode(JSONKeyedDecoder(*dataOf(c.json)));
      ADD_FAILURE() << "decoded " << c.json;
    } catch (const DecodingError& error) {
      EXPECT_EQ(error.kind(), c.kind) << c.json;
      EXPECT_EQ(error.key(), c.key) << c.json;
    }
  }
}

TEST_F(JSONRepresentation, AClassThatCannotBeMadeStopsTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  auto decodeUnknown = [] {
    TQEncodedJSONRepresentation::decode(JSONKeyedDecoder(*dataOf(R"({"className":"Gone","base64jsonData":"e30="})")));
  };
  EXPECT_DEATH(decodeUnknown(), "Could not create the TQJSONEncodable oject from : class \"Gone\"");
}

}  // namespace
}  // namespace tq
