#pragma once
// An opened virtual device.

#include <list>
#include <memory>

#include "core/Mutex.h"
#include "virtualcam/backend/Attachment.h"

namespace virtualcam {

/// Transfer memory of all handles of a backend.
struct TransferMemory {
    std::size_t limit = 0; ///< 0: none
    std::atomic<std::size_t> used{0};
};

/// What is still queued when it goes is taken back: nothing of it stays on the bus. Thread-safe.
class Handle final : public usb::Handle {
public:
    Handle(std::shared_ptr<Attachment> attachment, std::shared_ptr<TransferMemory> memory)
        : m_Attachment(std::move(attachment)), m_Memory(std::move(memory)) {}
    ~Handle() override;

    [[nodiscard]] usb::Result Claim(std::uint8_t interfaceNumber) override;
    usb::Result Release(std::uint8_t interfaceNumber) override;
    [[nodiscard]] usb::Result Control(const usb::ControlSetup& setup, std::uint8_t* data, std::size_t& actual,
                                      unsigned int timeoutMs) override;
    [[nodiscard]] usb::Result Bulk(std::uint8_t endpoint, std::uint8_t* data, std::size_t length, std::size_t& actual,
                                   unsigned int timeoutMs) override;
    [[nodiscard]] usb::Result Submit(usb::Transfer& transfer) override;
    usb::Result Cancel(usb::Transfer& transfer) override;
    void Forget(usb::Transfer& transfer) override;
    usb::Result HandleEvents(unsigned int timeoutMs) override;
    void WakeEvents() override;
    [[nodiscard]] usb::Result ClearHalt(std::uint8_t endpoint) override;
    [[nodiscard]] usb::Result Reset() override;
    std::string ReadString(std::uint8_t index) override;

private:
    const std::shared_ptr<Attachment> m_Attachment;
    const std::shared_ptr<TransferMemory> m_Memory;
    const std::shared_ptr<CompletionQueue> m_Completions = std::make_shared<CompletionQueue>();

    Tavix::Mutex m_Lock;
    std::list<Request> m_Requests TAVIX_GUARDED_BY(m_Lock); // of all transfers that were submitted and not forgotten

    usb::Result Prepare(usb::Transfer& transfer);
    bool Reserve(std::size_t bytes);
    void ServeAnswer(std::uint8_t endpoint);
};

} // namespace virtualcam
