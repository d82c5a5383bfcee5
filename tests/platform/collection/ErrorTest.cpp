#include "tq/platform/collection/Error.h"

#include <gtest/gtest.h>

#include "tq/platform/value/Number.h"
#include "tq/platform/value/String.h"

using namespace tq;

TEST(ErrorText, LocalizedDescriptionFallsBackToTheGenericSentence) {
  Error plain("TQFileWatcherErrorDomain", 500);
  EXPECT_EQ(plain.localizedDescription(),
            "The operation couldn\xE2\x80\x99t be completed. (TQFileWatcherErrorDomain error 500.)");
  auto described = Error::withDescription("UbiqDomain", 10, "Download failed");
  EXPECT_EQ(described->localizedDescription(), "Download failed");
  Error notText("D", 1, dict({{str(LocalizedDescriptionKey), num(3)}}));
  EXPECT_EQ(notText.localizedDescription(), "The operation couldn\xE2\x80\x99t be completed. (D error 1.)")
      << "only a string counts as the description";
}

TEST(ErrorText, DescriptionNamesDomainCodeAndUserInfoOnOneLine) {
  EXPECT_EQ(describeUTF8(make<Error>("D", -7)), "Error Domain=D Code=-7 \"(null)\"");
  EXPECT_EQ(describeUTF8(Error::withDescription("D", 11, "Bad input")),
            "Error Domain=D Code=11 \"Bad input\" UserInfo={NSLocalizedDescription=Bad input}");
  auto info = dict({{str("path"), str("/tmp/x")}, {str("attempts"), num(2)}});
  EXPECT_EQ(describeUTF8(make<Error>("D", 1, info)),
            "Error Domain=D Code=1 \"(null)\" UserInfo={path=/tmp/x, attempts=2}");
}

TEST(ErrorObject, EqualityAndTheOptionalSlot) {
  auto a = Error::withDescription("D", 1, "x");
  EXPECT_TRUE(isEqual(a, Error::withDescription("D", 1, "x")));
  EXPECT_EQ(a->hash(), Error::withDescription("D", 1, "x")->hash());
  EXPECT_FALSE(isEqual(a, Error::withDescription("D", 1, "y")));
  EXPECT_FALSE(isEqual(a, Error::withDescription("E", 1, "x")));
  EXPECT_FALSE(isEqual(a, Error::withDescription("D", 2, "x")));
  EXPECT_NO_THROW(setError(nullptr, a));
  Ref<Error> slot;
  setError(&slot, a);
  EXPECT_EQ(slot.get(), a.get());
  EXPECT_EQ(make<Error>("D", 1)->userInfo()->count(), 0u) << "an absent user info is an empty dictionary";
}
