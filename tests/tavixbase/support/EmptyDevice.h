#pragma once
// A device that gives applications nothing.

#include "tavix/Device.h"

namespace Tavix {

/// What an interface of devices has for applications, empty but for the info. Bound to a thread.
template<class Interface>
class EmptyDevice : public Interface {
public:
    explicit EmptyDevice(const CDeviceInfo& info = {}) : m_Info(info) {}
    ~EmptyDevice() override = default;

    void Open(AccessModeSet) override {}
    void Close() override {}
    bool IsOpen() const override { return false; }
    const CDeviceInfo& GetDeviceInfo() const override { return m_Info; }
    std::uint32_t GetNumStreamGrabberChannels() const override { return 0; }
    IStreamGrabber* GetStreamGrabber(std::uint32_t) override { return nullptr; }
    IEventGrabber* GetEventGrabber() override { return nullptr; }
    GenApi::INodeMap* GetNodeMap() override { return nullptr; }
    GenApi::INodeMap* GetTLNodeMap() override { return nullptr; }
    IChunkParser* CreateChunkParser() override { return nullptr; }
    void DestroyChunkParser(IChunkParser*) override {}
    ISelfReliantChunkParser* CreateSelfReliantChunkParser() override { return nullptr; }
    void DestroySelfReliantChunkParser(ISelfReliantChunkParser*) override {}
    IEventAdapter* CreateEventAdapter() override { return nullptr; }
    void DestroyEventAdapter(IEventAdapter*) override {}
    DeviceCallbackHandle RegisterRemovalCallback(Callback1<ITavixDevice*>&) override { return nullptr; }
    bool DeregisterRemovalCallback(DeviceCallbackHandle) override { return false; }
    AccessModeSet AccessMode() const override { return {}; }

private:
    CDeviceInfo m_Info;
};

} // namespace Tavix
