#include "DirectCamera.h"

#include <vexlo/Enumerator.h>
#include <vexlo/Vexlo.h>

#include <stdexcept>

namespace integration {
namespace {

constexpr unsigned long kAcquisitionStart = 0x102004;

class DiscoveredCameras final : public vexlo::CEnumerator::Callee {
public:
    int EnumCallback(const vexlo::DeviceDiscoveryInfo* info) override {
        list.push_back(*info);
        return 0;
    }
    std::vector<vexlo::DeviceDiscoveryInfo> list;
};

void Require(vexlo::VxStatus status) {
    if (status != vexlo::VX_OK) throw std::runtime_error(TextOf(status));
}

} // namespace

std::vector<vexlo::DeviceDiscoveryInfo> Discovered() {
    DiscoveredCameras cameras;
    Require(vexlo::CEnumerator::Discover(&cameras));
    return cameras.list;
}

std::string TextOf(vexlo::VxStatus status) {
    char text[512] = "";
    vexlo::GetStatusMessage(status, text, sizeof text, nullptr);
    return text;
}

DevicePointer NewDevice() {
    return DevicePointer(vexlo::CVxDevice::CreateDevice(vexlo::DeviceType_Libusb));
}

DirectCamera::DirectCamera(const std::string& cameras) : m_Cameras(PlugIn("{\"cameras\": " + cameras + "}")) {
    Require(vexlo::Init());
    m_Device = NewDevice();
    Require(m_Device->Open(Discovered().at(0)));
}

DirectCamera::~DirectCamera() {
    m_Device.reset();
    vexlo::Exit();
}

vexlo::CVxStream& DirectCamera::Stream() {
    vexlo::CVxStream* stream = nullptr;
    Require(m_Device->GetStream(&stream));
    return *stream;
}

vexlo::VxStatus DirectCamera::Write(unsigned long address, std::uint32_t value) {
    return m_Device->WriteMem(&value, address, sizeof value);
}

std::uint32_t DirectCamera::Read(unsigned long address) {
    std::uint32_t value = 0;
    unsigned long count = sizeof value;
    Require(m_Device->ReadMem(&value, address, &count));
    return value;
}

DirectStream::DirectStream(DirectCamera& camera) : m_Camera(camera), m_Stream(camera.Stream()) {
    Require(m_Stream.RegisterWaitObject(m_Wait));
    Require(m_Stream.Open());
}

DirectStream::~DirectStream() {
    (void)m_Stream.Close();
}

void DirectStream::Start() {
    constexpr unsigned long kRegistered = 4;
    const unsigned long size = m_Camera.Read(kStreamRegisters + 8);
    Require(m_Stream.PrepareGrab(kRegistered, size));
    Require(m_Stream.StartStreaming());
    for (unsigned long i = 0; i < kRegistered; ++i) {
        m_Memory.emplace_back(size);
        vexlo::BufferHandle_s* handle = nullptr;
        Require(m_Stream.RegisterBuffer(m_Memory.back().data(), size, &handle));
        Require(m_Stream.QueueBuffer(handle, nullptr));
    }
    Require(m_Camera.Write(kAcquisitionStart, 1));
}

void DirectStream::Finish() {
    Require(m_Stream.FinishGrab());
    vexlo::CVxStream::GrabResult result{};
    while (m_Stream.RetrieveBuffer(&result, nullptr) == vexlo::VX_OK)
        Require(m_Stream.DeregisterBuffer(result.Handle, nullptr));
    m_Memory.clear();
}

vexlo::CVxStream::GrabResult DirectStream::Next(unsigned int timeoutMs) {
    vexlo::CVxStream::GrabResult result{};
    while (m_Stream.RetrieveBuffer(&result, nullptr) != vexlo::VX_OK) {
        if (m_Wait.Wait(timeoutMs)) continue;
        result.Status = vexlo::VX_E_TIMEOUT;
        return result;
    }
    Require(m_Stream.QueueBuffer(result.Handle, nullptr));
    return result;
}

} // namespace integration
