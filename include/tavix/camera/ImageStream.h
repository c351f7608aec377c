#pragma once
// Images of one camera, one after the other.

#include <tavix/camera/Export.h>
#include <tavix/camera/Image.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <iterator>
#include <memory>
#include <optional>
#include <string>

namespace Tavix {

namespace detail {
class CameraCore;
}

/// Gives memory of at least so many bytes for one image, aligned as operator new does; whatever it holds is released
/// with the last share. Null or an exception when there is none; its text becomes part of the error. Called on the
/// thread that starts the stream, and when it needs more on the one that takes its images or, with a callback, on one
/// of the library's.
using BufferAllocator = std::function<std::shared_ptr<void>(std::size_t bytes)>;

/// How to grab. Re-entrant.
struct GrabOptions {
    /// Ends after so many images; 0: goes on until broken off.
    std::uint64_t count = 0;
    /// Images that may wait for the application.
    std::size_t buffers = 8;
    /// Most bytes that these may take together, so that a camera which states an absurd size of its images takes no
    /// more; a stream that would need more is refused.
    std::size_t memoryLimit = std::size_t(2) << 30;
    /// Further memory, in bytes, for images that the application keeps. Beyond it the stream waits until one is given
    /// back, and what the camera sends meanwhile is lost and counted.
    std::size_t keepBudget = std::size_t(512) << 20;
    /// Hands out the newest image and drops those that waited behind it; in a group, the newest set. A callback is then
    /// called on a thread of the stream's own.
    bool newestOnly = false;
    /// Hands out damaged images as well, see Image::IsWhole.
    bool incomplete = false;
    /// Longest silence that a loop or Next() endures; 0 or negative: any.
    std::chrono::milliseconds timeout{5000};
    /// How long to wait for a camera that was unplugged; 0: not at all, negative: for ever.
    std::chrono::milliseconds reconnect{0};
    /// Largest transfer in bytes, for hosts or cameras that need smaller ones; 0: as the transport layer thinks best.
    std::size_t transferSize = 0;
    /// Real-time priority of the thread that takes the transfers, 1 to 99, so that a busy computer does not keep it
    /// from them; 0: as all other threads. Where the system does not permit it (`ulimit -r`) the log says so.
    unsigned int threadPriority = 0;
    /// Memory for the images; empty for the library's own: mapped by the kernel where it can.
    BufferAllocator allocator;
};

/// What became of the images so far. Re-entrant.
struct GrabCounts {
    std::uint64_t delivered = 0;  ///< handed out
    std::uint64_t dropped = 0;    ///< came whole and were replaced by a newer one
    std::uint64_t failed = 0;     ///< came damaged, handed out or not
    std::uint64_t missed = 0;     ///< never came, by the gaps in the block ids
    std::uint64_t starved = 0;    ///< times that all memory was kept by the application and the budget was spent
    std::uint64_t reconnects = 0; ///< times that the camera was lost and came back
    std::size_t buffers = 0;      ///< in use now, further ones included
    std::size_t memory = 0;       ///< their bytes
    std::size_t mapped = 0;       ///< of these bytes, those that the controller writes to without a copy
};

/// A running stream. It ends with its object, after `count` images or with Cancel. Images outlive it. Wait and Next are
/// for one thread at a time; Cancel and what is asked are thread-safe.
class TAVIX_CAMERA_API ImageStream {
public:
    ImageStream(ImageStream&&) noexcept;
    ImageStream& operator=(ImageStream&&) noexcept;
    /// Stops the camera and, with a callback, waits for one that runs. Called from that callback, waits for nothing:
    /// the camera is stopped when it returns.
    ~ImageStream();

    /// The next image; empty when the stream has ended: all came, or Cancel. Timeout after GrabOptions::timeout of
    /// silence, Removed when the camera went for good, Error when it failed. A timeout ends nothing.
    Image Next();
    /// The same with a time of one's own; empty also when none came in that time. Negative: as long as it takes.
    Image Wait(std::chrono::milliseconds timeout);
    /// Ends the stream from any thread; a wait that is going on returns empty.
    void Cancel() noexcept;
    /// Whether no further image will come: count reached, cancelled, or failed.
    bool HasEnded() const;
    /// With a callback: waits until the stream has ended, and throws what ended it unless that was count or Cancel.
    /// False when the time is over before. Negative: as long as it takes. StateError in the callback itself.
    bool Join(std::chrono::milliseconds timeout = std::chrono::milliseconds(-1));
    GrabCounts Counts() const;
    /// What was wrong with the first image that came damaged, in words without a full stop; empty when none did.
    std::string FirstDefect() const;
    /// What to do when no image comes, in words without a full stop: give images back where all memory is kept, or look
    /// for the reason at the camera.
    std::string WhySilent() const;

    /// For `for (const Image& image : stream)`. An image is the loop's until the next step; to keep it, take the
    /// reference without const and move it out.
    class Iterator {
    public:
        using iterator_category = std::input_iterator_tag;
        using value_type = Image;
        using difference_type = std::ptrdiff_t;
        using pointer = Image*;
        using reference = Image&;

        Image& operator*() const { return *m_Image; }
        Image* operator->() const { return m_Image.get(); }
        Iterator& operator++();
        void operator++(int) { ++*this; }
        bool operator==(const Iterator& other) const { return m_Stream == other.m_Stream; }
        bool operator!=(const Iterator& other) const { return !(*this == other); }

    private:
        friend class ImageStream;
        ImageStream* m_Stream = nullptr; // borrowed; null at the end
        std::shared_ptr<Image> m_Image;
    };
    /// Waits for the first image.
    Iterator begin();
    Iterator end() { return {}; }

private:
    friend class Camera;
    struct Impl;
    explicit ImageStream(std::unique_ptr<Impl> impl);
    static ImageStream Begin(std::shared_ptr<detail::CameraCore> core, const GrabOptions& options,
                             std::function<void(Image)> callback);
    Impl& Checked() const;

    std::unique_ptr<Impl> m_Impl;
};

} // namespace Tavix
