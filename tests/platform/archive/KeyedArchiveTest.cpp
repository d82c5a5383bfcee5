// Keyed archives: their structure on disk, round trips, coding classes and
// malformed archives.

#include "tq/platform/archive/KeyedArchive.h"

#include <gtest/gtest.h>

#include <limits>

#include "tests/support/TemporaryFolder.h"
#include "tq/platform/archive/PropertyList.h"
#include "tq/platform/collection/Array.h"
#include "tq/platform/collection/Dictionary.h"
#include "tq/platform/collection/Set.h"
#include "tq/platform/value/Date.h"
#include "tq/platform/value/Number.h"
#include "tq/platform/value/String.h"

using namespace tq;

namespace {

Id uid(std::uint64_t value) { return make<PropertyListUID>(value); }

// A library class that archives itself.
class Bookmark : public Object, public Coding {
 public:
  Ref<String> title;
  Id target;
  bool pinned = false;
  std::int64_t visits = 0;
  double score = 0;
  std::string digest;

  std::string className() const override { return "Bookmark"; }
  std::string archiveClassName() const override { return "TQTestBookmark"; }
  void encodeWithCoder(KeyedArchiver& coder) const override {
    coder.encodeObject(title, "title");
    coder.encodeObject(target, "target");
    coder.encodeBool(pinned, "pinned");
    coder.encodeInt64(visits, "visits");
    coder.encodeDouble(score, "score");
    coder.encodeBytes(digest.data(), digest.size(), "digest");
  }
  static Id decode(KeyedUnarchiver& coder) {
    auto bookmark = make<Bookmark>();
    bookmark->title = cast<String>(coder.decodeObject("title"));
    if (!bookmark->title) {
      coder.failWithReason("a bookmark needs a title");
      return nullptr;
    }
    bookmark->target = coder.decodeObject("target");
    bookmark->pinned = coder.decodeBool("pinned");
    bookmark->visits = coder.decodeInt64("visits");
    bookmark->score = coder.decodeDouble("score");
    if (auto bytes = coder.decodeBytes("digest")) bookmark->digest = std::string(bytes->view());
    return bookmark;
  }
};

Ref<Dictionary> archivePlist(const Id& root) {
  Ref<Error> error;
  auto data = KeyedArchiver::archivedDataWithRootObject(root, &error);
  EXPECT_TRUE(data) << describeUTF8(error);
  if (!data) return nullptr;
  PropertyListFormat format;
  auto plist = cast<Dictionary>(PropertyList::read(data->view(), &error, &format));
  EXPECT_EQ(format, PropertyListFormat::Binary);
  return plist;
}

Id roundTrip(const Id& root) {
  Ref<Error> error;
  auto data = KeyedArchiver::archivedDataWithRootObject(root, &error);
  EXPECT_TRUE(data) << describeUTF8(error);
  if (!data) return nullptr;
  Id back = KeyedUnarchiver::unarchiveObjectWithData(*data, &error);
  EXPECT_TRUE(back) << describeUTF8(error);
  return back;
}

std::string unarchiveFailure(const Id& plist, std::int64_t code = KeyedArchiveReadCorruptError) {
  auto data = PropertyList::write(plist.get(), PropertyListFormat::Binary);
  Ref<Error> error;
  Id value = KeyedUnarchiver::unarchiveObjectWithData(*data, &error);
  if (value) return "unarchived: " + describeUTF8(value);
  EXPECT_EQ(error->domain(), KeyedArchiveErrorDomain);
  EXPECT_EQ(error->code(), code);
  return error->localizedDescription();
}

Ref<Dictionary> archiveWithObjects(Array::Storage objects, Id root = uid(1)) {
  return dict({{str("$archiver"), str("NSKeyedArchiver")},
               {str("$version"), num(100000)},
               {str("$top"), dict({{str("root"), root}})},
               {str("$objects"), make<Array>(std::move(objects))}});
}

TEST(KeyedArchive, HasTheStandardStructureAndStoresSharedObjectsOnce) {
  auto shared = str("shared text");
  auto plist = archivePlist(dict({{str("first"), shared}, {str("second"), arr({shared, shared})}}));
  ASSERT_TRUE(plist);
  EXPECT_TRUE(isEqual(plist->objectForKey(std::string_view("$archiver")), str("NSKeyedArchiver")));
  EXPECT_TRUE(isEqual(plist->objectForKey(std::string_view("$version")), num(100000)));
  EXPECT_TRUE(isEqual(plist->objectForKey(std::string_view("$top")), dict({{str("root"), uid(1)}})));
  auto objects = cast<Array>(plist->objectForKey(std::string_view("$objects")));
  ASSERT_TRUE(objects);
  EXPECT_TRUE(isEqual(objects->objectAtIndex(0), str("$null")));

  auto root = cast<Dictionary>(objects->objectAtIndex(1));
  ASSERT_TRUE(root);
  auto rootClass = cast<Dictionary>(
      objects->objectAtIndex(cast<PropertyListUID>(root->objectForKey(std::string_view("$class")))->value()));
  EXPECT_TRUE(isEqual(rootClass, dict({{str("$classname"), str("NSDictionary")},
                                       {str("$classes"), arr({str("NSDictionary"), str("NSObject")})}})));
  EXPECT_EQ(cast<Array>(root->objectForKey(std::string_view("NS.keys")))->count(), 2u);
  Index copies = 0;
  for (const Id& object : *objects) copies += isEqual(object, shared) ? 1 : 0;
  EXPECT_EQ(copies, 1u);
}

TEST(KeyedArchive, RoundTripsEveryBuiltInKind) {
  auto mutableList = make<MutableArray>();
  mutableList->addObject(str("m"));
  auto mutableMap = make<MutableDictionary>();
  mutableMap->setObject(num(1), str("k"));
  auto value = dict({
      {str("string"), str("t\xC3\xA9xt \xF0\x9F\x98\x80")},
      {str("integers"),
       arr({num(std::numeric_limits<std::int64_t>::min()), num(std::numeric_limits<std::uint64_t>::max())})},
      {str("real"), num(2.5)},
      {str("bool"), num(true)},
      {str("data"), make<Data>("\x00\x01", 2)},
      {str("date"), make<Date>(123456.5)},
      {str("uuid"), make<UUID>(std::array<std::uint8_t, 16>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16})},
      {str("null"), Null::null()},
      {str("set"), make<Set>(std::vector<Id>{str("x"), num(1)})},
      {str("mutable set"), make<MutableSet>(std::vector<Id>{str("y")})},
      {str("empty"), arr({})},
      {str("mutable list"), mutableList},
      {str("mutable map"), mutableMap},
      {num(7), str("a non-string key")},
  });
  auto back = cast<Dictionary>(roundTrip(value));
  ASSERT_TRUE(back);
  EXPECT_TRUE(back->isEqual(*value)) << describeUTF8(back);
  EXPECT_FALSE(cast<MutableDictionary>(back));
  EXPECT_TRUE(cast<MutableArray>(back->objectForKey(std::string_view("mutable list"))));
  EXPECT_TRUE(cast<MutableDictionary>(back->objectForKey(std::string_view("mutable map"))));
  EXPECT_FALSE(cast<MutableArray>(back->objectForKey(std::string_view("empty"))));
  EXPECT_TRUE(cast<MutableSet>(back->objectForKey(std::string_view("mutable set"))));
  EXPECT_FALSE(cast<MutableSet>(back->objectForKey(std::string_view("set"))));
  EXPECT_TRUE(cast<Number>(back->objectForKey(std::string_view("bool")))->isBool());
}

TEST(KeyedArchive, ArchivesCodingClassesThroughTheirDecoders) {
  KeyedUnarchiver::registerClass("TQTestBookmark", Bookmark::decode);
  auto bookmark = make<Bookmark>();
  bookmark->title = str("Inbox");
  bookmark->target = arr({str("a"), num(2)});
  bookmark->pinned = true;
  bookmark->visits = -42;
  bookmark->score = 0.75;
  bookmark->digest = std::string("\x00\xFF", 2);

  auto plist = archivePlist(arr({bookmark, bookmark}));
  auto objects = cast<Array>(plist->objectForKey(std::string_view("$objects")));
  EXPECT_NE(objects->indexOfObject(dict({{str("$classname"), str("TQTestBookmark")},
                                         {str("$classes"), arr({str("TQTestBookmark"), str("NSObject")})}})),
            NotFound);

  auto back = cast<Array>(roundTrip(arr({bookmark, bookmark})));
  ASSERT_TRUE(back);
  auto decoded = cast<Bookmark>(back->objectAtIndex(0));
  ASSERT_TRUE(decoded);
  EXPECT_EQ(decoded.get(), back->objectAtIndex(1).get()) << "an object archived twice comes back once";
  EXPECT_TRUE(isEqual(decoded->title, str("Inbox")));
  EXPECT_TRUE(isEqual(decoded->target, arr({str("a"), num(2)})));
  EXPECT_TRUE(decoded->pinned);
  EXPECT_EQ(decoded->visits, -42);
  EXPECT_EQ(decoded->score, 0.75);
  EXPECT_EQ(decoded->digest, std::string("\x00\xFF", 2));

  // A decoder that finds a field missing fails the whole archive.
  bookmark->title = nullptr;
  auto data = KeyedArchiver::archivedDataWithRootObject(bookmark);
  Ref<Error> error;
  EXPECT_FALSE(KeyedUnarchiver::unarchiveObjectWithData(*data, &error));
  EXPECT_NE(error->localizedDescription().find("needs a title"), std::string::npos);
}

class Unregistered : public Object, public Coding {
 public:
  std::string archiveClassName() const override { return "TQNeverRegistered"; }
  void encodeWithCoder(KeyedArchiver& coder) const override { coder.encodeInt64(1, "one"); }
};

TEST(KeyedArchive, ReportsUnknownClassesAndUnarchivableObjects) {
  auto data = KeyedArchiver::archivedDataWithRootObject(make<Unregistered>());
  ASSERT_TRUE(data);
  Ref<Error> error;
  EXPECT_FALSE(KeyedUnarchiver::unarchiveObjectWithData(*data, &error));
  EXPECT_EQ(error->code(), KeyedArchiveUnknownClassError);
  EXPECT_NE(error->localizedDescription().find("TQNeverRegistered"), std::string::npos);

  EXPECT_FALSE(KeyedArchiver::archivedDataWithRootObject(arr({make<Error>("d", 1)}), &error));
  EXPECT_EQ(error->code(), KeyedArchiveInvalidValueError);
  EXPECT_NE(error->localizedDescription().find("Error"), std::string::npos);
}

TEST(KeyedArchive, RefusesMalformedArchives) {
  auto arrayClass = dict({{str("$classname"), str("NSArray")}, {str("$classes"), arr({str("NSArray")})}});
  auto arrayOf = [](Id reference) { return dict({{str("NS.objects"), arr({reference})}, {str("$class"), uid(2)}}); };
  auto withoutArchiver = make<MutableDictionary>();
  withoutArchiver->addEntriesFromDictionary(*archiveWithObjects({str("$null"), str("x")}));
  withoutArchiver->removeObjectForKey(str("$archiver"));
  // A chain of arrays, each holding the next by reference: deep, though the
  // property list itself is flat.
  Array::Storage chain{str("$null")};
  for (std::uint64_t i = 1; i <= 2000; ++i) {
    chain.push_back(arrayOf(uid(i + 2 <= 2001 ? i + 2 : 2)));
    if (i == 1) chain.push_back(arrayClass);
  }
  const std::pair<Id, const char*> cases[] = {
      {archiveWithObjects({str("$null"), arrayOf(uid(1)), arrayClass}), "cycle"},
      {archiveWithObjects({str("$null"), arrayOf(uid(9)), arrayClass}), "reference 9 beyond"},
      {archiveWithObjects({str("$null"), arrayOf(uid(0)), arrayClass}), "nil inside"},
      {archiveWithObjects({str("$null"), dict({{str("NS.objects"), arr({})}})}), "class reference"},
      {archiveWithObjects({str("$null"), str("x")}, num(1)), "root reference"},
      {arr({}), "not a dictionary"},
      {withoutArchiver, "$archiver"},
      {archiveWithObjects({str("$null"), dict({{str("$class"), uid(2)}}), dict({{str("$classname"), str("NSDate")}})}),
       "NS.time"},
      {archiveWithObjects(chain), "nested more than 512"}};
  for (const auto& [plist, expected] : cases)
    EXPECT_NE(unarchiveFailure(plist).find(expected), std::string::npos) << expected << ": " << unarchiveFailure(plist);

  Ref<Error> error;
  EXPECT_FALSE(KeyedUnarchiver::unarchiveObjectWithData(Data("not an archive"), &error));
  EXPECT_EQ(error->code(), KeyedArchiveReadCorruptError);
}

TEST(KeyedArchive, ArchivesACyclicGraphButRefusesToRebuildIt) {
  auto loop = make<MutableArray>();
  loop->addObject(loop);
  auto data = KeyedArchiver::archivedDataWithRootObject(loop);
  loop->removeAllObjects();
  ASSERT_TRUE(data);
  Ref<Error> error;
  EXPECT_FALSE(KeyedUnarchiver::unarchiveObjectWithData(*data, &error));
  EXPECT_NE(error->localizedDescription().find("cycle"), std::string::npos);
}

TEST(KeyedArchive, WritesAndReadsFiles) {
  tq::testing::TemporaryFolder folder("archive");
  const std::string path = folder.string() + "/x.archive";
  Ref<Error> error;
  ASSERT_TRUE(KeyedArchiver::archiveRootObjectToFile(arr({str("a"), num(1)}), path, &error)) << describeUTF8(error);
  EXPECT_TRUE(isEqual(KeyedUnarchiver::unarchiveObjectWithFile(path, &error), arr({str("a"), num(1)})));
  std::filesystem::remove(path);
  EXPECT_FALSE(KeyedUnarchiver::unarchiveObjectWithFile(path, &error));
  EXPECT_EQ(error->code(), KeyedArchiveFileError);
  EXPECT_FALSE(KeyedArchiver::archiveRootObjectToFile(arr({}), "/nonexistent-dir/x.archive", &error));
  EXPECT_EQ(error->code(), KeyedArchiveFileError);
}

}  // namespace
