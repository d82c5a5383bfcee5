// tqkit colour: the three forms of each colour read, the shades, and the
// names, run in-process.

#include <gtest/gtest.h>

#include "tests/tools/TqkitTestSupport.h"

using namespace tq::testing;

using TqkitColour = TqkitTest;

TEST_F(TqkitColour, ParsePrintsTheThreeFormsOfEachColourAndReportsTheRest) {
  const InProcessResult result = runInProcess({"colour", "parse", "red", "#7f", "rgba(10,20,30,0.5)", "nope"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out,
            "255 0 0 100\trgb(255,0,0)\t#ff0000\n"
            "127 127 127 100\trgb(127,127,127)\t#7f7f7f\n"
            "10 20 30 50\trgb(10,20,30)\t#0a141e\n");
  EXPECT_EQ(result.err, "tqkit: colour parse: 'nope' is not a colour\n");
}

TEST_F(TqkitColour, ParseReadsLinesOfStandardInputAndPrintsOneFormWhenAsked) {
  const InProcessResult result = runInProcess({"colour", "parse", "--form", "json"}, "255 128 0\n\n#ff\r\n-1 0 0");
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out, "255 128 0 100\n255 255 255 100\n0 0 0 100\n");
  EXPECT_EQ(runInProcess({"colour", "parse", "--form=hash", "255 128 0"}).out, "#ff8000\n");

  const InProcessResult badForm = runInProcess({"colour", "parse", "--form", "hex", "red"});
  EXPECT_EQ(badForm.status, 2);
  EXPECT_NE(badForm.err.find("unknown form 'hex' (all, json, css or hash)"), std::string::npos) << badForm.err;
}

TEST_F(TqkitColour, ShadePrintsTheChosenShade) {
  // #3366cc: hue 0.6̅, saturation 0.75, brightness 0.8, lightness 0.5; the
  // pale shade has saturation 0.255 and brightness 0.934.
  EXPECT_EQ(runInProcess({"colour", "shade", "--pale", "#3366cc"}).out, "171 193 238 100\trgb(171,193,238)\t#abc1ee\n");
  EXPECT_EQ(runInProcess({"colour", "shade", "--shade", "0.5", "--form", "css", "orange"}).out, "rgb(127,63,0)\n");
  EXPECT_EQ(runInProcess({"colour", "shade", "--dark", "--form", "json", "-"}, "0 0 255\n").out, "0 0 51 100\n");
}

TEST_F(TqkitColour, ShadeRefusesAMissingOrOutOfRangeChoice) {
  for (const std::vector<std::string>& words :
       {std::vector<std::string>{"colour", "shade", "red"},
        {"colour", "shade", "--pale", "--dark", "red"},
        {"colour", "shade", "--pale-by", "2", "red"},
        {"colour", "shade", "--shade", "0.5x", "red"},
        {"colour", "shade", "--highlight", "nan", "red"}}) {
    const InProcessResult result = runInProcess(words);
    EXPECT_EQ(result.status, 2) << words[2];
    EXPECT_EQ(result.out, "");
    EXPECT_NE(result.err.find("usage: tqkit colour shade"), std::string::npos) << result.err;
  }
  const InProcessResult notAColour = runInProcess({"colour", "shade", "--pale", "chartreuse"});
  EXPECT_EQ(notAColour.status, 1);
  EXPECT_EQ(notAColour.err, "tqkit: colour shade: 'chartreuse' is not a colour\n");
}

TEST_F(TqkitColour, NamesListsTheColoursTheNamedFormFinds) {
  const InProcessResult result = runInProcess({"colour", "names"});
  EXPECT_EQ(result.status, 0);
  EXPECT_NE(result.out.find("brownColor\t153 102 51 100\n"), std::string::npos) << result.out;
  EXPECT_NE(result.out.find("clearColor\t0 0 0 0\n"), std::string::npos);
  EXPECT_EQ(runInProcess({"colour", "names", "extra"}).status, 2);
}
