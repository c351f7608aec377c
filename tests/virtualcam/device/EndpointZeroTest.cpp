#include "virtualcam/device/endpoint/EndpointZero.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using virtualcam::Bytes;
using virtualcam::CameraSettings;
using virtualcam::Descriptors;
using virtualcam::EndpointMap;
using virtualcam::EndpointZero;
using virtualcam::PipeAnswer;
using virtualcam::PipeStatus;

/// Writes down what requests ask of it. Bound to a thread.
struct Notes final : virtualcam::RequestHost {
    void ResetInterfaces() override { text += "reset "; }
    bool IsRoleHalted(std::uint8_t role) const override { return role == halted; }
    void HostSetHalt(std::uint8_t role) override { text += "halt " + std::to_string(role) + " "; }
    void HostClearedHalt(std::uint8_t role) override { text += "clear " + std::to_string(role) + " "; }
    const std::string& Name() const override { return name; }

    std::string text;
    std::string name = "left";
    int halted = 0;
};

struct EndpointZeroTest : testing::Test {
    CameraSettings settings;
    Descriptors descriptors{settings};
    EndpointMap endpoints{1, /*isApart=*/true};
    Notes notes;
    EndpointZero zero{{descriptors, endpoints, notes}, /*hasReadableStrings=*/true};
    Bytes data;

    PipeAnswer Request(const usb::ControlSetup& setup) {
        data.assign(setup.length, 0);
        const PipeAnswer answer = zero.Serve(setup, data.data());
        data.resize(answer.bytes);
        return answer;
    }
    bool IsRefused(const usb::ControlSetup& setup) { return Request(setup).status == PipeStatus::Stall; }
};

TEST_F(EndpointZeroTest, CutsDescriptorsToTheRoomThatIsAsked) {
    EXPECT_EQ(Request({0x80, 6, 0x0100, 0, 2}).bytes, 2u);
    EXPECT_EQ(data, (Bytes{0x12, 0x01}));
    EXPECT_TRUE(IsRefused({0x80, 6, 0x0201, 0, 9})) << "a second configuration";
    EXPECT_TRUE(IsRefused({0x80, 6, 0x0600, 0, 10}));
}

TEST_F(EndpointZeroTest, ReadsTheNameThatTheCameraHasNow) {
    const auto index = static_cast<std::uint16_t>(0x0300 | static_cast<unsigned>(virtualcam::Text::UserName));
    Request({0x80, 6, index, 0x0409, 64});
    EXPECT_EQ(data, (Bytes{10, 3, 'l', 0, 'e', 0, 'f', 0, 't', 0}));
    notes.name = "up";
    Request({0x80, 6, index, 0x0409, 64});
    EXPECT_EQ(data, (Bytes{6, 3, 'u', 0, 'p', 0}));
    EndpointZero mute({descriptors, endpoints, notes}, /*hasReadableStrings=*/false);
    data.resize(64);
    EXPECT_EQ(mute.Serve({0x80, 6, index, 0x0409, 64}, data.data()).status, PipeStatus::Stall);
}

TEST_F(EndpointZeroTest, MeansEndpointsByTheirAddresses) {
    EXPECT_EQ(Request({0x02, 3, 0, 0x84, 0}).status, PipeStatus::Complete);
    EXPECT_EQ(Request({0x02, 1, 0, 0x83, 0}).status, PipeStatus::Complete);
    EXPECT_EQ(notes.text, "halt 129 clear 131 ");
    EXPECT_TRUE(IsRefused({0x02, 3, 0, 0x81, 0})) << "nobody has that address";
    EXPECT_TRUE(IsRefused({0x02, 3, 1, 0x83, 0})) << "another feature";
    notes.halted = 0x81;
    EXPECT_EQ(Request({0x82, 0, 0, 0x84, 2}).bytes, 2u);
    EXPECT_EQ(data, (Bytes{1, 0}));
    Request({0x82, 0, 0, 0x83, 2});
    EXPECT_EQ(data, (Bytes{0, 0}));
}

TEST_F(EndpointZeroTest, HasNoHaltItself) {
    EXPECT_EQ(Request({0x02, 3, 0, 0x00, 0}).status, PipeStatus::Complete);
    EXPECT_EQ(Request({0x02, 1, 0, 0x80, 0}).status, PipeStatus::Complete);
    Request({0x82, 0, 0, 0x80, 2});
    EXPECT_EQ(data, (Bytes{0, 0}));
    EXPECT_EQ(notes.text, "");
}

TEST_F(EndpointZeroTest, ResetsInterfacesWithTheConfiguration) {
    EXPECT_TRUE(IsRefused({0x00, 9, 2, 0, 0}));
    EXPECT_EQ(notes.text, "");
    EXPECT_EQ(Request({0x00, 9, 0, 0, 0}).status, PipeStatus::Complete);
    EXPECT_EQ(notes.text, "reset ");
    Request({0x80, 8, 0, 0, 1});
    EXPECT_EQ(data, Bytes{0});
    zero.Reset();
    Request({0x80, 8, 0, 0, 1});
    EXPECT_EQ(data, Bytes{1});
}

TEST_F(EndpointZeroTest, KeepsItsMemoryWithinItsBounds) {
    Bytes out{1, 2, 3};
    EXPECT_EQ(zero.Serve({0x40, 0x5C, 0, 61, 3}, out.data()).status, PipeStatus::Complete);
    zero.Reset();
    Request({0xC0, 0x5C, 0, 62, 2});
    EXPECT_EQ(data, (Bytes{2, 3}));
    EXPECT_TRUE(IsRefused({0xC0, 0x5C, 0, 62, 3}));
    EXPECT_TRUE(IsRefused({0xC0, 0x5C, 0, 65, 0}));
    EXPECT_TRUE(IsRefused({0xC0, 0x5D, 0, 0, 1}));
    EXPECT_TRUE(IsRefused({0xA1, 1, 0, 0, 1})) << "of a class";
}

} // namespace
