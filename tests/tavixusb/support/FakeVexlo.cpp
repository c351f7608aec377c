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
    m_Failure.reset();
    onCall = nullptr;
    answers.clear();
    registered.clear();
    lastMessageRequest = {};
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
    inDoubt.reset();
    deviceProperties.clear();
    streamProperties.clear();
    eventProperties.clear();
    written.clear();
    preparedBuffers = preparedSize = 0;
    userBuffer = nullptr;
    queuedHandle = queuedContext = nullptr;
    registeredSize = eventSizePreset = 0;
    countPreset = ~0ul;
    askedForPendingEvents = false;
    deviceSaysItIsOpen.reset();
    streamSaysItIsOpen.reset();
    lastDeviceType = ~0u;
    results.clear();
    events.clear();
    stream = eventStream = StreamState();
}

void FakeVexlo::Script(const std::string& call, std::vector<VxStatus> statuses) {
    const Lock guard(lock);
    m_Scripts[call] = {statuses.begin(), statuses.end()};
}

void FakeVexlo::FailCall(std::size_t index, VxStatus status, bool andAllLater) {
    const Lock guard(lock);
    m_Failure = Failure{index, status, andAllLater};
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
    const std::size_t index = m_Calls.size();
    m_Calls.push_back(call);
    if (m_Failure && (index == m_Failure->index || (m_Failure->andAllLater && index > m_Failure->index))) {
        return m_Failure->status;
    }
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

void FakeVexlo::StreamState::Announce(bool isPending) const {
    if (waitObject) isPending ? Tavix::RaiseWaitObject(*waitObject) : Tavix::LowerWaitObject(*waitObject);
}

void FakeVexlo::PushResult(const vexlo::CVxStream::GrabResult& result) {
    const Lock guard(lock);
    results.push_back(result);
    stream.Announce(/*isPending=*/true);
}

void FakeVexlo::PushEvent(const Bytes& event) {
    const Lock guard(lock);
    events.push_back(event);
    eventStream.Announce(/*isPending=*/true);
}

namespace vexlo {

using Call = FakeVexlo::Call;

VxStatus Init() {
    return Call("Init").status;
}

void Exit() {
    const Call call("Exit");
}

VxStatus IsLibraryLoadable() {
    return Call("IsLibraryLoadable").status;
}

VxStatus GetStatusMessage(VxStatus status, char* buffer, unsigned long size, unsigned long* pLength) {
    const Lock guard(Bus().lock);
    Bus().lastMessageRequest = {size, pLength != nullptr,
                                std::all_of(buffer, buffer + size, [](char c) { return !c; })};
    if (Bus().statusText.empty()) return VX_E_NOT_FOUND;
    std::snprintf(buffer, size, "%s %08X", Bus().statusText.c_str(), status);
    return VX_OK;
}

VxStatus CEnumerator::Discover(Callee* callee) {
    const Call call("Discover");
    for (const DeviceDiscoveryInfo& camera : Bus().cameras) {
        if (callee->EnumCallback(&camera) != 0) break;
    }
    return call.status;
}

VxStatus CEnumerator::DeviceInfoFromPath(const char* path, DeviceDiscoveryInfo& info) {
    const Call call("DeviceInfoFromPath");
    if (!call) return call.status;
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

    void SetOpen(bool isOpen) {
        Bus().openDevices += int(isOpen) - int(open);
        open = isOpen;
    }
};

CVxDevice::CVxDevice() : m_Impl(std::make_unique<Impl>()) {}
CVxDevice::~CVxDevice() = default;

/// A scripted failure makes no device.
CVxDevice* CVxDevice::CreateDevice(EDeviceType type) {
    const Call call("CreateDevice");
    Bus().lastDeviceType = static_cast<unsigned int>(type);
    if (!call || !Bus().createsDevices) return nullptr;
    ++Bus().liveDevices;
    return new CVxDevice;
}

void CVxDevice::DestroyDevice(CVxDevice* device) {
    const Call call("DestroyDevice");
    if (device) {
        device->m_Impl->SetOpen(false);
        --Bus().liveDevices;
    }
    delete device;
    if (Bus().throwsOnDestroy) throw std::runtime_error("cannot destroy");
}

VxStatus CVxDevice::Open(const DeviceDiscoveryInfo& info) {
    const Call call("Device.Open");
    Bus().lastOpenRecord = info;
    if (call) m_Impl->SetOpen(true);
    return call.status;
}

VxStatus CVxDevice::Open(const DeviceDiscoveryInfo* info) {
    return Open(*info);
}

VxStatus CVxDevice::Close() {
    const Call call("Device.Close");
    m_Impl->SetOpen(false);
    return call.status;
}

bool CVxDevice::IsOpen() const {
    const Lock guard(Bus().lock);
    return Bus().deviceSaysItIsOpen.value_or(m_Impl->open);
}

VxStatus CVxDevice::ReadMem(void* buffer, unsigned long address, unsigned long* pCount) {
    const Call call("Device.ReadMem");
    if (!call) return call.status;
    *pCount -= std::min(*pCount, Bus().shortReadBy);
    for (unsigned long i = 0; i < *pCount; ++i)
        static_cast<unsigned char*>(buffer)[i] = Bus().memory[address + i];
    return VX_OK;
}

VxStatus CVxDevice::WriteMem(const void* buffer, unsigned long address, unsigned long count) {
    const Call call("Device.WriteMem");
    if (!call) return call.status;
    for (unsigned long i = 0; i < count; ++i)
        Bus().memory[address + i] = static_cast<const unsigned char*>(buffer)[i];
    return VX_OK;
}

bool CVxDevice::IsWriteInDoubt(VxStatus status) {
    return Bus().inDoubt == status;
}

VxStatus CVxDevice::RewriteMem(const void* buffer, unsigned long address, unsigned long count) {
    const Call call("Device.RewriteMem");
    if (!call) return call.status;
    for (unsigned long i = 0; i < count; ++i)
        Bus().memory[address + i] = static_cast<const unsigned char*>(buffer)[i];
    return VX_OK;
}

VxStatus CVxDevice::GetProperty(EPropertyValue id, void* buffer, unsigned long size) {
    const Call call("Device.GetProperty");
    const bool hasAnswer = Bus().answers.count(id) != 0;
    return call ? Bus().Read(hasAnswer ? Bus().answers : Bus().deviceProperties, id, buffer, size) : call.status;
}

VxStatus CVxDevice::SetProperty(EPropertyValue id, const void* buffer, unsigned long size) {
    const Call call("Device.SetProperty");
    return call ? Bus().Write(Bus().deviceProperties, id, buffer, size) : call.status;
}

VxStatus CVxDevice::ProvideXmlFile(CXmlFile& file) {
    const Call call("Device.ProvideXmlFile");
    if (!call) return call.status;
    if (Bus().hasXmlText) file.SetText(Bus().xmlText);
    if (Bus().hasXmlName) file.SetFilename(Bus().xmlName);
    return VX_OK;
}

VxStatus CVxDevice::GetStream(CVxStream** ppStream) {
    const Call call("Device.GetStream");
    *ppStream = Bus().hasStream ? &m_Impl->stream : nullptr; // a failure promises nothing about it
    return call.status;
}

VxStatus CVxDevice::GetEventStream(CVxEventStream** ppStream) {
    const Call call("Device.GetEventStream");
    *ppStream = Bus().hasEvents ? &m_Impl->events : nullptr;
    return call.status;
}

} // namespace vexlo
