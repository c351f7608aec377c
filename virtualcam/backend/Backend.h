#pragma once
// A USB bus in process that carries virtual cameras only.

#include <atomic>
#include <condition_variable>
#include <list>
#include <map>
#include <memory>
#include <thread>
#include <vector>

#include "core/Mutex.h"
#include "usb/Backend.h"
#include "virtualcam/backend/Attachment.h"
#include "virtualcam/backend/Handle.h"
#include "virtualcam/settings/BackendSettings.h"

namespace virtualcam {

/// Thread-safe.
class Backend final : public usb::Backend {
public:
    /// Throws std::runtime_error when a camera's description file cannot be read, Tavix::NoThread for want of one.
    explicit Backend(const BackendSettings& settings);
    ~Backend() override;

    const char* Name() const override { return "virtual"; }
    [[nodiscard]] usb::Result Enumerate(std::vector<usb::DeviceEntry>& devices) override;
    [[nodiscard]] usb::Result Open(const std::string& id, std::unique_ptr<usb::Handle>& handle) override;
    std::uint64_t RegisterHotplug(usb::HotplugHandler handler) override;
    void DeregisterHotplug(std::uint64_t registration) override;
    std::size_t TransferMemoryLimit() const override { return m_Memory->limit; }

    // --- the cameras behind the bus
    std::size_t CameraCount() const { return Slots().size(); }
    /// The camera; it exists whether plugged or not.
    Device& Camera(std::size_t index) { return *Slots()[index]->device; }
    /// One more camera, for as long as the bus lives. Throws as the constructor does.
    void Add(const CameraSettings& settings);
    /// Plugs or unplugs a camera and returns when the bus knows.
    void Plug(std::size_t index);
    void Unplug(std::size_t index);
    /// Id of the camera's present stay on the bus, empty when it is not plugged.
    std::string IdOf(std::size_t index);
    std::size_t TransferMemoryUsed() const { return m_Memory->used; }

private:
    /// A port of the bus and the camera that belongs there.
    class Slot final : public DeviceListener {
    public:
        Slot(Backend& backend, std::uint8_t port, const CameraSettings& settings);
        ~Slot() override;
        void EndpointReady(std::uint8_t endpoint) override;
        void Unplugged() override;
        void Plugged() override;
        std::shared_ptr<Attachment> Current();
        void Await(bool plugged);

        const std::unique_ptr<Device> device;

    private:
        Backend& m_Backend;
        const std::uint8_t m_Port;
        Tavix::Mutex m_Lock;
        std::condition_variable m_Changed;
        std::shared_ptr<Attachment> m_Attachment TAVIX_GUARDED_BY(m_Lock);
    };
    struct News {
        usb::HotplugEvent event;
        std::string id;
    };

    const std::shared_ptr<TransferMemory> m_Memory = std::make_shared<TransferMemory>();
    std::atomic<unsigned> m_NextAddress{1};

    Tavix::Mutex m_Lock;
    std::condition_variable m_Changed;
    std::map<std::uint64_t, std::shared_ptr<usb::HotplugHandler>> m_Handlers TAVIX_GUARDED_BY(m_Lock);
    std::uint64_t m_LastRegistration TAVIX_GUARDED_BY(m_Lock) = 0;
    std::uint64_t m_Calling TAVIX_GUARDED_BY(m_Lock) = 0; // registration whose handler runs now
    std::list<News> m_News TAVIX_GUARDED_BY(m_Lock);
    bool m_Stop TAVIX_GUARDED_BY(m_Lock) = false;

    mutable Tavix::Mutex m_SlotsLock;
    std::vector<std::unique_ptr<Slot>> m_Slots TAVIX_GUARDED_BY(m_SlotsLock); // grows only
    std::thread m_Thread;

    std::vector<Slot*> Slots() const;

    std::uint8_t NextAddress() { return static_cast<std::uint8_t>(1 + (m_NextAddress++ - 1) % 127); }
    void Announce(std::list<News> news);
    void Run();
    void Call(const News& news);
};

/// Makes a bus from settings in text (a number of cameras, or a file); null with a reason in `error`.
/// Throws Tavix::NoThread.
std::unique_ptr<Backend> CreateBackend(const std::string& settings, std::string& error);
/// Makes a bus from records.
std::unique_ptr<Backend> CreateBackend(const BackendSettings& settings);

} // namespace virtualcam
