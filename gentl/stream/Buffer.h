#pragma once
// A buffer of a stream and what came into it.

#include "gentl/Handles.h"
#include "gentl/Info.h"

#include "vexlo/VxStream.h"

#include <cassert>
#include <list>
#include <memory>
#include <vector>

namespace gentl {

/// Where a buffer is.
///
///   none --announce--> announced --queue--> input --filled--> output --EventGetData--> delivered --queue--> input
///   none <--revoke-- all of them
enum class Place { None, Announced, Input, Output, Delivered };
inline constexpr std::size_t kPlaces = 5;

/// Its memory belongs to the stream; what changes has two guards: where it is belongs to the stream's queues, what
/// queries tell to the lock of the buffer's slot, so that they wait for nobody. Thread-safe.
class Buffer final : public Object {
public:
    static constexpr Kinds kKinds{Kind::Buffer};
    /// `shareOfMemory` is null for memory of the consumer, who keeps it until the buffer is revoked.
    Buffer(void* streamHandle, void* memory, size_t bytes, void* user, std::shared_ptr<void> shareOfMemory = nullptr)
        : Object(Kind::Buffer), stream(streamHandle), data(memory), size(bytes), userPointer(user),
          own(std::move(shareOfMemory)) {}

    using Object::Unregister;

    void* const stream; ///< handle of the stream it belongs to
    void* const data;   ///< the consumer's, or our own
    const size_t size;
    void* const userPointer;
    const std::shared_ptr<void> own; ///< memory that we allocated lives as long as somebody reads it

    /// Whether our memory is the kernel's: what came from the heap goes back there.
    bool IsMapped() const { return own && !std::get_deleter<std::default_delete<std::uint8_t[]>>(own); }

    /// What queries tell.
    struct Record {
        vexlo::CVxStream::GrabResult result{};
        bool hasData = false;  ///< something was filled in since it was queued
        bool isNew = false;    ///< and not asked for yet by being queued again
        bool isQueued = false; ///< in the input pool
        bool isOnBus = false;
    };
    /// Changes the record with its lock held; once it has its handle.
    template<class Change>
    void Update(Change&& change) {
        const SpinGuard guard(OwnSlot().lock);
        change(m_Record);
    }
    Record Look() const {
        const SpinGuard guard(OwnSlot().lock);
        return m_Record;
    }
    /// The record of the buffer that was found in this slot, to be read as long as the lock is held.
    const Record& RecordIn(const Slot& slot) const TAVIX_REQUIRES(slot.lock) {
        HoldsLockOf(slot);
        return m_Record;
    }

private:
    friend class BufferQueues;
    using Queue = std::list<Buffer*>; // so that buffers change places in no time and without memory
    /// Who has it.
    struct Way {
        Queue::iterator here; ///< in the queue of its place, unless that is None
        Place place = Place::None;
        vexlo::BufferHandle_s* handle = nullptr; ///< null while not registered on the bus
        bool isOnBus = false;                    ///< the USB access library has it
    };

    void HoldsLockOf([[maybe_unused]] const Slot& slot) const TAVIX_ASSERT_CAPABILITY(OwnSlot().lock) {
        assert(&slot == &OwnSlot());
    }

    Way m_Way; // BufferQueues::WayOf is the only road to it
    Record m_Record TAVIX_GUARDED_BY(OwnSlot().lock);
};

/// Answers from a record whose lock is held.
void BufferInfo(const Buffer& buffer, const Buffer::Record& record, BUFFER_INFO_CMD command, Answer& answer);
void BufferPartInfo(const Buffer& buffer, const Buffer::Record& record, uint32_t part, BUFFER_PART_INFO_CMD command,
                    Answer& answer);
/// NO_DATA when the buffer holds no image.
uint32_t CountParts(const Buffer::Record& record);

/// What is in a buffer, to be read without its lock.
struct Contents {
    Buffer::Record record;
    const std::uint8_t* data;
    size_t size;
    std::shared_ptr<const void> share; ///< memory of ours stays until then, even if the buffer or its stream goes
};
/// With the lock held.
Contents ContentsOf(const Buffer& buffer, const Buffer::Record& record);
/// A black image whose chunks are missing looks like chunks without length, one behind the other.
inline constexpr std::size_t kMostChunks = 256;
/// The chunks of a buffer, in the order in which they lie there. NO_DATA without chunks, PARSING_CHUNK_DATA when their
/// layout is broken or there are more than kMostChunks. Reads the memory, so the consumer must not have queued it.
std::vector<SINGLE_CHUNK_DATA> ChunksOf(const Contents& contents);

/// Runs `ask(buffer, record)` with the record's lock held. INVALID_HANDLE for a stream or buffer that is none, or a
/// buffer of another stream.
template<class Ask>
void WithBuffer(DS_HANDLE stream, BUFFER_HANDLE handle, Ask&& ask) {
    if (Slot* const slot = Handles::FindSlot(handle)) {
        const SpinGuard guard(slot->lock);
        if (Handles::IsOf(*slot, handle) && slot->object->GetKind() == Kind::Buffer) {
            const auto& buffer = static_cast<const Buffer&>(*slot->object);
            if (buffer.stream == stream) return ask(buffer, buffer.RecordIn(*slot));
        }
    }
    Fail(GC_ERR_INVALID_HANDLE, "the stream or buffer is not valid (any more), or they do not belong together");
}

} // namespace gentl
