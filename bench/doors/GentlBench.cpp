// What the GenTL producer adds to a frame: the calls that consumers make for each, over a USB access library that costs
// nothing; beside them what those cost that others make once.

#include "gentl/GenTL.h"

#include <benchmark/benchmark.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace {

void Require(GC_ERROR result, const char* call) {
    if (result != GC_ERR_SUCCESS) throw std::runtime_error(std::string(call) + ": " + std::to_string(result));
}

template<class Query>
std::string TextOf(Query&& query) {
    char text[256];
    size_t size = sizeof text;
    Require(query(text, &size), "an identifier");
    return text;
}

/// The one camera's stream, running, with four buffers in the input pool.
class Session {
public:
    Session() {
        Require(GCInitLib(), "GCInitLib");
        TL_HANDLE tl = nullptr;
        Require(TLOpen(&tl), "TLOpen");
        Require(TLUpdateInterfaceList(tl, nullptr, 0), "TLUpdateInterfaceList");
        Open(tl);
        for (auto& memory : m_Memory) {
            BUFFER_HANDLE buffer = nullptr;
            Require(DSAnnounceBuffer(stream, memory.data(), memory.size(), nullptr, &buffer), "DSAnnounceBuffer");
        }
        Require(GCRegisterEvent(stream, EVENT_NEW_BUFFER, &event), "GCRegisterEvent");
        Require(DSStartAcquisition(stream, 0, GENTL_INFINITE), "DSStartAcquisition");
        BUFFER_HANDLE first = nullptr;
        Require(DSGetBufferID(stream, 0, &first), "DSGetBufferID");
        Require(DSQueueBuffer(stream, first), "DSQueueBuffer");
    }
    ~Session() { GCCloseLib(); }

    DS_HANDLE stream = nullptr;
    EVENT_HANDLE event = nullptr;

private:
    void Open(TL_HANDLE tl) {
        uint32_t count = 0, devices = 0;
        Require(TLGetNumInterfaces(tl, &count), "TLGetNumInterfaces");
        for (uint32_t i = 0; i < count && devices == 0; ++i) {
            const std::string id = TextOf([&](char* t, size_t* s) { return TLGetInterfaceID(tl, i, t, s); });
            IF_HANDLE interface = nullptr;
            Require(TLOpenInterface(tl, id.c_str(), &interface), "TLOpenInterface");
            Require(IFUpdateDeviceList(interface, nullptr, 0), "IFUpdateDeviceList");
            Require(IFGetNumDevices(interface, &devices), "IFGetNumDevices");
            if (devices != 0) OpenFirst(interface);
        }
    }
    void OpenFirst(IF_HANDLE interface) {
        const std::string id = TextOf([&](char* t, size_t* s) { return IFGetDeviceID(interface, 0, t, s); });
        DEV_HANDLE device = nullptr;
        Require(IFOpenDevice(interface, id.c_str(), DEVICE_ACCESS_EXCLUSIVE, &device), "IFOpenDevice");
        const std::string name = TextOf([&](char* t, size_t* s) { return DevGetDataStreamID(device, 0, t, s); });
        Require(DevOpenDataStream(device, name.c_str(), &stream), "DevOpenDataStream");
    }

    std::vector<std::vector<unsigned char>> m_Memory{4, std::vector<unsigned char>(640 * 480)};
};

constexpr BUFFER_INFO_CMD kAsked[] = {
    BUFFER_INFO_IS_INCOMPLETE, BUFFER_INFO_PAYLOADTYPE, BUFFER_INFO_WIDTH,   BUFFER_INFO_HEIGHT,
    BUFFER_INFO_PIXELFORMAT,   BUFFER_INFO_XPADDING,    BUFFER_INFO_FRAMEID, BUFFER_INFO_TIMESTAMP_NS,
    BUFFER_INFO_SIZE_FILLED,   BUFFER_INFO_DATA_SIZE,   BUFFER_INFO_BASE,    BUFFER_INFO_CONTAINS_CHUNKDATA,
};

void Ask(const Session& session, BUFFER_HANDLE buffer, BUFFER_INFO_CMD command) {
    uint64_t value = 0;
    size_t size = sizeof value;
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    benchmark::DoNotOptimize(DSGetBufferInfo(session.stream, buffer, command, &type, &value, &size));
    benchmark::DoNotOptimize(value);
}

BUFFER_HANDLE Take(const Session& session) {
    EVENT_NEW_BUFFER_DATA data{};
    size_t size = sizeof data;
    Require(EventGetData(session.event, &data, &size, 0), "EventGetData");
    return data.BufferHandle;
}

void TakeAndQueue(benchmark::State& state) {
    const Session session;
    for (auto _ : state)
        DSQueueBuffer(session.stream, Take(session));
}
BENCHMARK(TakeAndQueue)->Unit(benchmark::kNanosecond);

void TakeAskTwelveTimesAndQueue(benchmark::State& state) {
    const Session session;
    for (auto _ : state) {
        const BUFFER_HANDLE buffer = Take(session);
        for (const BUFFER_INFO_CMD command : kAsked)
            Ask(session, buffer, command);
        DSQueueBuffer(session.stream, buffer);
    }
}
BENCHMARK(TakeAskTwelveTimesAndQueue)->Unit(benchmark::kNanosecond);

void OneBufferInfo(benchmark::State& state) {
    const Session session;
    const BUFFER_HANDLE buffer = Take(session);
    for (auto _ : state)
        Ask(session, buffer, BUFFER_INFO_FRAMEID);
}
BENCHMARK(OneBufferInfo)->Unit(benchmark::kNanosecond);

/// Another thread asks at the same time, as consumers with a thread for each buffer do.
void OneBufferInfoOfFourThreads(benchmark::State& state) {
    static const Session session;
    static const BUFFER_HANDLE buffer = Take(session);
    for (auto _ : state)
        Ask(session, buffer, BUFFER_INFO_FRAMEID);
}
BENCHMARK(OneBufferInfoOfFourThreads)->Threads(4)->Unit(benchmark::kNanosecond);

} // namespace

BENCHMARK_MAIN();
