#include "simulator/call_log.h"

#include <gtest/gtest.h>

namespace {

using namespace Platform;

TEST(CallLogTest, CallsAreKeptInOrderWithTheirArguments) {
  Simulator::CallLog log;
  log.Record("A::One", "1");
  log.Record("B::Two", "x, y");
  log.Record("A::One", "2");
  ASSERT_EQ(log.Calls().size(), 3u);
  EXPECT_EQ(log.Calls()[1].Text(), "B::Two(x, y)");
  EXPECT_EQ(log.CountOf("A::One"), 2u);
  EXPECT_EQ(log.CallsOf("A::One")[1].arguments, "2");
  log.Clear();
  EXPECT_TRUE(log.Calls().empty());
}

TEST(CallLogTest, InjectedFailureAppliesToItsOperationAndArgument) {
  Simulator::CallLog log;
  log.FailCalls("A::One", E_FAIL, "id1");
  EXPECT_EQ(log.InjectedResult("A::One", "id1"), E_FAIL);
  EXPECT_EQ(log.InjectedResult("A::One", "id2"), S_OK);
  EXPECT_EQ(log.InjectedResult("A::Two", "id1"), S_OK);
  log.FailCalls("A::One", E_OUTOFMEMORY);
  EXPECT_EQ(log.InjectedResult("A::One", "id2"), E_OUTOFMEMORY);
  log.ClearFailures();
  EXPECT_EQ(log.InjectedResult("A::One", "id1"), S_OK);
}

TEST(CallLogTest, InjectedFailureCanLetTheFirstCallsPass) {
  Simulator::CallLog log;
  log.FailCalls("A::One", E_FAIL, "", 2);
  EXPECT_EQ(log.InjectedResult("A::One", ""), S_OK);
  EXPECT_EQ(log.InjectedResult("A::One", ""), S_OK);
  EXPECT_EQ(log.InjectedResult("A::One", ""), E_FAIL);
  EXPECT_EQ(log.InjectedResult("A::One", ""), E_FAIL);
}

}  // namespace
