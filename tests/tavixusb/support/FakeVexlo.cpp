#include "support/FakeVexlo.h"

#include "vexlo/Enumerator.h"
#include "vexlo/Vexlo.h"
#include "vexlo/XmlFile.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <stdexcept>

using vexlo::VX_OK;
using vexlo::VxStatus;
using Lock = std::lock_guard<std::recursive_mutex>;

namespace {

FakeVexlo& Bus() {
    return FakeVexlo::Get();
}

} // namespace

FakeVexlo& FakeVexlo::Get() {
    static FakeVexlo bus;
    return bus;
}

void FakeVexlo::Reset() {
    const Lock guard(lock);
    m_Scripts.clear();
    m_Calls.clear();
    cameras.clear();
    lastOpenRecord = {};
    createsDevices = hasStream = hasEvents = true;
    throwsOnDestroy = false;
    statusText = "text";
    xmlText = "<xml/>";
    xmlName.clear();
    hasXmlText = hasXmlName = true;
    memory.clear();
    shortReadBy = 0;
    deviceProperties.clear();
    streamProperties.clear();
    eventProperties.clear();
    written.clear();
    preparedBuffers = preparedSize = 0;
    userBuffer = nullptr;
    queuedContext = nullptr;
    lastDeviceType = ~0u;
    results.clear();
    events.clear();
    stream = eventStream = StreamState();
}

void FakeVexlo::Script(const std::string& call, std::vector<VxStatus> statuses) {
    const Lock guard(lock);
    m_Scripts[call] = {statuses.begin(), statuses.end()};
}

std::vector<std::string> FakeVexlo::Calls() const {
    const Lock guard(lock);
    return m_Calls;
}

void FakeVexlo::ForgetCalls() {
    const Lock guard(lock);
    m_Calls.clear();
}

int FakeVexlo::Count(const std::string& call) const {
    const Lock guard(lock);
    return static_cast<int>(std::count(m_Calls.begin(), m_Calls.end(), call));
}

FakeVexlo::Bytes FakeVexlo::Number(std::uint64_t value, std::size_t size) {
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<unsigned char>(value >> (8 * i));
    return bytes;
}

VxStatus FakeVexlo::Note(const std::string& call) {
    const Lock guard(lock);
    m_Calls.push_back(call);
    std::deque<VxStatus>& script = m_Scripts[call];
    if (script.empty()) return VX_OK;
    const VxStatus status = script.front();
    script.pop_front();
    return status;
}

VxStatus FakeVexlo::Read(const Properties& properties, unsigned int id, void* buffer, unsigned long size) const {
    std::memset(buffer, 0, size);
    const auto found = properties.find(id);
    if (found != properties.end()) {
        std::memcpy(buffer, found->second.data(), std::min<std::size_t>(size, found->second.size()));
    }
    return VX_OK;
}

VxStatus FakeVexlo::Write(Properties& properties, unsigned int id, const void* buffer, unsigned long size) {
    const auto* bytes = static_cast<const unsigned char*>(buffer);
    properties[id] = Bytes(bytes, bytes + size);
    written.emplace_back(id, properties[id]);
    return VX_OK;
}

void FakeVexlo::StreamState::Signal() const {
    if (waitObject) Tavix::SignalWaitObject(*waitObject);
}

void FakeVexlo::PushResult(const vexlo::CVxStream::GrabResult& result) {
    const Lock guard(lock);
    results.push_back(result);
    stream.Signal();
}

void FakeVexlo::PushEvent(const Bytes& event) {
    const Lock guard(lock);
    events.push_back(event);
    eventStream.Signal();
}

namespace vexlo {

VxStatus Init() {
    return Bus().Note("Init");
}

void Exit() {
    static_cast<void>(Bus().Note("Exit"));
}

VxStatus IsLibraryLoadable() {
    return Bus().Note("IsLibraryLoadable");
}

VxStatus GetStatusMessage(VxStatus status, char* buffer, unsigned long size, unsigned long*) {
    if (Bus().statusText.empty()) return VX_E_NOT_FOUND;
    std::snprintf(buffer, size, "%s %08X", Bus().statusText.c_str(), status);
    return VX_OK;
}

VxStatus CEnumerator::Discover(Callee* callee) {
    for (const DeviceDiscoveryInfo& camera : Bus().cameras) {
        if (callee->EnumCallback(&camera) != 0) break;
    }
    return Bus().Note("Discover");
}

VxStatus CEnumerator::DeviceInfoFromPath(const char* path, DeviceDiscoveryInfo& info) {
    const VxStatus status = Bus().Note("DeviceInfoFromPath");
    if (status != VX_OK) return status;
    for (const DeviceDiscoveryInfo& camera : Bus().cameras) {
        if (std::strcmp(camera.DevicePath, path) != 0) continue;
        info = camera;
        return VX_OK;
    }
    return VX_E_NOT_FOUND;
}

// The streams keep their state in the stand-in.
struct CVxStream::Impl {};
struct CVxEventStream::Impl {};

struct CVxDevice::Impl {
    bool open = false;
    CVxStream stream{std::make_unique<CVxStream::Impl>()};
    CVxEventStream events{std::make_unique<CVxEventStream::Impl>()};
};

CVxDevice::CVxDevice() : m_Impl(std::make_unique<Impl>()) {}
CVxDevice::~CVxDevice() = default;

CVxDevice* CVxDevice::CreateDevice(EDeviceType type) {
    static_cast<void>(Bus().Note("CreateDevice"));
    Bus().lastDeviceType = static_cast<unsigned int>(type);
    return Bus().createsDevices ? new CVxDevice : nullptr;
}

void CVxDevice::DestroyDevice(CVxDevice* device) {
    static_cast<void>(Bus().Note("DestroyDevice"));
    delete device;
    if (Bus().throwsOnDestroy) throw std::runtime_error("cannot destroy");
}

VxStatus CVxDevice::Open(const DeviceDiscoveryInfo& info) {
    const Lock guard(Bus().lock);
    Bus().lastOpenRecord = info;
    const VxStatus status = Bus().Note("Device.Open");
    if (status == VX_OK) m_Impl->open = true;
    return status;
}

VxStatus CVxDevice::Open(const DeviceDiscoveryInfo* info) {
    return Open(*info);
}

VxStatus CVxDevice::Close() {
    const Lock guard(Bus().lock);
    m_Impl->open = false;
    return Bus().Note("Device.Close");
}

bool CVxDevice::IsOpen() const {
    const Lock guard(Bus().lock);
    return m_Impl->open;
}

VxStatus CVxDevice::ReadMem(void* buffer, unsigned long address, unsigned long* pCount) {
    const Lock guard(Bus().lock);
    const VxStatus status = Bus().Note("Device.ReadMem");
    if (status != VX_OK) return status;
    *pCount -= std::min(*pCount, Bus().shortReadBy);
    for (unsigned long i = 0; i < *pCount; ++i)
        static_cast<unsigned char*>(buffer)[i] = Bus().memory[address + i];
    return VX_OK;
}

VxStatus CVxDevice::WriteMem(const void* buffer, unsigned long address, unsigned long count) {
    const Lock guard(Bus().lock);
    const VxStatus status = Bus().Note("Device.WriteMem");
    if (status != VX_OK) return status;
    for (unsigned long i = 0; i < count; ++i)
        Bus().memory[address + i] = static_cast<const unsigned char*>(buffer)[i];
    return VX_OK;
}

VxStatus CVxDevice::GetProperty(EPropertyValue id, void* buffer, unsigned long size) {
    const Lock guard(Bus().lock);
    const VxStatus status = Bus().Note("Device.GetProperty");
    return status != VX_OK ? status : Bus().Read(Bus().deviceProperties, id, buffer, size);
}

VxStatus CVxDevice::SetProperty(EPropertyValue id, const void* buffer, unsigned long size) {
    const Lock guard(Bus().lock);
    const VxStatus status = Bus().Note("Device.SetProperty");
    return status != VX_OK ? status : Bus().Write(Bus().deviceProperties, id, buffer, size);
}

VxStatus CVxDevice::ProvideXmlFile(CXmlFile& file) {
    const VxStatus status = Bus().Note("Device.ProvideXmlFile");
    if (status != VX_OK) return status;
    if (Bus().hasXmlText) file.SetText(Bus().xmlText);
    if (Bus().hasXmlName) file.SetFilename(Bus().xmlName);
    return VX_OK;
}

VxStatus CVxDevice::GetStream(CVxStream** ppStream) {
    const VxStatus status = Bus().Note("Device.GetStream");
    *ppStream = status == VX_OK && Bus().hasStream ? &m_Impl->stream : nullptr;
    return status;
}

VxStatus CVxDevice::GetEventStream(CVxEventStream** ppStream) {
    const VxStatus status = Bus().Note("Device.GetEventStream");
    *ppStream = status == VX_OK && Bus().hasEvents ? &m_Impl->events : nullptr;
    return status;
}

} // namespace vexlo
