#pragma once
// Assertions through a replaceable handler.
//
// A failed assertion reports the condition or description, the method, the
// source file and the line to the current handler. The default handler writes
// "*** Assertion failure in METHOD, FILE:LINE" to standard error and raises
// the internal-inconsistency exception with the description as its reason.
// Compiled with TQ_BLOCK_ASSERTIONS, the checks vanish and execution goes on.

#include <functional>
#include <string>

namespace tq {

struct AssertionFailure {
  std::string method;
  std::string file;
  int line = 0;
  std::string description;
};

using AssertionHandler = std::function<void(const AssertionFailure&)>;

/// Installs a handler for the calling thread; an empty handler restores the
/// default. Answers the previous one.
AssertionHandler setAssertionHandler(AssertionHandler handler);
/// Reports a failure to the current handler. When the handler returns
/// normally, execution goes on after the assertion.
void reportAssertionFailure(const AssertionFailure& failure);
/// The default behaviour: log the report, raise internal inconsistency.
[[noreturn]] void defaultAssertionHandler(const AssertionFailure& failure);

}  // namespace tq

#if defined(TQ_BLOCK_ASSERTIONS) && TQ_BLOCK_ASSERTIONS
#define TQ_ASSERT_AT(cond, file, line, desc) ((void)0)
#define TQ_ASSERT(cond, desc) ((void)0)
#define TQ_PARAMETER_ASSERT(cond) ((void)0)
#else
/// Asserts with an explicit file and line, for the assertions whose report
/// must name a fixed place.
#define TQ_ASSERT_AT(cond, file, line, desc)                                           \
  do {                                                                                 \
    if (!(cond)) ::tq::reportAssertionFailure({__PRETTY_FUNCTION__, file, line, desc}); \
  } while (0)
#define TQ_ASSERT(cond, desc) TQ_ASSERT_AT(cond, __FILE__, __LINE__, desc)
/// "Invalid parameter not satisfying: COND"
#define TQ_PARAMETER_ASSERT(cond) \
  TQ_ASSERT(cond, std::string("Invalid parameter not satisfying: ") + #cond)
#endif
