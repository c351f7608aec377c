#pragma once
// A control channel to a scripted camera, and what the tests of it share.

#include "support/ScriptedBackend.h"
#include "vexlo/control/ControlChannel.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace vexlotest {

using namespace vexlo;
using namespace scripted;

using Answers = std::optional<std::vector<Bytes>>;

constexpr VxStatus kRefused = VX_E_DEVICE_STATUS_BASE;

/// Waits for nothing that a test could wait for. Bound to a thread.
class Channel : public testing::Test {
protected:
    static ControlTiming Impatient() {
        ControlTiming timing;
        timing.busyPause = timing.drain = ControlTiming::Duration(0);
        timing.connectLimit = timing.resetLimit = ControlTiming::Duration(0);
        return timing;
    }

    /// A deadline that no test comes to.
    static Deadline InTime() { return Deadline(std::chrono::hours(1)); }

    VxStatus Read32(std::uint32_t& value) {
        std::uint8_t bytes[4] = {};
        const VxStatus status = channel.Read(0x1CC, bytes, sizeof bytes, InTime());
        value = bytes[0];
        return status;
    }
    VxStatus Read() {
        std::uint32_t value = 0;
        return Read32(value);
    }
    VxStatus Write(Repeat repeat) {
        const Bytes data = Hex("07000000");
        return channel.Write(0x1CC, data, repeat, InTime());
    }
    /// Answers the given number of commands by `answers`, all later ones properly.
    void AnswerFirst(int times, std::function<std::vector<Bytes>(const Command&)> answers) {
        camera.OnCommand([=](const Command& command) mutable -> Answers {
            if (command.Address() == 0 || times == 0) return std::nullopt; // resynchronising reads 0
            --times;
            return answers(command);
        });
    }
    std::size_t Commands(std::uint64_t address) const {
        std::size_t count = 0;
        for (const Command& command : camera.Commands())
            count += command.Address() == address;
        return count;
    }
    std::vector<std::uint16_t> RequestIds() const {
        std::vector<std::uint16_t> ids;
        for (const Command& command : camera.Commands())
            ids.push_back(command.RequestId());
        return ids;
    }

    Camera camera;
    std::unique_ptr<usb::Handle> handle = OpenHandle(camera);
    ControlChannel::Counters counters;
    ControlChannel channel{*handle, {kControlOut, 1024}, {kControlIn, 1024}, counters, Impatient()};
};

} // namespace vexlotest
