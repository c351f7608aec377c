#pragma once
// Writes images on a thread of its own, so that the grab does not wait for the disk.

#include "core/Mutex.h"
#include "images/ImageFile.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <string>
#include <thread>

#include <tavix/camera/Image.h>

namespace tool {

/// Jobs are written in the order in which they come, and their images given back to the stream then. Thread-safe.
class ImageWriter {
public:
    struct Job {
        Tavix::Image image;
        std::string camera; ///< its name
    };

    ImageWriter(ImageNames names, ImageFormat format);
    ~ImageWriter();
    ImageWriter(const ImageWriter&) = delete;
    ImageWriter& operator=(const ImageWriter&) = delete;

    void Write(Job job);
    /// Waits until everything is written; throws the first Error that writing met. What comes after an error is not
    /// written any more.
    void Finish();
    /// Gives back what it has not begun to write yet, unwritten.
    void Abandon() { m_IsAbandoned = true; }
    bool HasFailed() const { return m_HasFailed; }
    /// Images written so far, and how many of them are raw because their pixel format cannot be converted.
    std::uint64_t Written() const { return m_Written; }
    std::uint64_t Unconverted() const { return m_Unconverted; }

private:
    void Run();
    void Save(const Job& job);

    const ImageFormat m_Format;
    ImageNames m_Names; // the thread's
    Tavix::Mutex m_Mutex;
    std::condition_variable m_Changed;
    std::deque<Job> m_Jobs TAVIX_GUARDED_BY(m_Mutex);
    bool m_Busy TAVIX_GUARDED_BY(m_Mutex) = false;
    bool m_Ending TAVIX_GUARDED_BY(m_Mutex) = false;
    std::string m_FirstError TAVIX_GUARDED_BY(m_Mutex);
    std::atomic<bool> m_HasFailed{false}, m_IsAbandoned{false};
    std::atomic<std::uint64_t> m_Written{0}, m_Unconverted{0};
    std::thread m_Thread; // joined by the destructor
};

} // namespace tool
