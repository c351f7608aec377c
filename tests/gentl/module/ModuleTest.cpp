// What modules tell of themselves and of what happens to them.

#include "gentl/support/ScriptedCameras.h"

#include <array>
#include <set>
#include <vector>

namespace {

std::string DescriptionOf(PORT_HANDLE port) {
    char url[1024] = "";
    size_t size = sizeof url;
    EXPECT_EQ(GCGetPortURL(port, url, &size), GC_ERR_SUCCESS);
    const std::string text = url;
    const std::size_t first = text.find(';'), second = text.find(';', first + 1);
    std::string description(std::stoull(text.substr(second + 1), nullptr, 16), '\0');
    size = description.size();
    EXPECT_EQ(GCReadPort(port, std::stoull(text.substr(first + 1), nullptr, 16), description.data(), &size),
              GC_ERR_SUCCESS);
    return description;
}

/// What stands behind `before` up to `end`.
std::string Behind(const std::string& text, const std::string& before, const char* end) {
    const std::size_t at = text.find(before);
    if (at == text.npos) return "(missing)";
    return text.substr(at + before.size(), text.find(end, at + before.size()) - at - before.size());
}

std::uint64_t AddressOf(PORT_HANDLE port, const std::string& node) {
    const std::string text = DescriptionOf(port);
    return std::stoull(Behind(text.substr(text.find("Name=\"" + node + "\"")), "<Address>", "<"), nullptr, 16);
}

std::uint64_t Value(PORT_HANDLE port, const std::string& node) {
    std::uint64_t value = 0;
    size_t size = sizeof value;
    EXPECT_EQ(GCReadPort(port, AddressOf(port, node), &value, &size), GC_ERR_SUCCESS) << node;
    return value;
}

GC_ERROR SetValue(PORT_HANDLE port, const std::string& node, std::uint64_t value) {
    size_t size = sizeof value;
    return GCWritePort(port, AddressOf(port, node), &value, &size);
}

class GenTLModules : public scripted::OnTwoCameras {
protected:
    void OpenDevice() {
        ASSERT_EQ(left.Open(&device), GC_ERR_SUCCESS);
        ASSERT_EQ(DevGetPort(device, &port), GC_ERR_SUCCESS);
    }
    void OpenStream() {
        ASSERT_NO_FATAL_FAILURE(OpenDevice());
        ASSERT_EQ(DevOpenDataStream(device, "Stream0", &stream), GC_ERR_SUCCESS);
    }
    std::string Told(DEVICE_INFO_CMD command) {
        char text[512] = "";
        size_t size = sizeof text;
        EXPECT_EQ(DevGetInfo(device, command, nullptr, text, &size), GC_ERR_SUCCESS);
        return text;
    }
    bool Says(PORT_INFO_CMD command) {
        bool8_t value = 0;
        size_t size = sizeof value;
        EXPECT_EQ(GCGetPortInfo(port, command, nullptr, &value, &size), GC_ERR_SUCCESS);
        return value != 0;
    }
    /// The number of the next event, which must have been told already unless there is time.
    static std::uint64_t Next(EVENT_HANDLE event, std::uint64_t timeout = 0) {
        std::uint64_t id = 0;
        size_t size = sizeof id;
        return EventGetData(event, &id, &size, timeout) == GC_ERR_SUCCESS ? id : 0;
    }

    DEV_HANDLE device = nullptr;
    PORT_HANDLE port = nullptr;
    DS_HANDLE stream = nullptr;
};

TEST_F(GenTLModules, HaveDescriptionsWithTheirOwnGuids) {
    ASSERT_NO_FATAL_FAILURE(OpenStream());
    std::set<std::string> guids;
    for (PORT_HANDLE each : {PORT_HANDLE(tl), PORT_HANDLE(left.interface), PORT_HANDLE(device), PORT_HANDLE(stream)}) {
        const std::string text = DescriptionOf(each);
        guids.insert(Behind(text, "ProductGuid=\"", "\""));
        guids.insert(Behind(text, "VersionGuid=\"", "\""));
    }
    EXPECT_EQ(guids.size(), 8u);
    for (const std::string& guid : guids)
        EXPECT_EQ(guid.size(), 36u) << guid;
}

TEST_F(GenTLModules, SayWhichMemoryIsMapped) {
    ASSERT_NO_FATAL_FAILURE(OpenStream());
    BUFFER_HANDLE buffer = nullptr;
    ASSERT_EQ(DSAllocAndAnnounceBuffer(stream, 1000, nullptr, &buffer), GC_ERR_SUCCESS);
    EXPECT_EQ(Value(stream, "StreamMemory_Value"), 0U) << "of the heap";
    leftCamera.AllowMapping(std::size_t{1} << 20);
    ASSERT_EQ(DSAllocAndAnnounceBuffer(stream, 1000, nullptr, &buffer), GC_ERR_SUCCESS);
    EXPECT_EQ(Value(stream, "StreamMemory_Value"), 1U);
    EXPECT_EQ(DSClose(stream), GC_ERR_SUCCESS);
}

TEST_F(GenTLModules, RefuseNumbersThatTheirRegistersCannotHold) {
    ASSERT_NO_FATAL_FAILURE(OpenStream());
    for (const char* node :
         {"StreamQueuedTransferCount_Value", "StreamThreadPriority_Value", "StreamMaxTransferSize_Value"}) {
        const std::uint64_t before = Value(stream, node);
        EXPECT_EQ(SetValue(stream, node, 0x100000000 + before + 1024), GC_ERR_INVALID_VALUE) << node;
        EXPECT_EQ(SetValue(stream, node, ~std::uint64_t(0)), GC_ERR_INVALID_VALUE) << node;
        EXPECT_EQ(Value(stream, node), before) << node;
    }
}

TEST_F(GenTLModules, CountNoStreamOfACameraWithoutImages) {
    constexpr std::uint64_t streamCount = scripted::kSbrm + 0x1C;
    leftCamera.Set32(streamCount, 0);
    ASSERT_NO_FATAL_FAILURE(OpenDevice());
    uint32_t count = 7;
    EXPECT_EQ(DevGetNumDataStreams(device, &count), GC_ERR_SUCCESS);
    EXPECT_EQ(count, 0U);
    size_t size = 0;
    EXPECT_EQ(DevGetDataStreamID(device, 0, nullptr, &size), GC_ERR_INVALID_INDEX);
    EXPECT_EQ(DevOpenDataStream(device, "Stream0", &stream), GC_ERR_INVALID_ID);
    char text[512] = "?";
    size = sizeof text;
    EXPECT_EQ(GCReadPort(device, AddressOf(device, "StreamID"), text, &size), GC_ERR_SUCCESS);
    EXPECT_STREQ(text, "");
}

TEST_F(GenTLModules, DisplayACameraWithoutSerialNumberByItsModel) {
    for (const int text : {3, 10, 11})
        leftCamera.SetString(text, "");
    ASSERT_EQ(IFUpdateDeviceList(left.interface, nullptr, 0), GC_ERR_SUCCESS);
    EXPECT_EQ(left.Text(DEVICE_INFO_SERIAL_NUMBER), "");
    EXPECT_EQ(left.Text(DEVICE_INFO_DISPLAYNAME), left.Text(DEVICE_INFO_MODEL));
}

TEST_F(GenTLModules, CallNumbersBeyondTheLimitsInvalidValues) {
    ASSERT_NO_FATAL_FAILURE(OpenStream());
    EXPECT_EQ(SetValue(stream, "StreamQueuedTransferCount_Value", 0), GC_ERR_INVALID_VALUE);
    EXPECT_EQ(SetValue(stream, "StreamQueuedTransferCount_Value", 4097), GC_ERR_INVALID_VALUE);
    EXPECT_EQ(SetValue(stream, "StreamThreadPriority_Value", 100), GC_ERR_INVALID_VALUE);
    EXPECT_EQ(SetValue(stream, "StreamMaxTransferSize_Value", 1), GC_ERR_INVALID_VALUE);
}

TEST_F(GenTLModules, FollowTheNameThatTheUserGives) {
    leftCamera.Set(0x184, scripted::Bytes(64));
    ASSERT_NO_FATAL_FAILURE(OpenDevice());
    size_t size = 5;
    ASSERT_EQ(GCWritePort(port, 0x184, "blue", &size), GC_ERR_SUCCESS);
    EXPECT_EQ(Told(DEVICE_INFO_USER_DEFINED_NAME), "blue");
    EXPECT_EQ(Told(DEVICE_INFO_DISPLAYNAME).rfind("blue (", 0), 0U);
    leftCamera.SetString(0x0B, "red");
    ASSERT_EQ(IFUpdateDeviceList(left.interface, nullptr, 0), GC_ERR_SUCCESS);
    EXPECT_EQ(left.Text(DEVICE_INFO_USER_DEFINED_NAME), "red");
    EXPECT_EQ(Told(DEVICE_INFO_USER_DEFINED_NAME), "red");
    char text[512] = "";
    size = sizeof text;
    ASSERT_EQ(GCReadPort(device, AddressOf(device, "DeviceUserID"), text, &size), GC_ERR_SUCCESS);
    EXPECT_STREQ(text, "red");
}

TEST_F(GenTLModules, TellOfChangedLists) {
    EVENT_HANDLE ofSystem = nullptr, ofInterface = nullptr;
    ASSERT_EQ(GCRegisterEvent(tl, EVENT_MODULE, &ofSystem), GC_ERR_SUCCESS);
    ASSERT_EQ(GCRegisterEvent(right.interface, EVENT_MODULE, &ofInterface), GC_ERR_SUCCESS);
    ASSERT_EQ(IFUpdateDeviceList(right.interface, nullptr, 0), GC_ERR_SUCCESS);
    EXPECT_EQ(Next(ofInterface), 0U) << "nothing has changed";
    rightCamera.Unplug(/*announce=*/true);
    ASSERT_EQ(IFUpdateDeviceList(right.interface, nullptr, 0), GC_ERR_SUCCESS);
    ASSERT_EQ(TLUpdateInterfaceList(tl, nullptr, 0), GC_ERR_SUCCESS);
    const auto idOf = [](PORT_HANDLE module, const std::string& event) {
        const std::string text = DescriptionOf(module);
        return std::stoull(Behind(text.substr(text.find("<Port Name=\"" + event)), "<EventID>", "<"), nullptr, 16);
    };
    EXPECT_EQ(Next(ofInterface), idOf(right.interface, "EventDeviceListChanged"));
    EXPECT_EQ(Next(ofSystem), idOf(tl, "EventInterfaceListChanged"));
}

TEST_F(GenTLModules, HaveNoEventsThatNeverCome) {
    ASSERT_NO_FATAL_FAILURE(OpenStream());
    EVENT_HANDLE event = nullptr;
    for (EVENTSRC_HANDLE each : {tl, left.interface, device, stream})
        EXPECT_EQ(GCRegisterEvent(each, EVENT_FEATURE_CHANGE, &event), GC_ERR_NOT_IMPLEMENTED);
}

TEST_F(GenTLModules, SayThatAnUnpluggedCameraIsNotToBeReached) {
    ASSERT_NO_FATAL_FAILURE(OpenDevice());
    EXPECT_TRUE(Says(PORT_INFO_ACCESS_READ) && Says(PORT_INFO_ACCESS_WRITE) && !Says(PORT_INFO_ACCESS_NA));
    EVENT_HANDLE event = nullptr;
    ASSERT_EQ(GCRegisterEvent(device, EVENT_MODULE, &event), GC_ERR_SUCCESS);
    leftCamera.Unplug(/*announce=*/true);
    EXPECT_NE(Next(event, 60000), 0U);
    EXPECT_TRUE(!Says(PORT_INFO_ACCESS_READ) && !Says(PORT_INFO_ACCESS_WRITE) && Says(PORT_INFO_ACCESS_NA));
}

TEST_F(GenTLModules, TellOfAnEventChannelThatEndsByItself) {
    ASSERT_NO_FATAL_FAILURE(OpenDevice());
    EVENT_HANDLE errors = nullptr, remote = nullptr;
    ASSERT_EQ(GCRegisterEvent(device, EVENT_ERROR, &errors), GC_ERR_SUCCESS);
    ASSERT_EQ(GCRegisterEvent(device, EVENT_REMOTE_DEVICE, &remote), GC_ERR_SUCCESS);
    const auto take = [](EVENT_HANDLE event) {
        char data[512] = "";
        size_t size = sizeof data;
        const GC_ERROR code = EventGetData(event, data, &size, 60000);
        if (code != GC_ERR_SUCCESS) return code;
        GC_ERROR told = 0;
        size_t bytes = sizeof told;
        EXPECT_EQ(EventGetDataInfo(event, data, size, EVENT_DATA_ID, nullptr, &told, &bytes), GC_ERR_SUCCESS);
        return told;
    };
    std::array<std::future<GC_ERROR>, 3> waiters;
    for (auto& waiter : waiters)
        waiter = std::async(std::launch::async, take, remote);
    constexpr unsigned int recoveries = 5;
    for (unsigned int i = 0; i <= recoveries; ++i) {
        const std::size_t before = leftCamera.WritesTo(scripted::kEirm).size();
        leftCamera.Fail(scripted::kEventIn, usb::TransferStatus::Stall);
        ASSERT_TRUE(i == recoveries ||
                    leftCamera.WaitFor([&] { return leftCamera.WritesTo(scripted::kEirm).size() > before; }));
    }
    EXPECT_EQ(take(errors), GC_ERR_IO);
    for (auto& waiter : waiters)
        EXPECT_EQ(waiter.get(), GC_ERR_IO);
    ASSERT_EQ(GCUnregisterEvent(device, EVENT_REMOTE_DEVICE), GC_ERR_SUCCESS);
    EXPECT_EQ(GCRegisterEvent(device, EVENT_REMOTE_DEVICE, &remote), GC_ERR_SUCCESS) << "another try";
}

TEST_F(GenTLModules, HaveNoDescriptionWhereTheCameraNamesNone) {
    for (const std::uint64_t entries : {std::uint64_t(0), ~std::uint64_t(0)}) {
        leftCamera.Set64(scripted::kManifest, entries);
        ASSERT_NO_FATAL_FAILURE(OpenDevice());
        uint32_t count = 7;
        EXPECT_EQ(GCGetNumPortURLs(port, &count), GC_ERR_SUCCESS);
        EXPECT_EQ(count, 0U);
        size_t size = 0;
        EXPECT_EQ(GCGetPortURL(port, nullptr, &size), GC_ERR_NOT_AVAILABLE);
        EXPECT_EQ(DevClose(device), GC_ERR_SUCCESS);
    }
}

} // namespace
