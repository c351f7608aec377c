#pragma once
// A series of images on its way to the disk.

#include "core/Mutex.h"
#include "viewer/server/Protocol.h"

#include <tavix/camera/Image.h>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <filesystem>
#include <string>
#include <thread>

namespace viewer {

struct RecordOptions {
    std::filesystem::path folder; ///< of all series
    std::string name;             ///< of this one: letters, figures, '-', '_' and '.'
    std::string format = "png";
    std::uint64_t count = 0; ///< ends after so many; 0: when asked to
};

/// Whether a name leads nowhere but into the folder.
bool IsSeriesName(const std::string& name);

/// Writes images in the order in which they come, on a thread of its own. When the disk is too slow, images are left
/// out and counted. Thread-safe.
class Recorder {
public:
    /// Makes a new folder. Throws std::runtime_error when that cannot be done.
    explicit Recorder(const RecordOptions& options);
    /// Drops what is not written yet.
    ~Recorder();

    /// Takes a copy, unless it has ended.
    void Put(const Tavix::Image& image);
    /// Takes no more, and writes what it has.
    void End();
    /// Whether all is written, or it failed.
    bool IsDone() const;
    /// {"folder", "saved", "of", "leftOut", "waiting", "bytes", "spaceLeft", "done", "why"}
    Json State() const;

private:
    void Run();
    void Write(const Tavix::Image& image, std::uint64_t number);

    // constant after construction
    const RecordOptions m_Options;
    std::filesystem::path m_Folder;

    mutable Tavix::Mutex m_Lock;
    std::condition_variable m_Changed;
    std::deque<Tavix::Image> m_Waiting TAVIX_GUARDED_BY(m_Lock);
    std::size_t m_WaitingBytes TAVIX_GUARDED_BY(m_Lock) = 0;
    std::uint64_t m_Taken TAVIX_GUARDED_BY(m_Lock) = 0;
    std::uint64_t m_Saved TAVIX_GUARDED_BY(m_Lock) = 0;
    std::uint64_t m_LeftOut TAVIX_GUARDED_BY(m_Lock) = 0;
    std::uint64_t m_Bytes TAVIX_GUARDED_BY(m_Lock) = 0;
    bool m_HasEnded TAVIX_GUARDED_BY(m_Lock) = false;
    bool m_IsDone TAVIX_GUARDED_BY(m_Lock) = false;
    bool m_Stop TAVIX_GUARDED_BY(m_Lock) = false;
    std::string m_Why TAVIX_GUARDED_BY(m_Lock);
    std::thread m_Thread;
};

} // namespace viewer
