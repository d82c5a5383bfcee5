#include <cstdio>

#include "tq/collections/TQMutableOrderedDictionary.h"
#include "tq/platform/value/Number.h"

int main() {
  auto settings = tq::TQMutableOrderedDictionary::orderedDictionary();
  settings->addObject(tq::num(1024), tq::str("width"));
  std::puts(tq::describeUTF8(settings).c_str());
}
