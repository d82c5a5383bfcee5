#include "tq/encodings/RFC2822.h"

#include <gtest/gtest.h>

#include <string>

#include "tq/platform/object/Exception.h"

namespace tq {
namespace {

using namespace RFC2822;
using namespace TQFoundation;

Data bytes(std::string_view text) { return Data(text); }
std::string text(const Ref<Data>& data) { return data ? std::string(data->view()) : std::string("<nil>"); }

struct Parts {
  std::string header, body, delimiter;
};
Parts partition(std::string_view message, TQLineEndingOptions options, bool wantHeader = true, bool wantBody = true) {
  Ref<Data> header, body, delimiter = make<Data>("sentinel");
  partitionIntoHeaderData(bytes(message), wantHeader ? &header : nullptr, wantBody ? &body : nullptr, options,
                          &delimiter);
  return {text(header), text(body), text(delimiter)};
}

TEST(RFC2822Partition, SplitsAtTheFirstBlankLineOfThePreferredConvention) {
  Parts p = partition("A: 1\r\n\r\nbody", 0);
  EXPECT_EQ(p.header, "A: 1");
  EXPECT_EQ(p.body, "body");
  EXPECT_EQ(p.delimiter, "\r\n");
  EXPECT_EQ(partition("A: 1\n\nbody", 0).delimiter, "\n");
  EXPECT_EQ(partition("A: 1\r\rbody", 0).body, "body");

  // CRLF CRLF wins over an earlier LF LF.
  std::string mixed = "X: 123456\n\n" + std::string(39, 'y') + "\r\n\r\ntail";
  ASSERT_EQ(mixed.find("\r\n\r\n"), 50u);
  EXPECT_EQ(partition(mixed, 0).header.size(), 50u);
  EXPECT_EQ(partition(mixed, 0).body, "tail");
  EXPECT_EQ(partition(mixed, TQLineEndingLF).header, "X: 123456");
  // A message ending at the blank line has no body.
  Parts ending = partition("Subject: x\r\n\r\n", 0);
  EXPECT_EQ(ending.header, "Subject: x");
  EXPECT_EQ(ending.body, "<nil>");
  EXPECT_EQ(bodySubdata(bytes("Subject: x\r\n\r\n")), nullptr);
}

TEST(RFC2822Partition, WithoutSeparatorTheWholeDataIsTheHeaderUnlessOnlyTheBodyIsAsked) {
  // Options 2 only: no LF LF, but a LF occurs, so that is the delimiter.
  Parts p = partition("A: 1\r\n\r\nbody", TQLineEndingLF);
  EXPECT_EQ(p.header, "A: 1\r\n\r\nbody");
  EXPECT_EQ(p.body, "<nil>");
  EXPECT_EQ(p.delimiter, "\n");
  EXPECT_EQ(partition("A: 1\r\n\r\nbody", TQLineEndingLF, false).body, "A: 1\r\n\r\nbody");
  EXPECT_EQ(partition("no line end", 0).delimiter, "<nil>");
  EXPECT_EQ(partition("no line end", 0, false, false).delimiter, "<nil>");
  // A blank line at the very start is no separator.
  Parts leading = partition("\r\n\r\nX: 1", 0);
  EXPECT_EQ(leading.header, "\r\n\r\nX: 1");
  EXPECT_EQ(leading.delimiter, "\r\n");

  EXPECT_EQ(text(headerSubdata(bytes("a\nb"))), "a\nb");
  EXPECT_EQ(text(bodySubdata(bytes("a\nb"))), "a\nb");
  EXPECT_EQ(text(headerSubdata(bytes("a\n\nb"))), "a");
  EXPECT_EQ(text(bodySubdata(bytes("a\n\nb"))), "b");
}

TEST(RFC2822Partition, DelimiterOutputIsTheSharedConstant) {
  Ref<Data> delimiter;
  partitionIntoHeaderData(bytes("a\r\n\r\nb"), nullptr, nullptr, 0, &delimiter);
  EXPECT_EQ(delimiter, TQcarriageReturnLineFeed());
  EXPECT_EQ(lineDelimiterwithOptions(bytes("a\rb\nc"), 0), TQlineFeed());
  EXPECT_EQ(lineDelimiterwithOptions(bytes("a\rb\nc"), TQLineEndingCR), TQcarriageReturn());
  EXPECT_EQ(lineDelimiterwithOptions(bytes("a\rb\nc\r\n"), TQLineEndingLF | TQLineEndingCRLF),
            TQcarriageReturnLineFeed());
  EXPECT_EQ(lineDelimiterwithOptions(bytes("a\rb"), TQLineEndingLF), nullptr);
}

// The separator search tests many positions at once; compare it with a plain
// search over texts full of near misses, the match at every offset.
TEST(RFC2822Partition, SeparatorSearchAgreesWithAPlainSearchAtEveryOffset) {
  const std::string_view noise = "ab\r\n\rc\n\rd\r\ne\nf\r\n\rg";
  for (std::string_view separator : {"\r\n\r\n", "\n\n", "\r\r"}) {
    for (std::size_t length = 0; length < 150; ++length) {
      for (std::size_t at = 0; at <= length; ++at) {
        std::string text;
        while (text.size() < length) text += noise;
        text.resize(length);
        text.insert(at, separator);
        std::size_t expected = NotFound;
        for (std::string_view kind : {"\r\n\r\n", "\n\n", "\r\r"}) {
          std::size_t found = std::string_view(text).find(kind);
          if (found != std::string_view::npos) {
            expected = found + kind.size();
            break;
          }
        }
        ASSERT_EQ(rangeOfRFC2822HeaderData(bytes(text)).length, expected) << length << " " << at;
      }
    }
  }
  // The header range includes the blank line.
  EXPECT_EQ(rangeOfRFC2822HeaderData(bytes("A: 1\r\n\r\nb")), makeRange(0, 8));
  EXPECT_EQ(rangeOfRFC2822HeaderData(bytes("A: 1\n\nb\r\r")), makeRange(0, 6));
  EXPECT_EQ(rangeOfRFC2822HeaderData(bytes("A: 1\r\rb")), makeRange(0, 6));
  EXPECT_EQ(rangeOfRFC2822HeaderData(bytes("A: 1\r\nb")), makeRange(0, 0));
}

TEST(RFC2822Trim, ReturnsAndLineFeedsKeepTheirNilResults) {
  EXPECT_EQ(text(dataByTrimmingReturnsAndLineFeeds(bytes("\r\nabc\r\n"))), "abc");
  EXPECT_EQ(text(dataByTrimmingReturnsAndLineFeeds(bytes("\n\nab\r"))), "ab");
  EXPECT_EQ(text(dataByTrimmingReturnsAndLineFeeds(bytes("abc"))), "<nil>");      // nothing trailing
  EXPECT_EQ(text(dataByTrimmingReturnsAndLineFeeds(bytes("\r\nabc"))), "<nil>");  // leading only
  EXPECT_EQ(text(dataByTrimmingReturnsAndLineFeeds(bytes("\r\na\r\n"))), "<nil>");
  EXPECT_EQ(text(dataByTrimmingReturnsAndLineFeeds(bytes("\n"))), "<nil>");
  EXPECT_EQ(text(dataByTrimmingReturnsAndLineFeeds(bytes(""))), "<nil>");
  EXPECT_EQ(text(dataByTrimmingReturnsAndLineFeeds(bytes("\r\n\r\n"))), "<nil>");
}

TEST(RFC2822Trim, ByteSetNeverExaminesTheFirstByteFromTheEnd) {
  auto spaces = CharacterSet::characterSetWithCharactersInString(u" x");
  auto trim = [&](std::string_view in) { return text(dataByTrimmingBytesInCharacterSet(make<Data>(in), *spaces)); };
  EXPECT_EQ(trim("  ab  "), "ab");
  EXPECT_EQ(trim("abc"), "abc");
  EXPECT_EQ(trim(""), "");
  EXPECT_EQ(trim("a"), "<nil>");
  EXPECT_EQ(trim("a  "), "<nil>");  // the walk back reaches index 0
  EXPECT_EQ(trim(" a "), "<nil>");  // a one-byte remainder
  EXPECT_EQ(trim("xxab"), "ab");
  EXPECT_EQ(trim("    "), "<nil>");
  // Bytes 128-255 are tested as the characters of the same value.
  auto high = CharacterSet::characterSetWithCharactersInString(u"\u00e9");
  EXPECT_EQ(text(dataByTrimmingBytesInCharacterSet(make<Data>("\xe9" "ab\xe9"), *high)), "ab");
}

TEST(RFC2822Split, KeepsInnerEmptyPiecesButNotATrailingOne) {
  auto split = [](std::string_view in, std::string_view separator) {
    std::string joined;
    auto pieces = componentsSeparatedByData(bytes(in), bytes(separator));
    for (const Id& piece : *pieces) {
      joined += "[" + std::string(cast<Data>(piece)->view()) + "]";
    }
    return joined;
  };
  EXPECT_EQ(split("a,,b", ","), "[a][][b]");
  EXPECT_EQ(split("a,", ","), "[a]");
  EXPECT_EQ(split(",a", ","), "[][a]");
  EXPECT_EQ(split("abc", ","), "[abc]");
  EXPECT_EQ(split("", ","), "");
  EXPECT_EQ(split("a\r\nb\r\n\r\nc", "\r\n"), "[a][b][][c]");
}

TEST(RFC2822Join, SeparatorRulesFollowTheLastObjectByIdentity) {
  auto a = make<Data>("a"), b = make<Data>("b");
  Data comma(",");
  EXPECT_EQ(text(JoinDataComponents::componentsJoinedByData(Array{a, b}, comma)), "a,b");
  // A non-data last element: the last data element is followed by the separator.
  EXPECT_EQ(text(JoinDataComponents::componentsJoinedByData(Array{a, b, str("x")}, comma)), "a,b,");
  // Every occurrence of the last object goes without separator.
  EXPECT_EQ(text(JoinDataComponents::componentsJoinedByData(Array{b, a, b}, comma)), "ba,b");
  // An equal but distinct object is not the last object.
  EXPECT_EQ(text(JoinDataComponents::componentsJoinedByData(Array{make<Data>("b"), b}, comma)), "b,b");
  EXPECT_EQ(text(JoinDataComponents::componentsJoinedByData(Array{}, comma)), "");
}

TEST(RFC2822Foundation, PrefixSuffixHeadAndTail) {
  EXPECT_TRUE(beginsWithData(bytes("abc"), bytes("ab")));
  EXPECT_FALSE(beginsWithData(bytes("abc"), bytes("")));
  EXPECT_FALSE(beginsWithData(bytes("ab"), bytes("abc")));
  EXPECT_TRUE(endsWithData(bytes("abc"), bytes("bc")));
  EXPECT_FALSE(endsWithData(bytes("abc"), bytes("")));
  EXPECT_EQ(text(head(bytes("abcdef"), 2)), "ab");
  EXPECT_EQ(text(head(bytes("ab"), 9)), "ab");
  EXPECT_EQ(text(tail(bytes("abcdef"), 2)), "ef");
  EXPECT_EQ(text(tail(bytes("ab"), 9)), "ab");
  EXPECT_EQ(text(dataByAppendingData(bytes("ab"), bytes("cd"))), "abcd");
}

TEST(RFC2822Foundation, TrimmingRepeatsOnContiguousAndChainedData) {
  EXPECT_EQ(text(dataByTrimmingData(bytes("\r\n\r\nabc\r\n"), bytes("\r\n"))), "abc");
  EXPECT_EQ(text(dataByTrimmingData(bytes("xyxyx"), bytes("xy"))), "x");
  EXPECT_EQ(text(dataByTrimmingData(bytes("xyxy"), bytes("xy"))), "");
  EXPECT_EQ(text(dataByTrimmingData(bytes("\rab\n"), bytes("\r\n"))), "\rab\n");
  // A pattern longer than the data is compared by its prefix.
  EXPECT_EQ(text(dataByTrimmingData(bytes("ab"), bytes("abc"))), "");
  EXPECT_EQ(text(dataByTrimmingData(bytes(""), bytes("ab"))), "");
  EXPECT_THROW(dataByTrimmingData(bytes("ab"), bytes("")), Exception);

  // Chained: the pattern straddles region boundaries, the result shares.
  auto chained = ChainedData::concat(ChainedData::create("--a"), ChainedData::create("b-"));
  chained = ChainedData::concat(chained, ChainedData::create("-"));
  auto trimmed = TQ_dispatch_data_trim(chained, bytes("--"));
  EXPECT_EQ(trimmed->createMap().view(), "ab");
  EXPECT_EQ(trimmed->regions()[0].buffer, chained->regions()[0].buffer);
  EXPECT_EQ(TQ_dispatch_data_trim(ChainedData::create("----"), bytes("--"))->size(), 0u);
  EXPECT_EQ(TQ_dispatch_data_trim(ChainedData::create("xyxyx"), bytes("xy"))->createMap().view(), "x");

  // Many small regions of nothing but the pattern (a hostile part decoded
  // piece by piece): each comparison finds its region directly, so this
  // stays linear where a walk from the first region would take minutes.
  Ref<ChainedData> many = ChainedData::empty();
  for (int i = 0; i < 400000; ++i) {
    many = ChainedData::concat(std::move(many), ChainedData::create(i == 200000 ? "\nx\n" : "\n"));
  }
  ASSERT_EQ(many->regionCount(), 400000u);
  EXPECT_EQ(TQ_dispatch_data_trim(many, bytes("\n"))->createMap().view(), "x");
  EXPECT_EQ(TQ_dispatch_data_trim(many, bytes("\n\n"))->createMap().view(), "\nx");  // 200,001 before, 200,000 after
}

TEST(RFC2822Foundation, ChainedCopiesAndAppends) {
  auto chained = copyDispatchData(bytes("ab"));
  EXPECT_EQ(copyDispatchData(chained), chained);
  auto longer = dataByAppendingData(chained, bytes("cd"));
  EXPECT_EQ(longer->regionCount(), 2u);
  EXPECT_EQ(longer->createMap().view(), "abcd");
  EXPECT_EQ(dataByAppendingData(longer, chained)->createMap().view(), "abcdab");
}

TEST(RFC2822Foundation, ImageSignaturesInOrder) {
  auto type = [](std::string_view lead) { return describeUTF8(imageMimeType(Data(lead))); };
  EXPECT_EQ(type(std::string_view("\x89PNG\r\n\x1a\n....", 12)), "image/png");
  EXPECT_EQ(type("\xff\xd8\xff\xe0"), "image/jpeg");
  EXPECT_EQ(type("GIF89a"), "image/gif");
  EXPECT_EQ(type(std::string_view("II*\0", 4)), "image/tiff");
  EXPECT_EQ(type(std::string_view("MM\0*", 4)), "image/tiff");
  EXPECT_EQ(type("8BPS"), "image/psd");
  EXPECT_EQ(type("FORMILBM"), "image/iff");
  EXPECT_EQ(type("RIFF\x24\0\0\0WAVE"), "image/webp");  // the first 12 bytes of a WAV file
  EXPECT_EQ(type(std::string_view("\0\0\1\0", 4)), "image/vnd.microsoft.icon");
  EXPECT_EQ(type(std::string_view("\0\0\0\x0cjP  \r\n\x87\n", 12)), "image/jp2");
  EXPECT_EQ(type(std::string_view("\0\0\0\x0cjP  \r\n\x87", 11)), "(null)");  // missing bytes count as 0
  EXPECT_EQ(type("BM"), "image/x-ms-bmp");
  EXPECT_EQ(type(""), "(null)");
  EXPECT_EQ(type("%PDF"), "(null)");
}

TEST(RFC2822Foundation, HexRepresentationIsLowerCase) {
  EXPECT_EQ(hexRepresentation(Data(std::string_view("\x0a\xff\x00", 3)))->utf8(), "0aff00");
  EXPECT_EQ(hexRepresentation(Data())->utf8(), "");
}

TEST(RFC2822Text, CharsetReadersFailInsteadOfReplacing) {
  EXPECT_EQ(describeUTF8(asciiEncodedString(Data("plain"))), "plain");
  EXPECT_EQ(asciiEncodedString(Data("caf\xc3\xa9")), nullptr);
  EXPECT_EQ(describeUTF8(utf8EncodedString(Data("caf\xc3\xa9"))), "caf\u00e9");
  EXPECT_EQ(utf8EncodedString(Data("caf\xe9")), nullptr);
  EXPECT_EQ(describeUTF8(latin1EncodedString(Data("caf\xe9"))), "caf\u00e9");
  EXPECT_EQ(describeUTF8(stringWithEncoding(Data("\xf0\xd2\xc9\xd7\xc5\xd4"), KOI8RStringEncoding)),
            "\u041f\u0440\u0438\u0432\u0435\u0442");
  EXPECT_EQ(stringWithEncoding(Data("x"), NoStringEncoding), nullptr);
}

}  // namespace
}  // namespace tq
