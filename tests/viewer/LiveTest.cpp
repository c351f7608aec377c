// A camera looked at by a browser that is a plain socket: what is sent when, whatever the browser does.

#include "viewer/Viewer.h"
#include "viewer/Wire.h"
#include "viewer/server/Protocol.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <thread>

#include <sys/resource.h>

namespace {

using namespace viewertest;
using testing::HasSubstr;
using viewer::Json;

constexpr const char* kView = R"(, "x": 0, "y": 0, "width": 0, "height": 0, "columns": 64, "rows": 64, "kind": "plain",
    "colour": true, "marks": false, "black": 0, "white": 0, "details": false)";

/// A server with a fast, small virtual camera, and a browser that has opened it.
class Live : public testing::Test {
protected:
    Live() : m_Folder(MakeFolder()), m_Server(Options(m_Folder)), m_Thread([this] { m_Server.Run(); }) {}
    void SetUp() override { // not while it is made: what fails here must still end the thread
        Enter();
        m_Camera = Ask("virtual", R"(, "request": {"add": {"sensorWidth": 64, "sensorHeight": 64, "frameRate": 200}})")
                       .at("guid")
                       .get<std::string>();
        while (m_Listed.find(m_Camera) == std::string::npos)
            Next();
        AskCamera("open");
    }
    ~Live() override {
        m_Server.Stop();
        m_Thread.join();
        std::filesystem::remove_all(m_Folder);
    }

    static std::string MakeFolder() {
        char folder[] = "/tmp/tavix-live-XXXXXX";
        return mkdtemp(folder);
    }
    static viewer::ViewerOptions Options(const std::string& folder) {
        viewer::PrepareVirtualCameras();
        viewer::ViewerOptions options;
        options.folder = folder;
        return options;
    }
    void Enter() {
        const std::string address = m_Server.Invite();
        Wire door(m_Server.Port());
        door.Send(Get(address.substr(address.find("/?token="))));
        const std::string answer = door.ReadAnswer();
        const auto begin = answer.find("Set-Cookie: ") + 12;
        m_Wire = std::make_unique<Wire>(m_Server.Port());
        m_Wire->Send(Upgrade("Cookie: " + answer.substr(begin, answer.find(';', begin) - begin) + "\r\n"));
        ASSERT_EQ("101", StatusOf(m_Wire->ReadAnswer()));
        ASSERT_THAT(m_Wire->ReadMessage(), HasSubstr("welcome"));
    }
    /// The next message that is text, as JSON. Images on the way are counted.
    Json Next() {
        while (true) {
            const std::string message = m_Wire->ReadMessage();
            if (message.empty()) throw std::runtime_error("the server has closed the connection");
            if (message.front() == '{') {
                Json text = Json::parse(message);
                if (text.value("event", "") == "room") m_IsAway = text.at("isAway").get<bool>();
                if (text.value("event", "") == "cameras") m_Listed = message;
                return text;
            }
            ++m_Images;
            m_LastHeader = HeaderOf(message);
            m_LastNumber = m_LastHeader.at("number").get<std::uint64_t>();
        }
    }
    static Json HeaderOf(const std::string& image) {
        const auto byte = [&image](std::size_t at) { return static_cast<unsigned char>(image.at(at)); };
        return Json::parse(image.substr(4, byte(0) | static_cast<unsigned>(byte(1)) << 8));
    }
    Json AwaitEvent(const std::function<bool(const Json&)>& test) {
        while (true) {
            Json message = Next();
            if (test(message)) return message;
        }
    }
    Json Ask(const std::string& what, const std::string& fields = {}) {
        const std::uint64_t id = ++m_LastId;
        m_Wire->SendMessage("{\"id\": " + std::to_string(id) + ", \"do\": \"" + what + "\"" + fields + "}");
        return AwaitEvent([id](const Json& message) { return message.value("re", std::uint64_t(0)) == id; });
    }
    Json AskCamera(const std::string& what, const std::string& fields = {}) {
        return Ask(what, ", \"camera\": \"" + m_Camera + "\"" + fields);
    }
    Json Figures() {
        return AwaitEvent([](const Json& message) { return message.value("event", "") == "figures"; });
    }
    void TellShown(std::uint64_t number) {
        m_Wire->SendMessage(R"({"id": 1, "do": "shown", "camera": ")" + m_Camera +
                            "\", \"number\": " + std::to_string(number) + "}");
    }

    const std::string m_Folder;
    viewer::Viewer m_Server;
    std::thread m_Thread;
    std::unique_ptr<Wire> m_Wire;
    std::string m_Camera;
    std::uint64_t m_LastId = 1, m_LastNumber = 0;
    Json m_LastHeader;
    int m_Images = 0;
    bool m_IsAway = false; ///< as it was told last, as is the next
    std::string m_Listed;
};

TEST_F(Live, ABrowserThatDrawsNothingGetsTwoImagesAndHoldsNothingUp) {
    AskCamera("start");
    AskCamera("view", kView);
    while (m_Images < 2)
        Figures();
    const Json first = Figures();
    Json last = first;
    while (last.at("frames").get<int>() < first.at("frames").get<int>() + 200)
        last = Figures();
    EXPECT_EQ(2, m_Images);
    TellShown(m_LastNumber);
    while (m_Images < 3)
        Figures();
    EXPECT_GT(m_LastNumber, 100u) << "the newest, not the next";
}

TEST_F(Live, TheSameImageComesAgainWhenItIsLookedAtInAnotherWay) {
    AskCamera("start");
    AskCamera("view", kView);
    while (m_Images < 2)
        Figures();
    AskCamera("stop");
    TellShown(m_LastNumber);
    AskCamera("view", std::string(kView) + R"(, "profile": [0, 0, 63, 63])");
    while (m_Images < 3)
        Figures();
}

TEST_F(Live, ASingleImageHasItsDetailsHoweverSoonAfterAnotherItComes) {
    std::string detailed = kView;
    detailed.replace(detailed.rfind("false"), 5, "true");
    AskCamera("view", detailed);
    AskCamera("single");
    AskCamera("single");
    while (m_LastNumber < 2 || !m_LastHeader.contains("details")) {
        TellShown(m_LastNumber);
        Figures();
    }
}

TEST_F(Live, AVirtualCameraThatWasPulledIsListedAsAway) {
    const auto awaitAway = [this](bool isAway) {
        const auto isAsWanted = [&](const Json& camera) {
            return camera.at("key") == m_Camera && camera.at("isAway") == isAway;
        };
        const auto isListed = [&] {
            const Json cameras = Json::parse(m_Listed).at("cameras");
            return std::any_of(cameras.begin(), cameras.end(), isAsWanted);
        };
        while (!isListed())
            Next();
    };
    AskCamera("close");
    const std::string camera = R"(": ")" + m_Camera + "\"}";
    Ask("virtual", R"(, "request": {"unplug)" + camera);
    awaitAway(true);
    Ask("virtual", R"(, "request": {"plug)" + camera);
    awaitAway(false);
    EXPECT_FALSE(AskCamera("open").contains("error"));
}

/// The kernel's number of this process's thread of that name; 0 when there is none.
id_t FindThread(const std::string& wanted) {
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        std::string name;
        std::getline(std::ifstream(task.path() / "comm") >> std::ws, name);
        if (name == wanted) return static_cast<id_t>(std::stoul(task.path().filename().string()));
    }
    return 0;
}

TEST_F(Live, WhoMakesImagesForBrowsersYieldsToWhoFetchesThem) {
    AskCamera("view", kView);
    AskCamera("single");
    while (m_Images < 1)
        Next(); // so that the thread has begun
    const id_t thread = FindThread("view-image");
    ASSERT_NE(0u, thread);
    EXPECT_GT(getpriority(PRIO_PROCESS, thread), getpriority(PRIO_PROCESS, 0));
}

TEST_F(Live, WhatChangesByAChangeIsTold) {
    const Json features = AskCamera("features");
    EXPECT_EQ("integer", features.at("features").at("Width").at("type"));
    EXPECT_EQ("64", features.at("values").at("Width").at("value"));
    const Json answer = AskCamera("set", R"(, "name": "PixelFormat", "value": "Mono12")");
    EXPECT_THAT(answer.dump(), HasSubstr(R"({"from":"4096","name":"PayloadSize","to":"8192"})"));
    EXPECT_THAT(AskCamera("set", R"(, "name": "Width", "value": "5000")").at("error").get<std::string>(),
                HasSubstr("64"));
}

TEST_F(Live, WhatChangesByItselfIsNotToldAsChangedByASetting) {
    AskCamera("start");
    AskCamera("set", R"(, "name": "CounterEventSource", "value": "FrameStart")");
    bool isTold = true;
    for (int gain = 1; isTold && gain <= 15; ++gain) {
        for (int ticks = 0; ticks < 4; ++ticks)
            Figures(); // which come every half second
        const Json answer = AskCamera("set", R"(, "name": "Gain", "value": ")" + std::to_string(gain) + "\"");
        EXPECT_THAT(answer.dump(), HasSubstr("GainRaw"));
        isTold = answer.dump().find("CounterValue") != std::string::npos;
    }
    EXPECT_FALSE(isTold) << "it counts images whatever the gain is";
}

TEST_F(Live, WhatChangedSinceTheSettingBeforeIsNotToldAsChangedByTheNext) {
    AskCamera("set", R"(, "name": "CounterEventSource", "value": "FrameStart")");
    AskCamera("set", R"(, "name": "TriggerSource", "value": "Software")");
    AskCamera("set", R"(, "name": "TriggerMode", "value": "On")");
    AskCamera("start");
    AskCamera("view", kView);
    AskCamera("set", R"(, "name": "Gain", "value": "1")");
    AskCamera("trigger");
    while (m_Images == 0) // or it has come with the answers already
        Next();
    const std::string answer = AskCamera("set", R"(, "name": "Gain", "value": "2")").dump();
    EXPECT_THAT(answer, HasSubstr("GainRaw"));
    EXPECT_THAT(answer, testing::Not(HasSubstr("CounterValue"))) << "the trigger was, not the gain";
}

TEST_F(Live, ACameraThatWaitsForItsTriggerIsClosedAtOnce) {
    AskCamera("set", R"(, "name": "TriggerSource", "value": "Line1")");
    AskCamera("set", R"(, "name": "TriggerMode", "value": "On")");
    const std::uint64_t single = 1000;
    m_Wire->SendMessage(R"({"id": 1000, "do": "single", "camera": ")" + m_Camera + "\"}");
    m_Wire->SendMessage(R"({"id": 1001, "do": "close", "camera": ")" + m_Camera + "\"}");
    m_Wire->SendMessage(R"({"id": 1002, "do": "faults"})"); // answered when the camera is closed
    std::string why;
    AwaitEvent([&](const Json& message) {
        const std::uint64_t id = message.value("re", std::uint64_t(0));
        if (id == single) why = message.value("error", "");
        return id == 1002;
    });
    EXPECT_THAT(why, testing::Not(HasSubstr("5000 ms"))) << "no image came, but nobody wants it any more";
}

TEST_F(Live, WhatIsLockedSaysWhyAndWhatIsForReadingOnlyNeedsNoReason) {
    AskCamera("start");
    const Json values = AskCamera("features").at("values");
    EXPECT_THAT(values.at("Width").at("why").get<std::string>(), HasSubstr("locked"));
    EXPECT_FALSE(values.at("DeviceModelName").at("writable").get<bool>());
    EXPECT_EQ("", values.at("DeviceModelName").at("why"));
}

TEST_F(Live, ARegionIsAsNearAsTheStepsAllowAndTheImageGoesOn) {
    AskCamera("start");
    AskCamera("region", R"(, "x": 9, "y": 7, "width": 33, "height": 21)");
    const Json values = AskCamera("features").at("values");
    EXPECT_EQ("32", values.at("Width").at("value"));
    EXPECT_EQ("8", values.at("OffsetX").at("value"));
    EXPECT_FALSE(values.at("Width").at("writable").get<bool>()) << "it streams again";
}

TEST_F(Live, ASeriesIsWrittenIntoItsFolderOnly) {
    AskCamera("start");
    const auto why = [this](const std::string& name) {
        return AskCamera("record", ", \"name\": \"" + name + R"(", "format": "pgm", "count": 3)").value("error", "");
    };
    for (const char* name : {"", ".", "..", "../out", "/tmp/out", "a/b", ".hidden"})
        EXPECT_THAT(why(name), HasSubstr("name the series")) << name;
    EXPECT_EQ("", why("good"));
    AwaitEvent([](const Json& message) {
        return message.value("event", "") == "recording" && message.at("state").at("done").get<bool>();
    });
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(m_Folder))
        if (entry.is_regular_file()) files.push_back(entry.path().lexically_relative(m_Folder).string());
    EXPECT_THAT(files, testing::UnorderedElementsAre("good/000001.pgm", "good/000002.pgm", "good/000003.pgm"));
}

TEST_F(Live, ACameraThatIsPluggedInAgainIsThereAgain) {
    for (const char* state : {"start", "stop"}) { // while it streams, and while it does not
        AskCamera(state);
        Ask("virtual", R"(, "request": {"unplug": ")" + m_Camera + "\"}");
        while (!m_IsAway)
            Next();
        EXPECT_THAT(AskCamera("execute", R"(, "name": "TimestampLatch")").at("error").get<std::string>(),
                    HasSubstr("unplugged"));
        Ask("virtual", R"(, "request": {"plug": ")" + m_Camera + "\"}");
        while (m_IsAway)
            Next();
        EXPECT_FALSE(AskCamera("execute", R"(, "name": "TimestampLatch")").contains("error"));
    }
}

} // namespace
