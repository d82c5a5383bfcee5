#include "tq/platform/object/Assert.h"

#include <cstdio>
#include <string>

#include "tq/platform/object/Exception.h"

namespace tq {

namespace {
// Per thread, as the platform keeps its handler in the thread's dictionary:
// a test that replaces it cannot disturb other threads.
thread_local AssertionHandler currentHandler;
}  // namespace

AssertionHandler setAssertionHandler(AssertionHandler handler) {
  AssertionHandler previous = std::move(currentHandler);
  currentHandler = std::move(handler);
  return previous;
}

void reportAssertionFailure(const AssertionFailure& failure) {
  if (currentHandler) {
    currentHandler(failure);
    return;
  }
  defaultAssertionHandler(failure);
}

void defaultAssertionHandler(const AssertionFailure& failure) {
  std::fprintf(stderr, "*** Assertion failure in %s, %s:%d\n", failure.method.c_str(),
               failure.file.c_str(), failure.line);
  raise(ExceptionName::InternalInconsistency, failure.description);
}

}  // namespace tq
