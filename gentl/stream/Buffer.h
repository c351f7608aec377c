#pragma once
// A buffer of a stream and what came into it.

#include "gentl/Handles.h"
#include "gentl/Info.h"

#include "vexlo/VxStream.h"

#include <memory>
#include <vector>

namespace gentl {

/// Where a buffer is.
///
///   announced --queue--> input --filled--> output --EventGetData--> delivered --queue--> input
enum class Place { Announced, Input, Output, Delivered };

/// Memory and its state belong to the stream, whose lock guards them; `record` is what queries read, guarded by the
/// lock of the buffer's slot, so that they wait for nobody. Thread-safe in that sense.
class Buffer final : public Object {
public:
    static bool IsOne(Kind kind) { return kind == Kind::Buffer; }
    /// `shareOfMemory` is null for memory of the consumer, who keeps it until the buffer is revoked.
    Buffer(void* streamHandle, void* memory, size_t bytes, void* user, std::shared_ptr<void> shareOfMemory = nullptr)
        : Object(Kind::Buffer), stream(streamHandle), data(memory), size(bytes), userPointer(user),
          own(std::move(shareOfMemory)) {}

    void* const stream; ///< handle of the stream it belongs to
    void* const data;   ///< the consumer's, or our own
    const size_t size;
    void* const userPointer;
    const std::shared_ptr<void> own; ///< memory that we allocated lives as long as somebody reads it

    Place place = Place::Announced;          ///< with the stream's lock
    vexlo::BufferHandle_s* handle = nullptr; ///< with the stream's lock; null while not registered
    bool isOnBus = false;                    ///< with the stream's lock: the USB access library has it

    /// What queries tell.
    struct Record {
        vexlo::CVxStream::GrabResult result{};
        bool hasData = false;  ///< something was filled in since it was queued
        bool isNew = false;    ///< and not asked for yet by being queued again
        bool isQueued = false; ///< in the input pool
        bool isOnBus = false;
    };
    Record record;

    /// Changes the record with its lock held.
    template<class Change>
    void Update(Change&& change) {
        Slot* const slot = Handles::Get().FindSlot(Handle());
        const SpinGuard guard(slot->lock);
        change(record);
    }
};

/// Answers from a record whose lock is held.
void BufferInfo(const Buffer& buffer, BUFFER_INFO_CMD command, Answer& answer);
void BufferPartInfo(const Buffer& buffer, uint32_t part, BUFFER_PART_INFO_CMD command, Answer& answer);
/// NO_DATA when the buffer holds no image.
uint32_t CountParts(const Buffer& buffer);

/// What is in a buffer, to be read without its lock.
struct Contents {
    Buffer::Record record;
    const std::uint8_t* data;
    size_t size;
    std::shared_ptr<const void> share; ///< memory of ours stays until then, even if the buffer or its stream goes
};
/// With the lock held.
Contents ContentsOf(const Buffer& buffer);
/// The chunks of a buffer, in the order in which they lie there. NO_DATA without chunks, PARSING_CHUNK_DATA when their
/// layout is broken. Reads the memory, so the consumer must not have queued it.
std::vector<SINGLE_CHUNK_DATA> ChunksOf(const Contents& contents);

/// Runs `ask(buffer)` with the record's lock held. INVALID_HANDLE for a stream or buffer that is none, or a buffer of
/// another stream.
template<class Ask>
void WithBuffer(DS_HANDLE stream, BUFFER_HANDLE handle, Ask&& ask) {
    Slot* const slot = Handles::Get().FindSlot(handle);
    if (slot) {
        const SpinGuard guard(slot->lock);
        if (Handles::IsOf(*slot, handle) && slot->object->GetKind() == Kind::Buffer) {
            const auto& buffer = static_cast<const Buffer&>(*slot->object);
            if (buffer.stream == stream) return ask(buffer);
        }
    }
    Fail(GC_ERR_INVALID_HANDLE, "the stream or buffer is not valid (any more), or they do not belong together");
}

} // namespace gentl
