#pragma once
// A small camera and a host for it.

#include <gtest/gtest.h>

#include "virtualcam/support/SmallCamera.h"
#include "virtualcam/support/StreamClient.h"

namespace virtualcam::test {

struct CameraTest : testing::Test {
    Device device{Small()};
    DeviceClient client{device};
    StreamClient stream{client};

    std::uint16_t StartStream() {
        return stream.Start(static_cast<std::uint32_t>((client.Read(0x20008, 8) + 1023) / 1024 * 1024), 1);
    }
    bool HasBlock() {
        Bytes leader;
        return client.Receive(0x83, 1024, leader, 0) == PipeStatus::Complete && leader.size() == 52;
    }
    void SkipBlock() {
        Bytes rest;
        client.Receive(0x83, stream.sizes[1], rest);
        client.Receive(0x83, 1024, rest);
    }
};

} // namespace virtualcam::test
