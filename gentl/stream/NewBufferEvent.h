#pragma once
// What a consumer of images waits for.

#include "gentl/event/EventQueue.h"

#include <memory>

namespace gentl {

class Stream;

/// "A buffer is in the output queue." Lives within its stream. Thread-safe.
class NewBufferEvent final : public EventQueue {
public:
    explicit NewBufferEvent(const std::shared_ptr<Stream>& stream);
    void DataInfo(const void* data, size_t size, EVENT_DATA_INFO_CMD command, Answer& answer) const override;
    void Flush() override;

    const Tavix::WaitObjectEx& Wait() const { return WaitObject(); }

protected:
    void DoOpen() override TAVIX_EXCLUDES(TreeMutex());
    void DoBegin() override TAVIX_REQUIRES(TreeMutex());
    void DoLeave() noexcept override TAVIX_REQUIRES(TreeMutex());
    Taken TryTake(void* buffer, size_t& size) override;
    size_t CountPending() override;
    std::uint64_t CountFired() override;
    size_t LargestData() const override { return sizeof(EVENT_NEW_BUFFER_DATA); }

private:
    std::shared_ptr<Stream> Owner() const;

    const std::weak_ptr<Stream> m_Stream;
    bool m_HasBegun TAVIX_GUARDED_BY(TreeMutex()) = false;
    std::uint64_t m_FiredBefore = 0; // those that were taken before it was registered; constant once it has its handle
};

} // namespace gentl
