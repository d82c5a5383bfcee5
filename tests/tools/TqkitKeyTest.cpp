// tqkit key: glyph strings, their parsing and the layout table, over named
// layouts; run in-process. The keys' names per layout are the key room's
// tests; these hold the options and the output forms.

#include <gtest/gtest.h>

#include "tests/tools/TqkitTestSupport.h"

using namespace tq::testing;

using TqkitKey = TqkitTest;

TEST_F(TqkitKey, GlyphShowsTheModifiersAndTheKeyOfTheLayout) {
  EXPECT_EQ(runInProcess({"key", "glyph", "--layout", "us", "--modifiers", "cmd,shift", "40"}).out, "⇧⌘K\n");
  EXPECT_EQ(runInProcess({"key", "glyph", "--layout", "fr", "--number-digit", "18"}).out, "1\n");
  EXPECT_EQ(runInProcess({"key", "glyph", "--modifiers", "fn,ctrl,alt", "122"}).out, "⌃⌥F1\n");
  EXPECT_EQ(runInProcess({"key", "glyph", "--layout", "us:dvorak", "1"}).out, "O\n");

  const InProcessResult badModifier = runInProcess({"key", "glyph", "--modifiers", "cmd,hyper", "40"});
  EXPECT_EQ(badModifier.status, 2);
  EXPECT_NE(badModifier.err.find("unknown modifier 'hyper'"), std::string::npos) << badModifier.err;
  EXPECT_EQ(runInProcess({"key", "glyph", "65536"}).status, 2);
  EXPECT_EQ(runInProcess({"key", "glyph"}).status, 2);
  const InProcessResult badLayout = runInProcess({"key", "glyph", "--layout", "zz", "40"});
  EXPECT_EQ(badLayout.status, 1);
  EXPECT_EQ(badLayout.err, "tqkit: key glyph: cannot use layout 'zz': no keyboard layout 'zz'\n");
}

TEST_F(TqkitKey, ParsePrintsCodeFlagsNamesAndTheGlyphAsShown) {
  EXPECT_EQ(runInProcess({"key", "parse", "--layout", "us", "⌘⇧k"}).out, "40\t0x120000\tshift,command\t⇧⌘K\n");
  EXPECT_EQ(runInProcess({"key", "parse", "--layout", "de", "⌃@"}).out, "12\t0x40000\tcontrol\t⌃Q\n")
      << "the option the layout needs for @ is not added";
  EXPECT_EQ(runInProcess({"key", "parse", "--layout", "us", "-"}, "!\n").out, "18\t0x20000\tshift\t⇧1\n");
}

TEST_F(TqkitKey, LayoutPrintsTheNameAndTheTableOfKeys) {
  const InProcessResult french = runInProcess({"key", "layout", "--layout", "fr"});
  EXPECT_EQ(french.status, 0) << french.err;
  EXPECT_EQ(french.out.rfind("French\tfr\ncode\tevdev\tname\tplain\tshift\toption\tshift+option\n0\t30\tQ\tq\tQ\t", 0),
            0u)
      << french.out.substr(0, 200);
  EXPECT_NE(french.out.find("\n122\t59\tF1\t-\t-\t-\t-\n"), std::string::npos);
  EXPECT_EQ(runInProcess({"key", "layout", "extra"}).status, 2);
}
