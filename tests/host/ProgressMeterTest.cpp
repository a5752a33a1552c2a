#include "host/ProgressMeter.h"

#include <gtest/gtest.h>

#include <csignal>

namespace {

TEST(ProgressMeter, CtrlCWhileAMeterRunsIsACancelNotAnEnd) {
    host::ProgressMeter::SetVisible(false);
    host::ProgressMeter::ResetCancel();
    {
        host::ProgressMeter meter("Reading drawings", 10);
        meter.Step();
        std::raise(SIGINT);
        EXPECT_TRUE(host::ProgressMeter::Cancelled());
    }
    host::ProgressMeter::ResetCancel();
    EXPECT_FALSE(host::ProgressMeter::Cancelled());
}

TEST(ProgressMeter, PositionIsClampedToItsRange) {
    host::ProgressMeter::SetVisible(false);
    host::ProgressMeter meter("Writing", 3);
    meter.SetPosition(99);
    meter.SetPosition(-5);
    meter.Step();
    SUCCEED();
}

}  // namespace
