#pragma once
// The producer as a consumer has it: loaded by its path, every function found by its name.

#include "gentl/GenTL.h"

#include <string>
#include <vector>

namespace consumer {

/// Every function of the interface.
// clang-format off
#define GENTL_FUNCTIONS(X) \
    X(GCInitLib) X(GCCloseLib) X(GCGetInfo) X(GCGetLastError) X(GCReadPort) X(GCWritePort) X(GCReadPortStacked) \
    X(GCWritePortStacked) X(GCGetPortInfo) X(GCGetPortURL) X(GCGetNumPortURLs) X(GCGetPortURLInfo) X(TLOpen) \
    X(TLClose) X(TLGetInfo) X(TLUpdateInterfaceList) X(TLGetNumInterfaces) X(TLGetInterfaceID) \
    X(TLGetInterfaceInfo) X(TLOpenInterface) X(IFClose) X(IFGetInfo) X(IFUpdateDeviceList) X(IFGetNumDevices) \
    X(IFGetDeviceID) X(IFGetDeviceInfo) X(IFOpenDevice) X(IFGetParentTL) X(DevClose) X(DevGetInfo) X(DevGetPort) \
    X(DevGetNumDataStreams) X(DevGetDataStreamID) X(DevOpenDataStream) X(DevGetParentIF) X(DSAnnounceBuffer) \
    X(DSAllocAndAnnounceBuffer) X(DSAnnounceCompositeBuffer) X(DSRevokeBuffer) X(DSGetBufferID) X(DSQueueBuffer) \
    X(DSFlushQueue) X(DSStartAcquisition) X(DSStopAcquisition) X(DSGetInfo) X(DSGetBufferInfo) \
    X(DSGetBufferInfoStacked) X(DSGetBufferChunkData) X(DSGetNumBufferParts) X(DSGetBufferPartInfo) \
    X(DSGetBufferPartInfoStacked) X(DSGetNumFlows) X(DSGetFlowInfo) X(DSGetNumBufferSegments) \
    X(DSGetBufferSegmentInfo) X(DSGetParentDev) X(DSClose) X(GCRegisterEvent) X(GCUnregisterEvent) \
    X(EventGetData) X(EventGetDataInfo) X(EventGetInfo) X(EventFlush) X(EventKill)
// clang-format on

/// Throws std::runtime_error when the file or a function of it is missing. Bound to a thread.
class Producer {
public:
    explicit Producer(const std::string& path);
    ~Producer();
    Producer(const Producer&) = delete;
    Producer& operator=(const Producer&) = delete;

#define GENTL_MEMBER(name) decltype(&::name) name = nullptr;
    GENTL_FUNCTIONS(GENTL_MEMBER)
#undef GENTL_MEMBER

private:
    void* m_File = nullptr;
};

/// The text of a query that answers with one.
template<class Query>
std::string TextOf(Query&& query) {
    size_t size = 0;
    if (query(nullptr, &size) != GC_ERR_SUCCESS) return "(refused)";
    std::vector<char> text(size);
    if (query(text.data(), &size) != GC_ERR_SUCCESS) return "(refused)";
    return std::string(text.data());
}

/// The number of a query that answers with one of that width.
template<class T, class Query>
T NumberOf(Query&& query) {
    T value{};
    size_t size = sizeof value;
    return query(&value, &size) == GC_ERR_SUCCESS ? value : T(-1);
}

} // namespace consumer
