#pragma once
// An opened device whose transfers are written to a trace.

#include "usb/Backend.h"
#include "usb/trace/TraceFile.h"

#include <memory>
#include <string>

namespace usb {

/// Where a device is on its bus.
struct TracedPlace {
    std::uint8_t bus = 0;
    std::uint8_t address = 0;
};

/// Records the submission of a control transfer when it is made, and its end. Bound to a thread.
class TracedControl {
public:
    TracedControl(TraceFile& trace, const TracedPlace& place, const ControlSetup& setup,
                  const std::uint8_t* data = nullptr);
    void Completed(Result result, const std::uint8_t* data, std::size_t actual);

private:
    TraceFile& m_Trace;
    const bool m_In;
    CaptureRecord m_Record;
};

/// Passes all calls on to the handle that it owns. A submitted transfer is carried out by a twin, which lives in the
/// transfer's backendData until it is forgotten. Thread-safe as usb::Handle says.
class TracedHandle final : public Handle {
public:
    TracedHandle(std::unique_ptr<Handle> handle, std::shared_ptr<TraceFile> trace, const TracedPlace& place);
    ~TracedHandle() override;

    [[nodiscard]] Result Claim(std::uint8_t interfaceNumber) override { return m_Handle->Claim(interfaceNumber); }
    Result Release(std::uint8_t interfaceNumber) override { return m_Handle->Release(interfaceNumber); }
    [[nodiscard]] Result SelectConfiguration(std::uint8_t value) override;
    [[nodiscard]] Result Control(const ControlSetup& setup, std::uint8_t* data, std::size_t& actual,
                                 unsigned int timeoutMs) override;
    [[nodiscard]] Result Bulk(std::uint8_t endpoint, std::uint8_t* data, std::size_t length, std::size_t& actual,
                              unsigned int timeoutMs) override;
    [[nodiscard]] Result Submit(Transfer& transfer) override;
    Result Cancel(Transfer& transfer) override;
    void Forget(Transfer& transfer) override;
    Result HandleEvents(unsigned int timeoutMs) override { return m_Handle->HandleEvents(timeoutMs); }
    void WakeEvents() override { m_Handle->WakeEvents(); }
    [[nodiscard]] Result ClearHalt(std::uint8_t endpoint) override;
    [[nodiscard]] Result Reset() override { return m_Handle->Reset(); }
    bool IsAttached() override { return m_Handle->IsAttached(); }
    std::string ReadString(std::uint8_t index) override;
    std::uint8_t* AllocateMemory(std::size_t size, std::size_t piece) override {
        return m_Handle->AllocateMemory(size, piece);
    }
    void FreeMemory(std::uint8_t* memory, std::size_t size) override { m_Handle->FreeMemory(memory, size); }

private:
    struct Twin;

    static void Ended(Transfer& twin);
    CaptureRecord BulkRecord(std::uint8_t endpoint) const;
    void RecordSubmission(CaptureRecord& record, const std::uint8_t* data, std::size_t length);
    void RecordEnd(CaptureRecord& record, TransferStatus status, const std::uint8_t* data, std::size_t actual);

    const std::unique_ptr<Handle> m_Handle;
    const std::shared_ptr<TraceFile> m_Trace;
    const TracedPlace m_Place;
};

} // namespace usb
