#pragma once
// One opened device of the real bus.

#include "usb/Backend.h"
#include "usb/libusb/LibusbContext.h"

#include "core/Mutex.h"

#include <atomic>
#include <chrono>
#include <memory>

namespace usb {

/// Opened device with a libusb context of its own, so that whoever runs its events runs those of no other device.
///
/// libusb lets any thread that waits for a synchronous transfer run the callbacks of all transfers. So the callbacks
/// only put what has ended into a queue, and HandleEvents empties it:
///
///     Submit -> [in flight, libusb's] -> callback on some thread -> [ended] -> HandleEvents -> Transfer::completed
///
/// Thread-safe as usb::Handle says.
class LibusbHandle final : public Handle {
public:
    /// Opens the device `id`; `result` tells why the answer is null.
    static std::unique_ptr<Handle> Open(const std::string& id, Result& result);
    LibusbHandle(LibusbContext context, LibusbDeviceHandle device);
    /// Cancels what is still in flight and waits for it, within limits: a wedged kernel must not hang the caller.
    ~LibusbHandle() override;

    [[nodiscard]] Result Claim(std::uint8_t interfaceNumber) override;
    [[nodiscard]] Result SelectConfiguration(std::uint8_t value) override;
    Result Release(std::uint8_t interfaceNumber) override;
    [[nodiscard]] Result Control(const ControlSetup& setup, std::uint8_t* data, std::size_t& actual,
                                 unsigned int timeoutMs) override;
    [[nodiscard]] Result Bulk(std::uint8_t endpoint, std::uint8_t* data, std::size_t length, std::size_t& actual,
                              unsigned int timeoutMs) override;
    [[nodiscard]] Result Submit(Transfer& transfer) override;
    Result Cancel(Transfer& transfer) override;
    void Forget(Transfer& transfer) override;
    Result HandleEvents(unsigned int timeoutMs) override;
    void WakeEvents() override;
    [[nodiscard]] Result ClearHalt(std::uint8_t endpoint) override;
    bool IsAttached() override;
    [[nodiscard]] Result Reset() override;
    std::string ReadString(std::uint8_t index) override;
    std::uint8_t* AllocateMemory(std::size_t size, std::size_t piece) override;
    void FreeMemory(std::uint8_t* memory, std::size_t size) override;

private:
    using Clock = std::chrono::steady_clock;
    struct Slot;
    /// Doubly linked through the slots themselves: nothing is allocated while a stream runs.
    struct SlotList {
        Slot* first = nullptr;
        Slot* last = nullptr;
        void Append(Slot& slot);
        void Remove(Slot& slot);
    };

    /// The open file of usbfs; -1 when there is none.
    int File() const;
    static void Ended(libusb_transfer* transfer);
    static Slot* SlotOf(Transfer& transfer);
    void MoveToEnded(Slot& slot);
    SlotList TakeEnded();
    bool RunCompletions();
    Result WaitForEvents(std::chrono::microseconds time);
    void CancelAllInFlight();
    /// Empty when it cannot be read.
    std::vector<std::uint8_t> ReadStringDescriptor(std::uint8_t index, std::uint16_t language);

    // constant after construction; the device is closed before its context ends
    const LibusbContext m_Context;
    const LibusbDeviceHandle m_Device;

    Tavix::Mutex m_Lock;
    SlotList m_InFlight TAVIX_GUARDED_BY(m_Lock);
    SlotList m_Ended TAVIX_GUARDED_BY(m_Lock);

    // WakeEvents sets m_Wake before m_Attention, HandleEvents clears m_Attention before it looks at m_Wake: in one
    // order of all four, a wake-up whose mark is cleared is seen all the same. The mark set later meets libusb under
    // its event lock, which the thread that took the interruption in our place has held.
    std::atomic<bool> m_Wake{false};
    /// Read by libusb as a plain int once it holds its event lock; not 0 when HandleEvents has something to look at.
    int m_Attention = 0;
};

} // namespace usb
