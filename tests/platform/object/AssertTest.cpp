#include "tq/platform/object/Assert.h"

#include <gtest/gtest.h>

#include <thread>

#include "tests/support/RaisedException.h"
#include "tests/support/RecordedAssertions.h"
#include "tq/platform/object/Exception.h"

using namespace tq;
using tq::testing::raisedBy;
using RecordingHandler = tq::testing::RecordedAssertions;

namespace {

int assertLine = 0;

int checkedHalf(int x) {
  assertLine = __LINE__ + 1;
  TQ_PARAMETER_ASSERT(x > 0);
  return x / 2;
}

void fixedPlace() { TQ_ASSERT_AT(false, "TQVersionDetails", 33, "malformed version string 1.2.3.4"); }

}  // namespace

TEST(AssertDefault, RaisesInternalInconsistencyWithTheCondition) {
  EXPECT_EQ(checkedHalf(4), 2);
  Exception e = raisedBy([] { checkedHalf(0); });  // the default handler raises
  EXPECT_EQ(e.name(), ExceptionName::InternalInconsistency);
  EXPECT_EQ(e.reason(), "Invalid parameter not satisfying: x > 0");
}

TEST(AssertHandler, ReceivesMethodFileAndLineAndExecutionGoesOn) {
  RecordingHandler recorder;
  EXPECT_EQ(checkedHalf(-4), -2) << "a handler that returns lets the code go on";
  fixedPlace();
  ASSERT_EQ(recorder.failures.size(), 2u);
  const AssertionFailure& parameter = recorder.failures[0];
  EXPECT_EQ(parameter.description, "Invalid parameter not satisfying: x > 0");
  EXPECT_NE(parameter.method.find("checkedHalf"), std::string::npos) << parameter.method;
  EXPECT_NE(parameter.file.find("AssertTest.cpp"), std::string::npos);
  EXPECT_EQ(parameter.line, assertLine);
  EXPECT_EQ(recorder.failures[1].file, "TQVersionDetails");
  EXPECT_EQ(recorder.failures[1].line, 33);
  EXPECT_EQ(recorder.failures[1].description, "malformed version string 1.2.3.4");
}

TEST(AssertHandler, IsPerThreadAndRestoresTheDefault) {
  {
    RecordingHandler recorder;
    bool raisedElsewhere = false;
    std::thread other([&] {
      try {
        checkedHalf(0);
      } catch (const Exception&) {
        raisedElsewhere = true;
      }
    });
    other.join();
    EXPECT_TRUE(raisedElsewhere) << "another thread keeps the default";
    EXPECT_TRUE(recorder.failures.empty());
  }
  EXPECT_THROW(checkedHalf(0), Exception) << "the default is back";
}

TEST(ExceptionText, WhatJoinsNameAndReason) {
  Exception e = raisedBy([] { raiseUnrecognizedMessage(nullptr, "frobnicate:"); });
  EXPECT_EQ(e.name(), ExceptionName::UnrecognizedMessage);
  EXPECT_EQ(std::string(e.what()),
            "UnrecognizedMessageException: -[nil frobnicate:]: unrecognized selector sent to instance 0x0");
}
