// Processor time of a frame at 100 frames a second: by the GenTL producer, as consumers take it, beside our own stream
// grabber. Figures only.
//
//   bench_gentl_frames [ROUNDS [WORD...]]
//
// With words, only these roads are measured: grabber, producer.

#include "support/Roads.h"
#include "support/StreamBus.h"
#include "support/StreamGrab.h"

#include "gentl/GenTL.h"

#include <GenApi/GenApi.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

constexpr unsigned int kFrames = 300, kWarmUp = 20;
constexpr unsigned int kBuffers = 8;                                          // as many as the grabber has
constexpr uint64_t kAcquisitionStart = 0x102004, kAcquisitionStop = 0x102008; // of the virtual camera

void SetUp(bench::BenchCamera& camera) {
    camera.Set("PixelFormat", "Mono8");
    camera.Set("Width", "1920");
    camera.Set("Height", "1080");
    camera.Set("AcquisitionFrameRateEnable", "1");
    camera.Set("AcquisitionFrameRate", "100");
}

void Require(GC_ERROR result, const char* call) {
    if (result != GC_ERR_SUCCESS) throw std::runtime_error(std::string(call) + ": " + std::to_string(result));
}

/// The first camera that the producer has, streaming from its construction to its end. Bound to a thread.
class ProducerGrab {
public:
    explicit ProducerGrab(size_t payload) : m_Memory(kBuffers, std::vector<unsigned char>(payload)) {
        Require(GCInitLib(), "GCInitLib");
        Open();
        Require(DevGetPort(m_Device, &m_Port), "DevGetPort");
        Require(DevOpenDataStream(m_Device, FirstStream().c_str(), &m_Stream), "DevOpenDataStream");
        Require(GCRegisterEvent(m_Stream, EVENT_NEW_BUFFER, &m_Event), "GCRegisterEvent");
        for (auto& memory : m_Memory) {
            BUFFER_HANDLE buffer = nullptr;
            Require(DSAnnounceBuffer(m_Stream, memory.data(), memory.size(), nullptr, &buffer), "DSAnnounceBuffer");
            Require(DSQueueBuffer(m_Stream, buffer), "DSQueueBuffer");
        }
        Require(DSStartAcquisition(m_Stream, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE), "DSStartAcquisition");
        Command(kAcquisitionStart);
    }
    ~ProducerGrab() {
        Command(kAcquisitionStop);
        (void)GCCloseLib();
    }
    ProducerGrab(const ProducerGrab&) = delete;
    ProducerGrab& operator=(const ProducerGrab&) = delete;

    void Frames(unsigned int count) {
        for (unsigned int i = 0; i < count; ++i) {
            EVENT_NEW_BUFFER_DATA data{};
            size_t size = sizeof data;
            Require(EventGetData(m_Event, &data, &size, 5000), "EventGetData");
            if (Ask(data.BufferHandle).front() != 0) ++lost;
            Require(DSQueueBuffer(m_Stream, data.BufferHandle), "DSQueueBuffer");
        }
    }

    unsigned int lost = 0;

private:
    /// What consumers ask of each buffer, whether it is incomplete first.
    std::array<uint64_t, 12> Ask(BUFFER_HANDLE buffer) const {
        static constexpr BUFFER_INFO_CMD kAsked[12] = {
            BUFFER_INFO_IS_INCOMPLETE, BUFFER_INFO_PAYLOADTYPE, BUFFER_INFO_WIDTH,   BUFFER_INFO_HEIGHT,
            BUFFER_INFO_PIXELFORMAT,   BUFFER_INFO_XPADDING,    BUFFER_INFO_FRAMEID, BUFFER_INFO_TIMESTAMP_NS,
            BUFFER_INFO_SIZE_FILLED,   BUFFER_INFO_DATA_SIZE,   BUFFER_INFO_BASE,    BUFFER_INFO_CONTAINS_CHUNKDATA};
        std::array<uint64_t, 12> answers{};
        for (size_t i = 0; i < answers.size(); ++i) {
            size_t size = sizeof answers[i];
            Require(DSGetBufferInfo(m_Stream, buffer, kAsked[i], nullptr, &answers[i], &size), "DSGetBufferInfo");
        }
        return answers;
    }
    void Open() {
        TL_HANDLE system = nullptr;
        Require(TLOpen(&system), "TLOpen");
        Require(TLUpdateInterfaceList(system, nullptr, 0), "TLUpdateInterfaceList");
        uint32_t count = 0;
        Require(TLGetNumInterfaces(system, &count), "TLGetNumInterfaces");
        for (uint32_t i = 0; i < count && !m_Device; ++i) {
            char id[256];
            size_t size = sizeof id;
            Require(TLGetInterfaceID(system, i, id, &size), "TLGetInterfaceID");
            IF_HANDLE interface = nullptr;
            Require(TLOpenInterface(system, id, &interface), "TLOpenInterface");
            Require(IFUpdateDeviceList(interface, nullptr, 0), "IFUpdateDeviceList");
            if (IFGetDeviceID(interface, 0, id, &(size = sizeof id)) != GC_ERR_SUCCESS) continue;
            Require(IFOpenDevice(interface, id, DEVICE_ACCESS_EXCLUSIVE, &m_Device), "IFOpenDevice");
        }
        if (!m_Device) throw std::runtime_error("the producer has no camera");
    }
    std::string FirstStream() const {
        char id[256];
        size_t size = sizeof id;
        Require(DevGetDataStreamID(m_Device, 0, id, &size), "DevGetDataStreamID");
        return id;
    }
    void Command(uint64_t address) {
        const uint32_t one = 1;
        size_t size = sizeof one;
        (void)GCWritePort(m_Port, address, &one, &size);
    }

    std::vector<std::vector<unsigned char>> m_Memory;
    DEV_HANDLE m_Device = nullptr;
    PORT_HANDLE m_Port = nullptr;
    DS_HANDLE m_Stream = nullptr;
    EVENT_HANDLE m_Event = nullptr;
};

template<class Grab>
bench::FrameCost Measure(Grab& grab) {
    grab.Frames(kWarmUp);
    bench::FrameCost cost = bench::MeasureFrames(kFrames, [&] { grab.Frames(kFrames); });
    cost.lost = grab.lost;
    return cost;
}

bench::FrameCost MeasureGrabber() {
    bench::BenchCamera camera;
    SetUp(camera);
    bench::StreamGrab grab(camera);
    return Measure(grab);
}

bench::FrameCost MeasureProducer() {
    std::size_t payload = 0;
    {
        bench::BenchCamera camera;
        SetUp(camera);
        payload = static_cast<std::size_t>(camera.Integer("PayloadSize"));
    }
    ProducerGrab grab(payload);
    return Measure(grab);
}

} // namespace

int main(int argc, char** argv) {
    try {
        const unsigned int rounds = bench::RoundsOf(argc, argv);
        const bench::StreamBus bus(bench::BusKind::BelowLibusb, 1);
        std::printf("1920 x 1080 at 100 frames/s\n");
        bench::MeasureInTurn({{"stream grabber", MeasureGrabber}, {"GenTL producer", MeasureProducer}}, rounds,
                             {argv + std::min(argc, 2), argv + argc});
        return 0;
    } catch (const GenICam::GenericException& problem) {
        std::fprintf(stderr, "bench_gentl_frames: %s\n", problem.GetDescription());
    } catch (const std::exception& problem) {
        std::fprintf(stderr, "bench_gentl_frames: %s\n", problem.what());
    }
    return 1;
}
