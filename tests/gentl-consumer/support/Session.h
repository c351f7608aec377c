#pragma once
// A consumer at work: library, system, interface, device, stream, as far as a test wants it.

#include "Library.h"
#include "Query.h"

#include "integration/support/CamerasOnBus.h"

#include <chrono>
#include <deque>
#include <memory>
#include <string>
#include <vector>

namespace consumer {

/// Initialises the producer over virtual cameras and walks down to what is asked for. Whatever is left open at the end
/// is closed by GCCloseLib. Anything that must succeed throws std::runtime_error when it does not. Bound to a thread.
class Session {
public:
    /// `cameras` are the JSON text of the array of cameras. Beside the real bus an equal text means the same cameras
    /// as before, with the state that they were left in.
    explicit Session(const std::string& cameras);
    Session() : Session(SmallCamera()) {}
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// One fast camera with small images, another one for each test. `more` are further members.
    static std::string SmallCamera(const std::string& more = {}, const std::string& size = "64x64");

    Library& Lib() { return m_Library; }
    Library* operator->() { return &m_Library; }

    TL_HANDLE System();
    IF_HANDLE Interface(); ///< the first one with a device
    DEV_HANDLE Device();
    PORT_HANDLE Remote();
    DS_HANDLE Stream();
    const std::string& InterfaceId() const { return m_InterfaceId; }
    const std::string& DeviceId() const { return m_DeviceId; }
    const std::string& StreamId() const { return m_StreamId; }
    void CloseStream();
    void CloseDevice();
    // Whether a device can be had now; it is given back.
    bool CanBeOpened(const std::string& id);

    // --- registers of the camera
    std::uint32_t Read32(std::uint64_t address);
    void Write32(std::uint64_t address, std::uint32_t value);

    void SwitchChunksOn(); ///< time stamp, frame number and checksum

    // --- streaming
    std::size_t PayloadSize();
    /// Announces buffers of the consumer's own memory; the user pointer of the i-th is i + 1.
    const std::vector<BUFFER_HANDLE>& Announce(std::size_t count);
    void QueueAll();
    EVENT_HANDLE NewBuffers(); ///< the event, registered once
    EVENT_HANDLE Register(EVENTSRC_HANDLE source, std::int32_t type);
    void Start(std::uint64_t count = GENTL_INFINITE);
    /// The camera first, then the stream.
    void Stop(std::int32_t flags = ACQ_STOP_DEFAULT);
    /// The oldest delivered buffer; null when none came in time.
    BUFFER_HANDLE Next(std::uint64_t timeout = 10000);
    Answer BufferInfo(BUFFER_HANDLE buffer, Command what);
    Answer StreamInfo(Command what);
    Answer EventInfo(EVENT_HANDLE event, Command what);
    /// Waits until the stream's number is at least so large; false when that takes too long.
    bool Reaches(Command number, std::uint64_t value);

    void Must(GC_ERROR code, const char* what);

private:
    std::unique_ptr<integration::CamerasOnBus> m_Cameras;
    Library m_Library;
    TL_HANDLE m_System = nullptr;
    IF_HANDLE m_Interface = nullptr;
    DEV_HANDLE m_Device = nullptr;
    PORT_HANDLE m_Remote = nullptr;
    DS_HANDLE m_Stream = nullptr;
    EVENT_HANDLE m_NewBuffers = nullptr;
    std::string m_InterfaceId, m_DeviceId, m_StreamId;
    std::deque<std::vector<std::uint8_t>> m_Memory;
    std::vector<BUFFER_HANDLE> m_Buffers;
};

/// Until the condition holds, for ten seconds; the last word of it.
template<class Condition>
bool Eventually(Condition condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (std::chrono::steady_clock::now() < end)
        if (condition()) return true;
    return condition();
}

// Registers of the virtual camera.
inline constexpr std::uint64_t kWidth = 0x101010, kHeight = 0x101014, kPayload = 0x101038, kAcquisitionStart = 0x102004,
                               kFrameRateEnable = 0x102014, kAcquisitionStop = 0x102008, kTestEvent = 0x108004,
                               kEventNotification = 0x108010, kChunkModeActive = 0x109000, kChunkEnable = 0x109010,
                               kSelfTest = 0x10B000, kAcquisitionMode = 0x102000, kFrameCount = 0x10200C,
                               kOffsetX = 0x101018, kOffsetY = 0x10101C;

/// Takes the camera off the bus when kSelfTest is read.
inline constexpr const char* kUnpluggable = R"("faults": {"control": [{"fault": "Unplug", "address": 1093632}]})";
inline constexpr const char* kReturning =
    R"("faults": {"control": [{"fault": "Unplug", "address": 1093632}], "replugAfterMs": 200})";

} // namespace consumer
