// Every function against handles that are none: null, invented, closed, and of another kind.

#include "gentl/support/Session.h"

#include <functional>
#include <map>

namespace {

using Handle = void*;

/// Each function that takes a handle, with arguments that are good but for it.
std::map<std::string, std::function<GC_ERROR(Handle)>> Calls(consumer::Producer& gc) {
    static size_t size;
    static uint32_t number;
    static Handle out;
    static char text[2048];
    static uint8_t bytes[2048];
    static PORT_REGISTER_STACK_ENTRY entry;
    size = sizeof text;
    entry = {0x1000, bytes, 4};
    std::map<std::string, std::function<GC_ERROR(Handle)>> calls;
#define CALL(name, ...)                                                                                                \
    calls[#name] = [&gc](Handle h) {                                                                                   \
        size = sizeof text;                                                                                            \
        return gc.name(__VA_ARGS__);                                                                                   \
    }
    CALL(GCReadPort, h, 0x1000, bytes, &size);
    CALL(GCWritePort, h, 0x1000, bytes, &size);
    CALL(GCReadPortStacked, h, &entry, &(size = 1));
    CALL(GCWritePortStacked, h, &entry, &(size = 1));
    CALL(GCGetPortInfo, h, PORT_INFO_ID, nullptr, text, &size);
    CALL(GCGetPortURL, h, text, &size);
    CALL(GCGetNumPortURLs, h, &number);
    CALL(GCGetPortURLInfo, h, 0, URL_INFO_URL, nullptr, text, &size);
    CALL(TLClose, h);
    CALL(TLGetInfo, h, TL_INFO_ID, nullptr, text, &size);
    CALL(TLUpdateInterfaceList, h, nullptr, 0);
    CALL(TLGetNumInterfaces, h, &number);
    CALL(TLGetInterfaceID, h, 0, text, &size);
    CALL(TLGetInterfaceInfo, h, "x", INTERFACE_INFO_ID, nullptr, text, &size);
    CALL(TLOpenInterface, h, "x", &out);
    CALL(IFClose, h);
    CALL(IFGetInfo, h, INTERFACE_INFO_ID, nullptr, text, &size);
    CALL(IFUpdateDeviceList, h, nullptr, 0);
    CALL(IFGetNumDevices, h, &number);
    CALL(IFGetDeviceID, h, 0, text, &size);
    CALL(IFGetDeviceInfo, h, "x", DEVICE_INFO_ID, nullptr, text, &size);
    CALL(IFOpenDevice, h, "x", DEVICE_ACCESS_EXCLUSIVE, &out);
    CALL(IFGetParentTL, h, &out);
    CALL(DevClose, h);
    CALL(DevGetInfo, h, DEVICE_INFO_ID, nullptr, text, &size);
    CALL(DevGetPort, h, &out);
    CALL(DevGetNumDataStreams, h, &number);
    CALL(DevGetDataStreamID, h, 0, text, &size);
    CALL(DevOpenDataStream, h, "x", &out);
    CALL(DevGetParentIF, h, &out);
    CALL(DSAnnounceBuffer, h, bytes, sizeof bytes, nullptr, &out);
    CALL(DSAllocAndAnnounceBuffer, h, 100, nullptr, &out);
    CALL(DSAnnounceCompositeBuffer, h, 0, nullptr, nullptr, nullptr, &out);
    CALL(DSRevokeBuffer, h, h, nullptr, nullptr);
    CALL(DSGetBufferID, h, 0, &out);
    CALL(DSQueueBuffer, h, h);
    CALL(DSFlushQueue, h, ACQ_QUEUE_ALL_DISCARD);
    CALL(DSStartAcquisition, h, ACQ_START_FLAGS_DEFAULT, 1);
    CALL(DSStopAcquisition, h, ACQ_STOP_FLAGS_DEFAULT);
    CALL(DSGetInfo, h, STREAM_INFO_ID, nullptr, text, &size);
    CALL(DSGetBufferInfo, h, h, BUFFER_INFO_BASE, nullptr, text, &size);
    CALL(DSGetBufferInfoStacked, h, h, nullptr, 0);
    CALL(DSGetBufferChunkData, h, h, nullptr, &size);
    CALL(DSGetNumBufferParts, h, h, &number);
    CALL(DSGetBufferPartInfo, h, h, 0, BUFFER_PART_INFO_BASE, nullptr, text, &size);
    CALL(DSGetBufferPartInfoStacked, h, h, nullptr, 0);
    CALL(DSGetNumFlows, h, &number);
    CALL(DSGetFlowInfo, h, 0, FLOW_INFO_SIZE, nullptr, text, &size);
    CALL(DSGetNumBufferSegments, h, h, &number);
    CALL(DSGetBufferSegmentInfo, h, h, 0, SEGMENT_INFO_BASE, nullptr, text, &size);
    CALL(DSGetParentDev, h, &out);
    CALL(DSClose, h);
    CALL(GCRegisterEvent, h, EVENT_MODULE, &out);
    CALL(GCUnregisterEvent, h, EVENT_MODULE);
    CALL(EventGetData, h, bytes, &size, 0);
    CALL(EventGetDataInfo, h, bytes, 8, EVENT_DATA_ID, nullptr, text, &size);
    CALL(EventGetInfo, h, EVENT_NUM_IN_QUEUE, nullptr, text, &size);
    CALL(EventFlush, h);
    CALL(EventKill, h);
#undef CALL
    return calls;
}

/// Handles that a function of that name takes.
bool IsFor(const std::string& function, const std::string& kind) {
    const auto begins = [&](const char* with) { return function.rfind(with, 0) == 0; };
    if (begins("GCRegisterEvent") || begins("GCUnregisterEvent")) return kind != "event" && kind != "port";
    if (begins("GC")) return kind != "event";
    if (begins("TL")) return kind == "tl";
    if (begins("IF")) return kind == "interface";
    if (begins("Dev")) return kind == "device";
    if (begins("Event")) return kind == "event";
    // The others with a buffer get the same handle for it, which fits for one of the two at most.
    const bool takesStreamAlone = begins("DSAnnounce") || begins("DSAlloc") || begins("DSGetBufferID");
    return kind == "stream" && (takesStreamAlone || function.find("Buffer") == std::string::npos);
}

class GenTLHandles : public consumer::Session {};

TEST_F(GenTLHandles, OfNobodyAreInvalidForEveryFunction) {
    int local = 0;
    for (const auto& [name, call] : Calls(gc)) {
        for (const Handle handle : {Handle(nullptr), Handle(&local), reinterpret_cast<Handle>(~std::uintptr_t(0)),
                                    reinterpret_cast<Handle>(std::uintptr_t(0x19))}) {
            EXPECT_EQ(call(handle), GC_ERR_INVALID_HANDLE) << name << " " << handle;
        }
    }
}

TEST_F(GenTLHandles, OfAnotherKindAreInvalidForEveryFunction) {
    ASSERT_NO_FATAL_FAILURE(OpenStream());
    EVENT_HANDLE event = nullptr;
    ASSERT_EQ(gc.GCRegisterEvent(device, EVENT_MODULE, &event), GC_ERR_SUCCESS);
    const std::map<std::string, Handle> handles{{"tl", tl},     {"interface", interface}, {"device", device},
                                                {"port", port}, {"stream", stream},       {"event", event}};
    for (const auto& [name, call] : Calls(gc)) {
        for (const auto& [kind, handle] : handles) {
            if (IsFor(name, kind)) continue;
            EXPECT_EQ(call(handle), GC_ERR_INVALID_HANDLE) << name << " with " << kind;
        }
    }
}

TEST_F(GenTLHandles, ThatWereClosedNeverComeBack) {
    ASSERT_NO_FATAL_FAILURE(OpenStream());
    const DS_HANDLE old = stream;
    ASSERT_EQ(gc.DSClose(stream), GC_ERR_SUCCESS);
    ASSERT_EQ(gc.DevOpenDataStream(device, "Stream0", &stream), GC_ERR_SUCCESS);
    EXPECT_NE(old, stream);
    uint32_t number = 0;
    EXPECT_EQ(gc.DSGetParentDev(old, &device), GC_ERR_INVALID_HANDLE);
    EXPECT_EQ(gc.DevGetNumDataStreams(device, &number), GC_ERR_SUCCESS);
}

TEST_F(GenTLHandles, AreOfNoUseBeforeTheLibraryIsInitialised) {
    ASSERT_EQ(gc.GCCloseLib(), GC_ERR_SUCCESS);
    for (const auto& [name, call] : Calls(gc))
        EXPECT_EQ(call(tl), GC_ERR_NOT_INITIALIZED) << name;
    ASSERT_EQ(gc.GCInitLib(), GC_ERR_SUCCESS);
}

} // namespace
