#include "Calls.h"

namespace consumer {
namespace {

/// Room for whatever a call writes.
struct Room {
    std::uint8_t bytes[4096] = {};
    std::size_t size = sizeof bytes;
    INFO_DATATYPE type = 0;
    std::uint32_t count = 0;
    bool8_t changed = 0;
    void* handle = nullptr;
    char* Text() { return reinterpret_cast<char*>(bytes); }
};

using Calls = std::vector<Call>;

#define CONSUMER_CALL(name, kind, ...)                                                                                 \
    {                                                                                                                  \
#name, Kind::kind, [](Library& lib, void* h, const Things& things) {                                              \
         [[maybe_unused]] Room r;                                                                                      \
         (void)things;                                                                                                 \
         return lib.name(h, __VA_ARGS__);                                                                              \
     }    \
    }
#define CONSUMER_CLOSE(name, kind)                                                                                     \
    {                                                                                                                  \
#name, Kind::kind, [](Library & lib, void* h, const Things&) { return lib.name(h); }                           \
    }

Calls PortCalls() {
    static PORT_REGISTER_STACK_ENTRY none{};
    return {CONSUMER_CALL(GCReadPort, Port, 0, r.bytes, &(r.size = 4)),
            CONSUMER_CALL(GCWritePort, Port, 0, r.bytes, &(r.size = 4)),
            CONSUMER_CALL(GCReadPortStacked, Port, &none, &(r.size = 0)),
            CONSUMER_CALL(GCWritePortStacked, Port, &none, &(r.size = 0)),
            CONSUMER_CALL(GCGetPortInfo, Port, PORT_INFO_ID, &r.type, r.bytes, &r.size),
            CONSUMER_CALL(GCGetNumPortURLs, Port, &r.count),
            CONSUMER_CALL(GCGetPortURLInfo, Port, 0, URL_INFO_URL, &r.type, r.bytes, &r.size),
            CONSUMER_CALL(GCGetPortURL, Port, r.Text(), &r.size),
            CONSUMER_CALL(GCRegisterEvent, Source, EVENT_ERROR, &r.handle),
            CONSUMER_CALL(GCUnregisterEvent, Source, EVENT_ERROR),
            CONSUMER_CALL(EventGetData, Event, r.bytes, &r.size, 0),
            CONSUMER_CALL(EventGetDataInfo, Event, r.bytes, 16, EVENT_DATA_ID, &r.type, r.bytes, &r.size),
            CONSUMER_CALL(EventGetInfo, Event, EVENT_TYPE_INFO, &r.type, r.bytes, &r.size),
            CONSUMER_CLOSE(EventFlush, Event),
            CONSUMER_CLOSE(EventKill, Event)};
}

Calls ModuleCalls() {
    return {
        CONSUMER_CALL(TLGetInfo, System, TL_INFO_ID, &r.type, r.bytes, &r.size),
        CONSUMER_CALL(TLUpdateInterfaceList, System, &r.changed, 100),
        CONSUMER_CALL(TLGetNumInterfaces, System, &r.count),
        CONSUMER_CALL(TLGetInterfaceID, System, 0, r.Text(), &r.size),
        CONSUMER_CALL(TLGetInterfaceInfo, System, things.interfaceId.c_str(), INTERFACE_INFO_ID, &r.type, r.bytes,
                      &r.size),
        CONSUMER_CALL(TLOpenInterface, System, things.interfaceId.c_str(), &r.handle),
        CONSUMER_CLOSE(TLClose, System),
        CONSUMER_CALL(IFGetInfo, Interface, INTERFACE_INFO_ID, &r.type, r.bytes, &r.size),
        CONSUMER_CALL(IFUpdateDeviceList, Interface, &r.changed, 100),
        CONSUMER_CALL(IFGetNumDevices, Interface, &r.count),
        CONSUMER_CALL(IFGetDeviceID, Interface, 0, r.Text(), &r.size),
        CONSUMER_CALL(IFGetDeviceInfo, Interface, things.deviceId.c_str(), DEVICE_INFO_ID, &r.type, r.bytes, &r.size),
        CONSUMER_CALL(IFOpenDevice, Interface, things.deviceId.c_str(), DEVICE_ACCESS_EXCLUSIVE, &r.handle),
        CONSUMER_CALL(IFGetParentTL, Interface, &r.handle),
        CONSUMER_CLOSE(IFClose, Interface),
        CONSUMER_CALL(DevGetInfo, Device, DEVICE_INFO_ID, &r.type, r.bytes, &r.size),
        CONSUMER_CALL(DevGetPort, Device, &r.handle),
        CONSUMER_CALL(DevGetNumDataStreams, Device, &r.count),
        CONSUMER_CALL(DevGetDataStreamID, Device, 0, r.Text(), &r.size),
        CONSUMER_CALL(DevOpenDataStream, Device, things.streamId.c_str(), &r.handle),
        CONSUMER_CALL(DevGetParentIF, Device, &r.handle),
        CONSUMER_CLOSE(DevClose, Device)};
}

Calls StreamCalls() {
    static std::uint8_t memory[64];
    static void* segments[] = {memory};
    static std::size_t sizes[] = {sizeof memory};
    static DS_BUFFER_INFO_STACKED info{};
    static DS_BUFFER_PART_INFO_STACKED part{};
    return {
        CONSUMER_CALL(DSAnnounceBuffer, Stream, memory, sizeof memory, nullptr, &r.handle),
        CONSUMER_CALL(DSAllocAndAnnounceBuffer, Stream, 4096, nullptr, &r.handle),
        CONSUMER_CALL(DSAnnounceCompositeBuffer, Stream, 1, segments, sizes, nullptr, &r.handle),
        CONSUMER_CALL(DSGetBufferID, Stream, 0, &r.handle),
        CONSUMER_CALL(DSQueueBuffer, Stream, things.buffer),
        CONSUMER_CALL(DSFlushQueue, Stream, ACQ_QUEUE_ALL_DISCARD),
        CONSUMER_CALL(DSStartAcquisition, Stream, ACQ_START_DEFAULT, GENTL_INFINITE),
        CONSUMER_CALL(DSStopAcquisition, Stream, ACQ_STOP_DEFAULT),
        CONSUMER_CALL(DSGetInfo, Stream, STREAM_INFO_ID, &r.type, r.bytes, &r.size),
        CONSUMER_CALL(DSGetBufferInfo, Stream, things.buffer, BUFFER_INFO_BASE, &r.type, r.bytes, &r.size),
        CONSUMER_CALL(DSGetBufferInfoStacked, Stream, things.buffer, &info, 0),
        CONSUMER_CALL(DSGetBufferChunkData, Stream, things.buffer, nullptr, &r.size),
        CONSUMER_CALL(DSGetNumBufferParts, Stream, things.buffer, &r.count),
        CONSUMER_CALL(DSGetBufferPartInfo, Stream, things.buffer, 0, BUFFER_PART_INFO_BASE, &r.type, r.bytes, &r.size),
        CONSUMER_CALL(DSGetBufferPartInfoStacked, Stream, things.buffer, &part, 0),
        CONSUMER_CALL(DSGetNumFlows, Stream, &r.count),
        CONSUMER_CALL(DSGetFlowInfo, Stream, 0, 0, &r.type, r.bytes, &r.size),
        CONSUMER_CALL(DSGetNumBufferSegments, Stream, things.buffer, &r.count),
        CONSUMER_CALL(DSGetBufferSegmentInfo, Stream, things.buffer, 0, SEGMENT_INFO_BASE, &r.type, r.bytes, &r.size),
        CONSUMER_CALL(DSGetParentDev, Stream, &r.handle),
        CONSUMER_CALL(DSRevokeBuffer, Stream, things.buffer, nullptr, nullptr),
        CONSUMER_CLOSE(DSClose, Stream)};
}

#undef CONSUMER_CALL
#undef CONSUMER_CLOSE

} // namespace

const std::vector<Call>& AllCalls() {
    static const Calls calls = [] {
        Calls all = PortCalls();
        for (const Calls& more : {ModuleCalls(), StreamCalls()})
            all.insert(all.end(), more.begin(), more.end());
        return all;
    }();
    return calls;
}

} // namespace consumer
