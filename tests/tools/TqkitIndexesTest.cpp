// tqkit indexes: the text forms of number lists and their set algebra, run
// in-process.

#include <gtest/gtest.h>

#include "tests/tools/TqkitTestSupport.h"

using namespace tq::testing;

using TqkitIndexes = TqkitTest;

TEST_F(TqkitIndexes, EachFormOfOneList) {
  struct Case {
    std::vector<std::string> words;
    std::string out;
  } cases[] = {
      {{"indexes", "list", "3, 1,2,"}, "0,1,2,3\n"},
      {{"indexes", "runs", "1,2,3,7"}, "{1-3},{7-7}\n"},
      {{"indexes", "json", "7 3"}, "[3,7]\n"},
      {{"indexes", "json", ""}, "[]\n"},
      {{"indexes", "batch", "2", "1,2,3,4,5"}, "1,2\n3,4\n5\n"},
      {{"indexes", "describe", "1,2,3,7"}, "4 integers in 2 ranges: (1-3,7)\n"},
      {{"indexes", "union", "1,2", "2,18446744073709551615"}, "1,2,18446744073709551615\n"},
      {{"indexes", "intersect", "1,2,3", "2,3,4"}, "2,3\n"},
      {{"indexes", "subtract", "1,2,3", "2"}, "1,3\n"},
  };
  for (const Case& c : cases) {
    const InProcessResult result = runInProcess(c.words);
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out, c.out) << c.words[1];
  }
}

TEST_F(TqkitIndexes, ReadsStandardInputLineByLine) {
  EXPECT_EQ(runInProcess({"indexes", "batch", "0"}, "5\n4\n").out, "4\n5\n");
  EXPECT_EQ(runInProcess({"indexes", "list", "-"}, "9\n8\n").out, "8,9\n");
}

TEST_F(TqkitIndexes, AListTheParserWouldLoopOnFailsInsteadOfHanging) {
  for (const char* text : {"1-3", "x", "+4"}) {
    const InProcessResult result = runInProcess({"indexes", "list", text});
    EXPECT_EQ(result.status, 1) << text;
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err.rfind("tqkit: indexes list: cannot read the list: unexpected character '", 0), 0u)
        << result.err;
  }
  EXPECT_EQ(runInProcess({"indexes", "union", "1", "a"}).err,
            "tqkit: indexes union: cannot read list B: unexpected character 'a'\n");
}

TEST_F(TqkitIndexes, IndexSetFormsRefuseNumbersAboveTheIndexRange) {
  const InProcessResult result = runInProcess({"indexes", "json", "9223372036854775807"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err,
            "tqkit: indexes json: cannot write a JSON array: it holds numbers below 9223372036854775807 only\n");
  EXPECT_EQ(runInProcess({"indexes", "batch", "two", "1"}).status, 2);
  EXPECT_EQ(runInProcess({"indexes", "union", "1"}).status, 2);
}
