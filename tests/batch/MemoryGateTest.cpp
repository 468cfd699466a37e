// Tests of CMemoryGate: which file of a parallel batch may start, by the memory each will need.
#include "batch/MemoryGate.h"

#include <gtest/gtest.h>

namespace {

// A budget of 100: files start in their order, together while they and the outputs waiting to be
// written fit, and a file alone whatever it needs; a hold waits until the files in flight finish.
TEST(MemoryGateTest, FilesStartInOrderWhileTheirEstimatesFitAndAloneWhenTheyDoNot) {
    CMemoryGate gate(100);
    EXPECT_FALSE(gate.MayStart(1, 10)) << "file 1 before file 0";
    ASSERT_TRUE(gate.MayStart(0, 60));
    gate.Start(60);
    EXPECT_FALSE(gate.MayStart(0, 10)) << "file 0 twice";
    EXPECT_FALSE(gate.MayStart(1, 41)) << "60 + 41 is over 100";
    ASSERT_TRUE(gate.MayStart(1, 40)) << "60 + 40 fits exactly";
    gate.Start(40);
    EXPECT_FALSE(gate.MayStart(2, 1));
    gate.Finish(60);
    ASSERT_TRUE(gate.MayStart(2, 60));
    gate.Start(60);
    gate.Finish(40);
    gate.Finish(60);
    EXPECT_TRUE(gate.Idle());
    EXPECT_TRUE(gate.MayStart(3, 500)) << "a file alone may use more than the budget";
    gate.Start(500);
    EXPECT_FALSE(gate.MayStart(4, 1)) << "nothing beside a file over the budget";
    gate.Hold(true);
    EXPECT_FALSE(gate.Idle());
    gate.Finish(500);
    EXPECT_TRUE(gate.Idle());
    EXPECT_FALSE(gate.MayStart(4, 1)) << "held";
    gate.Hold(false);
    EXPECT_TRUE(gate.MayStart(4, 1));
    gate.Keep(30); // an output waits to be written
    EXPECT_FALSE(gate.MayStart(4, 71)) << "30 + 71, and not alone: an output waits";
    gate.Written(30);
    EXPECT_TRUE(gate.MayStart(4, 500));
}

} // namespace
