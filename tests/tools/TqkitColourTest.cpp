// tqkit colour: the four forms of each colour read, the shades, the names,
// the appearance and the catalogue, run in-process. The colours' values are
// the colour room's tests; these hold the forms, options and errors.

#include <gtest/gtest.h>

#include "tests/tools/TqkitTestSupport.h"
#include "tq/platform/system/Appearance.h"

using namespace tq::testing;

using TqkitColour = TqkitTest;

TEST_F(TqkitColour, ParsePrintsTheFourFormsOfEachColourAndReportsTheRest) {
  const InProcessResult result = runInProcess({"colour", "parse", "red", "#7f", "rgba(10,20,30,0.5)", "nope"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out,
            "255 0 0 100\trgb(255,0,0)\t#ff0000\tred\n"
            "127 127 127 100\trgb(127,127,127)\t#7f7f7f\tgray\n"
            "10 20 30 50\trgb(10,20,30)\t#0a141e\t-\n");
  EXPECT_EQ(result.err, "tqkit: colour parse: 'nope' is not a colour\n");
  EXPECT_EQ(runInProcess({"colour", "parse", "--form", "name", "0 121 255"}).out, "controlAccentColor\n")
      << "a name with capitals inside is written whole";
}

TEST_F(TqkitColour, ParseReadsLinesOfStandardInputAndPrintsOneFormWhenAsked) {
  const InProcessResult result = runInProcess({"colour", "parse", "--form", "json"}, "255 128 0\n\n#ff\r\n-1 0 0");
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out, "255 128 0 100\n255 255 255 100\n0 0 0 100\n");
  EXPECT_EQ(runInProcess({"colour", "parse", "--form=hash", "255 128 0"}).out, "#ff8000\n");

  const InProcessResult badForm = runInProcess({"colour", "parse", "--form", "hex", "red"});
  EXPECT_EQ(badForm.status, 2);
  EXPECT_NE(badForm.err.find("unknown form 'hex' (all, json, css, hash or name)"), std::string::npos) << badForm.err;
}

TEST_F(TqkitColour, ShadesPrintsEveryShadeAtTheLevelsAsked) {
  const InProcessResult result = runInProcess({"colour", "shades", "--levels", "0.5", "#3366cc"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out,
            "pale\t171 193 238 100\trgb(171,193,238)\t#abc1ee\t-\n"
            "dark\t6 18 40 100\trgb(6,18,40)\t#061228\t-\n"
            "pale 0.5\t149 176 229 100\trgb(149,176,229)\t#95b0e5\t-\n"
            "highlight 0.5\t165 186 229 100\trgb(165,186,229)\t#a5bae5\t-\n"
            "shade 0.5\t0 34 102 100\trgb(0,34,102)\t#002266\t-\n");
  const InProcessResult css =
      runInProcess({"colour", "shades", "--levels", "0.25,0.75", "--form", "css", "-"}, "orange\n");
  EXPECT_EQ(css.out.substr(css.out.find("shade 0.25")), "shade 0.25\trgb(191,95,0)\nshade 0.75\trgb(63,31,0)\n");
}

TEST_F(TqkitColour, ShadesRefusesLevelsOutOfRange) {
  for (const char* levels : {"2", "0.5x", "nan", "0.5,", ""}) {
    const InProcessResult result = runInProcess({"colour", "shades", "--levels", levels, "red"});
    EXPECT_EQ(result.status, 2) << levels;
    EXPECT_EQ(result.out, "");
    EXPECT_NE(result.err.find("usage: tqkit colour shades"), std::string::npos) << result.err;
  }
  const InProcessResult notAColour = runInProcess({"colour", "shades", "chartreuse"});
  EXPECT_EQ(notAColour.status, 1);
  EXPECT_EQ(notAColour.err, "tqkit: colour shades: 'chartreuse' is not a colour\n");
}

TEST_F(TqkitColour, AppearanceAndCatalogue) {
  {
    tq::ScopedAppearance dark(tq::FixedAppearance::dark());
    EXPECT_EQ(runInProcess({"colour", "appearance"}).out, "dark\n");
  }
  EXPECT_EQ(runInProcess({"colour", "appearance", "--changes", "1"}).status, 2) << "--changes needs --watch";
  const InProcessResult catalogue = runInProcess({"colour", "catalogue"});
  EXPECT_EQ(catalogue.status, 0);
  EXPECT_EQ(catalogue.out.substr(0, catalogue.out.find('\n') + 1), "tagWindowBackgroundColor\t#d5dde4\t#191919\n");
  const InProcessResult unwritable = runInProcess({"colour", "catalogue", "--html", "/nonexistent/c.html"});
  EXPECT_EQ(unwritable.status, 1);
  EXPECT_EQ(unwritable.err.rfind("tqkit: colour catalogue: cannot write '/nonexistent/c.html': ", 0), 0u)
      << unwritable.err;
}

TEST_F(TqkitColour, NamesListsTheColoursTheNamedFormFinds) {
  const InProcessResult result = runInProcess({"colour", "names"});
  EXPECT_EQ(result.status, 0);
  EXPECT_NE(result.out.find("brownColor\t153 102 51 100\n"), std::string::npos) << result.out;
  EXPECT_EQ(runInProcess({"colour", "names", "extra"}).status, 2);
}
