// tqkit indexes: sets of message and record numbers in the text forms that
// settings and the wire keep them in (comma lists, run texts, JSON arrays),
// read with the library's list parser over the whole unsigned 64-bit range.

#include <charconv>
#include <string>
#include <vector>

#include "Command.h"
#include "TextInput.h"
#include "tq/collections/IndexSetExtensions.h"
#include "tq/collections/TQIntegerSet.h"
#include "tq/platform/object/Assert.h"
#include "tq/platform/object/Exception.h"

using namespace tqkit;

namespace {

namespace Corvina = tq::Corvina;

/// Reads a list with the integer set's parser. A text it would loop on (a
/// sign, a letter, the hyphen of a range) is a failure, whether or not the
/// library was built with its assertions.
tq::Ref<tq::TQMutableIntegerSet> readList(const std::string& text, const std::string& what) {
  requireUTF8(text, what);
  std::string cause;
  tq::AssertionHandler previous =
      tq::setAssertionHandler([&](const tq::AssertionFailure& failure) { cause = failure.description; });
  tq::Ref<tq::TQMutableIntegerSet> set;
  try {
    set = tq::TQMutableIntegerSet::integerSetWithStringList(*tq::str(text));
  } catch (...) {
    tq::setAssertionHandler(previous);
    throw;
  }
  tq::setAssertionHandler(previous);
  // The parser names itself; what the user needs is the character.
  std::size_t on = cause.find(" on the character ");
  if (!cause.empty()) throw FailureException{"cannot read " + what + ": unexpected character " + cause.substr(on + 18)};
  return set;
}

/// The list as an index set: every integer below 2^63 - 1.
tq::Ref<tq::IndexSet> indexSetOf(const tq::TQIntegerSet& set, const char* form) {
  if (set.count() != set.subset(0).count()) {
    throw FailureException{std::string("cannot write ") + form + ": it holds numbers below 9223372036854775807 only"};
  }
  return set.indexSet();
}

tq::Ref<tq::TQMutableIntegerSet> listArgument(Arguments& arguments) { return readList(textArgument(arguments), "the list"); }

int list(Arguments& arguments) {
  printLine(arguments, listArgument(arguments)->stringList());
  return Success;
}

int runs(Arguments& arguments) {
  printLine(arguments, Corvina::rangeDescription(*indexSetOf(*listArgument(arguments), "the runs")));
  return Success;
}

int json(Arguments& arguments) {
  auto bytes = Corvina::tq_jsonArray(*indexSetOf(*listArgument(arguments), "a JSON array"));
  writeOut(arguments, std::string(reinterpret_cast<const char*>(bytes->bytes()), bytes->length()) + "\n");
  return Success;
}

int describe(Arguments& arguments) {
  // Without the default object description in front, whose address means
  // nothing outside the process.
  std::string text = listArgument(arguments)->description()->utf8();
  writeOut(arguments, text.substr(text.find("> ") + 2) + "\n");
  return Success;
}

int batch(Arguments& arguments) {
  const std::string file = arguments.option("--file", "-f", "");
  auto words = arguments.positionals(1, 2);
  tq::Index size = 0;
  const std::string& n = words[0];
  auto [end, error] = std::from_chars(n.data(), n.data() + n.size(), size);
  if (error != std::errc() || end != n.data() + n.size()) throw UsageException{"N must be a count, not '" + n + "'"};
  if (!file.empty() && words.size() == 2) throw UsageException{"give TEXT or -f FILE, not both"};
  std::string text;
  if (words.size() == 2 && words[1] != "-") {
    text = words[1];
  } else {
    text = readInput(arguments, file.empty() ? "-" : file);
    if (!text.empty() && text.back() == '\n') text.pop_back();
  }
  auto batches = Corvina::tq_indexSetsWithBatchSize(*indexSetOf(*readList(text, "the list"), "batches"), size);
  for (const tq::Id& set : *batches) printLine(arguments, Corvina::tq_stringList(*std::static_pointer_cast<tq::IndexSet>(set)));
  return Success;
}

/// Set algebra on two lists given as arguments.
int algebra(Arguments& arguments, const char* operation) {
  auto words = arguments.positionals(2, 2);
  auto a = readList(words[0], "list A"), b = readList(words[1], "list B");
  std::string op = operation;
  tq::Ref<tq::TQIntegerSet> result;
  if (op == "union") {
    a->unionIntegerSet(*b);
    result = a;
  } else if (op == "intersect") {
    result = a->integerSetByIntersectingIntegers(*b);
  } else {
    result = a->integerSetByRemovingIntegers(*b);
  }
  printLine(arguments, result->stringList());
  return Success;
}

const std::string ListInput = "[-f FILE | TEXT | -]";
const char* const ListNotes =
    " TEXT is a list of numbers from 0 to 18446744073709551615 separated by commas, spaces or line "
    "breaks; a trailing comma adds 0, as the library's parser does. A sign, a letter or a range such as "
    "'1-3' cannot be read and fails (exit 1).";

const CommandGroup indexesGroup{
    "indexes",
    "sets of message and record numbers in their stored text forms",
    {
        {.name = "list",
         .synopsis = ListInput,
         .summary = "Reads a list of numbers and prints it as a sorted comma list.",
         .run = list,
         .description = std::string("Every number once, ascending, each written out (1,2,3: runs are not "
                                    "folded).") + ListNotes,
         .options = {TextFileOption},
         .examples = {{"tqkit indexes list '3, 1,2'", "prints 1,2,3"},
                      {"tqkit indexes list -f numbers.txt", "a list kept in a file, one number a line"}}},
        {.name = "runs",
         .synopsis = ListInput,
         .summary = "Prints the runs of consecutive numbers of a list.",
         .run = runs,
         .description = std::string("Each run as {FIRST-LAST}, joined by commas; an empty list gives {}. "
                                    "Runs, JSON arrays and batches are forms of index sets, which hold "
                                    "numbers below 9223372036854775807.") + ListNotes,
         .options = {TextFileOption},
         .examples = {{"tqkit indexes runs 1,2,3,7", "prints {1-3},{7-7}"}}},
        {.name = "json",
         .synopsis = ListInput,
         .summary = "Prints a list as a JSON array.",
         .run = json,
         .description = std::string("The numbers ascending, as [1,2,3]; an empty list gives [].") + ListNotes,
         .options = {TextFileOption},
         .examples = {{"tqkit indexes json '7 3'", "prints [3,7]"}}},
        {.name = "batch",
         .synopsis = "N " + ListInput,
         .summary = "Cuts a list into comma lists of N numbers, one a line.",
         .run = batch,
         .description = std::string("Every line but the last holds N numbers, in order; N = 0 gives one "
                                    "number a line.") + ListNotes,
         .options = {TextFileOption},
         .examples = {{"tqkit indexes batch 2 1,2,3,4,5", "prints 1,2 then 3,4 then 5"},
                      {"seq 1 1000 | tqkit indexes batch 100", "ten lines of a hundred numbers"}}},
        {.name = "describe",
         .synopsis = ListInput,
         .summary = "Counts a list's numbers and runs.",
         .run = describe,
         .description = std::string("The integer set's description: '4 integers in 2 ranges: (1-3,7)'. "
                                    "Runs are counted per half of the range, so a run across "
                                    "9223372036854775806 and 9223372036854775807 counts twice.") + ListNotes,
         .options = {TextFileOption},
         .examples = {{"tqkit indexes describe 1,2,3,7", "prints 4 integers in 2 ranges: (1-3,7)"}}},
        {.name = "union",
         .synopsis = "A B",
         .summary = "Prints the numbers in list A or list B.",
         .run = [](Arguments& arguments) { return algebra(arguments, "union"); },
         .description = std::string("A and B are lists as 'tqkit indexes list' reads them.") + ListNotes,
         .examples = {{"tqkit indexes union 1,2 2,9", "prints 1,2,9"}}},
        {.name = "intersect",
         .synopsis = "A B",
         .summary = "Prints the numbers in both list A and list B.",
         .run = [](Arguments& arguments) { return algebra(arguments, "intersect"); },
         .description = std::string("A and B are lists as 'tqkit indexes list' reads them.") + ListNotes,
         .examples = {{"tqkit indexes intersect 1,2,3 2,3,4", "prints 2,3"}}},
        {.name = "subtract",
         .synopsis = "A B",
         .summary = "Prints the numbers of list A that list B lacks.",
         .run = [](Arguments& arguments) { return algebra(arguments, "subtract"); },
         .description = std::string("A and B are lists as 'tqkit indexes list' reads them.") + ListNotes,
         .examples = {{"tqkit indexes subtract 1,2,3 2", "prints 1,3"}}},
    }};

}  // namespace
