#include "blocxx/IOIFC.hpp"

#include "ScriptedDevice.hpp"

#include <gtest/gtest.h>

using zol_test::ScriptedDevice;

TEST(IOIFC, ADeviceThatKnowsNoMoreThanErrnoNeedNotSayWhatWentWrong)
{
    ScriptedDevice device;
    device.reads = {ScriptedDevice::failure(EIO)};
    char byte = 0;
    EXPECT_EQ(device.read(&byte, 1, blocxx::IOIFC::E_RETURN_ON_ERROR), -1);
    EXPECT_EQ(device.lastErrorText(), "");
    EXPECT_EQ(errno, EIO);
}
