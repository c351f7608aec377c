#pragma once
// A stream grabber over the stand-in, and what it says.

#include "TavixTL_USB/TavixUSB/stream/TavixUsbStream.h"

#include "support/DeviceFixture.h"

#include <functional>

inline constexpr char kStreamFile[] = "TavixUsbStream.cpp";

inline LogLine StreamLine(unsigned int level, const std::string& text) {
    return {"Tavix.USB.Stream", level, text};
}

class StreamGrabber : public DeviceFixture {
protected:
    StreamGrabber() { Load(CameraXml()); }

    void MakeWith(const std::string& xml) {
        Destroy();
        Make();
        Load(xml);
    }
    Tavix::IStreamGrabber& grabber() { return *device->GetStreamGrabber(0); }
    GenApi::IInteger& Parameter(const char* name) { return Integer(grabber().GetNodeMap(), name); }
    std::string Status() {
        return GenApi::CEnumerationPtr(grabber().GetNodeMap()->GetNode("Status"))->ToString().c_str();
    }
    void OpenGrabber() {
        Open();
        grabber().Open();
    }
    void Prepare() {
        OpenGrabber();
        grabber().PrepareGrab();
    }
    void RefusesIn(const char* state, const char* operation, const std::function<void()>& call) {
        const std::string text =
            std::string("Invalid stream grabber state '") + state + "' in " + operation + " for device '1:2:3'.";
        log.Forget();
        EXPECT_FAILURE(LogicalErrorException, kStreamFile, text, call());
        EXPECT_EQ(1, log.Count(StreamLine(256, text)));
    }
    void ExpectFailure(const std::string& text, const std::function<void()>& call) {
        log.Forget();
        EXPECT_FAILURE(RuntimeException, kStreamFile, text, call());
        EXPECT_EQ(1, log.Count(StreamLine(256, text)));
    }
    /// The calls of the USB access library that a step makes, each with the grabber's state at its time.
    std::vector<std::string> CallsAndStates(const std::function<void()>& step) {
        std::vector<std::string> seen;
        bus.onCall = [&](const std::string& call) { seen.push_back(call + " " + Status()); };
        step();
        bus.onCall = nullptr;
        return seen;
    }
    std::vector<LogLine> Said() const { return log.From("Tavix.USB.Stream"); }

    unsigned char image[16] = {};
};
