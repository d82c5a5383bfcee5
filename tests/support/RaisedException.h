#pragma once
// The exception a piece of code raises, for tests that then check its name
// and reason. Shared by every test program: include it from the repository
// root as "tests/support/RaisedException.h".

#include <gtest/gtest.h>

#include "tq/platform/object/Exception.h"

namespace tq::testing {

/// Runs `body` and answers the exception it raises. When it raises nothing,
/// the test fails and the answer has an empty name and reason.
template <class Body>
Exception raisedBy(Body&& body) {
  try {
    body();
  } catch (const Exception& e) {
    return e;
  }
  ADD_FAILURE() << "nothing was raised";
  return Exception("", "");
}

}  // namespace tq::testing
