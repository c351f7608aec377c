#include "Session.h"

#include <atomic>
#include <stdexcept>

namespace consumer {

std::string Session::SmallCamera(const std::string& more, const std::string& size) {
    static std::atomic<unsigned> last{0};
    const std::string number = std::to_string(++last);
    const std::size_t cross = size.find('x');
    return R"([{"serial": "C)" + number + R"(", "sensorWidth": )" + size.substr(0, cross) + R"(, "sensorHeight": )" +
           size.substr(cross + 1) + R"(, "frameRateEnable": false)" + (more.empty() ? "" : ", " + more) + "}]";
}

Session::Session(const std::string& cameras) : m_Cameras(integration::PlugIn("{\"cameras\": " + cameras + "}")) {
    Must(m_Library.GCInitLib(), "GCInitLib");
}

Session::~Session() {
    (void)m_Library.GCCloseLib();
}

void Session::Must(GC_ERROR code, const char* what) {
    if (code == GC_ERR_SUCCESS) return;
    char text[1024] = "";
    std::size_t size = sizeof text;
    GC_ERROR last = 0;
    (void)m_Library.GCGetLastError(&last, text, &size);
    throw std::runtime_error(std::string(what) + ": " + std::to_string(code) + " " + text);
}

// --- down the tree

TL_HANDLE Session::System() {
    if (m_System) return m_System;
    Must(m_Library.TLOpen(&m_System), "TLOpen");
    Must(m_Library.TLUpdateInterfaceList(m_System, nullptr, 1000), "TLUpdateInterfaceList");
    return m_System;
}

IF_HANDLE Session::Interface() {
    if (m_Interface) return m_Interface;
    std::uint32_t count = 0;
    Must(m_Library.TLGetNumInterfaces(System(), &count), "TLGetNumInterfaces");
    for (std::uint32_t i = 0; i < count; ++i) {
        m_InterfaceId = AskText([&](char* id, std::size_t* size) {
                            return m_Library.TLGetInterfaceID(m_System, i, id, size);
                        }).Text();
        IF_HANDLE candidate = nullptr;
        Must(m_Library.TLOpenInterface(m_System, m_InterfaceId.c_str(), &candidate), "TLOpenInterface");
        Must(m_Library.IFUpdateDeviceList(candidate, nullptr, 1000), "IFUpdateDeviceList");
        std::uint32_t devices = 0;
        Must(m_Library.IFGetNumDevices(candidate, &devices), "IFGetNumDevices");
        m_Interface = candidate;
        if (devices != 0) return m_Interface;
        Must(m_Library.IFClose(candidate), "IFClose");
    }
    m_Interface = nullptr;
    throw std::runtime_error("no interface has a device");
}

DEV_HANDLE Session::Device() {
    if (m_Device) return m_Device;
    const IF_HANDLE interface = Interface();
    m_DeviceId =
        AskText([&](char* id, std::size_t* size) { return m_Library.IFGetDeviceID(interface, 0, id, size); }).Text();
    Must(m_Library.IFOpenDevice(interface, m_DeviceId.c_str(), DEVICE_ACCESS_EXCLUSIVE, &m_Device), "IFOpenDevice");
    return m_Device;
}

bool Session::CanBeOpened(const std::string& id) {
    DEV_HANDLE device = nullptr;
    if (m_Library.IFOpenDevice(Interface(), id.c_str(), DEVICE_ACCESS_EXCLUSIVE, &device) != GC_ERR_SUCCESS)
        return false;
    Must(m_Library.DevClose(device), "DevClose");
    return true;
}

PORT_HANDLE Session::Remote() {
    if (!m_Remote) Must(m_Library.DevGetPort(Device(), &m_Remote), "DevGetPort");
    return m_Remote;
}

DS_HANDLE Session::Stream() {
    if (m_Stream) return m_Stream;
    const DEV_HANDLE device = Device();
    m_StreamId =
        AskText([&](char* id, std::size_t* size) { return m_Library.DevGetDataStreamID(device, 0, id, size); }).Text();
    Must(m_Library.DevOpenDataStream(device, m_StreamId.c_str(), &m_Stream), "DevOpenDataStream");
    return m_Stream;
}

void Session::CloseStream() {
    Must(m_Library.DSClose(m_Stream), "DSClose");
    m_Stream = m_NewBuffers = nullptr;
    m_Buffers.clear();
}

void Session::CloseDevice() {
    Must(m_Library.DevClose(m_Device), "DevClose");
    m_Device = m_Remote = m_Stream = m_NewBuffers = nullptr;
    m_Buffers.clear();
}

// --- registers of the camera

std::uint32_t Session::Read32(std::uint64_t address) {
    std::uint32_t value = 0;
    std::size_t size = sizeof value;
    Must(m_Library.GCReadPort(Remote(), address, &value, &size), "GCReadPort");
    return value;
}

void Session::Write32(std::uint64_t address, std::uint32_t value) {
    std::size_t size = sizeof value;
    Must(m_Library.GCWritePort(Remote(), address, &value, &size), "GCWritePort");
}

void Session::SwitchChunksOn() {
    Write32(kChunkModeActive, 1);
    for (const unsigned chunk : {1, 2, 7})
        Write32(kChunkEnable + 4 * chunk, 1);
}

// --- streaming

std::size_t Session::PayloadSize() {
    const Answer defines = StreamInfo(STREAM_INFO_DEFINES_PAYLOADSIZE);
    if (defines.Ok() && defines.Number() != 0) return StreamInfo(STREAM_INFO_PAYLOAD_SIZE).Number();
    return Read32(kPayload);
}

const std::vector<BUFFER_HANDLE>& Session::Announce(std::size_t count) {
    const std::size_t size = PayloadSize();
    for (std::size_t i = 0; i < count; ++i) {
        std::vector<std::uint8_t>& memory = m_Memory.emplace_back(size, std::uint8_t{0xEE});
        BUFFER_HANDLE buffer = nullptr;
        void* user = reinterpret_cast<void*>(m_Buffers.size() + 1);
        Must(m_Library.DSAnnounceBuffer(Stream(), memory.data(), size, user, &buffer), "DSAnnounceBuffer");
        m_Buffers.push_back(buffer);
    }
    return m_Buffers;
}

void Session::QueueAll() {
    for (BUFFER_HANDLE buffer : m_Buffers)
        Must(m_Library.DSQueueBuffer(Stream(), buffer), "DSQueueBuffer");
}

EVENT_HANDLE Session::NewBuffers() {
    if (!m_NewBuffers) Must(m_Library.GCRegisterEvent(Stream(), EVENT_NEW_BUFFER, &m_NewBuffers), "GCRegisterEvent");
    return m_NewBuffers;
}

void Session::Start(std::uint64_t count) {
    (void)NewBuffers();
    Must(m_Library.DSStartAcquisition(Stream(), ACQ_START_DEFAULT, count), "DSStartAcquisition");
    Write32(kAcquisitionStart, 1);
}

void Session::Stop(std::int32_t flags) {
    Write32(kAcquisitionStop, 1);
    Must(m_Library.DSStopAcquisition(Stream(), flags), "DSStopAcquisition");
}

BUFFER_HANDLE Session::Next(std::uint64_t timeout) {
    EVENT_NEW_BUFFER_DATA data{};
    std::size_t size = sizeof data;
    const GC_ERROR code = m_Library.EventGetData(NewBuffers(), &data, &size, timeout);
    return code == GC_ERR_SUCCESS ? data.BufferHandle : nullptr;
}

Answer Session::BufferInfo(BUFFER_HANDLE buffer, Command what) {
    return Ask([&](INFO_DATATYPE* type, void* room, std::size_t* size) {
        return m_Library.DSGetBufferInfo(Stream(), buffer, what, type, room, size);
    });
}

Answer Session::StreamInfo(Command what) {
    return Ask([&](INFO_DATATYPE* type, void* room, std::size_t* size) {
        return m_Library.DSGetInfo(Stream(), what, type, room, size);
    });
}

EVENT_HANDLE Session::Register(EVENTSRC_HANDLE source, std::int32_t type) {
    EVENT_HANDLE event = nullptr;
    Must(m_Library.GCRegisterEvent(source, type, &event), "GCRegisterEvent");
    return event;
}

Answer Session::EventInfo(EVENT_HANDLE event, Command what) {
    return Ask([&](INFO_DATATYPE* type, void* room, std::size_t* size) {
        return m_Library.EventGetInfo(event, what, type, room, size);
    });
}

bool Session::Reaches(Command number, std::uint64_t value) {
    return Eventually([&] { return StreamInfo(number).Number() >= value; });
}

} // namespace consumer
