#pragma once
// Skips a test that needs the library's assertions when they are compiled
// out (TQ_BLOCK_ASSERTIONS). Include it from the repository root as
// "tests/support/RequireAssertions.h".

#include <gtest/gtest.h>

#ifndef TQ_REQUIRE_ASSERTIONS
#if defined(TQ_BLOCK_ASSERTIONS) && TQ_BLOCK_ASSERTIONS
#define TQ_REQUIRE_ASSERTIONS() GTEST_SKIP() << "assertions are compiled out"
#else
#define TQ_REQUIRE_ASSERTIONS() (void)0
#endif
#endif
