#pragma once
// One camera of a long run: images with chunk data, events and feature writes, all of it checked.

#include <GenApi/NodeCallback.h>
#include <tavix/Tavix.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

namespace soak {

struct Settings {
    unsigned int cameras = 8;
    unsigned int frames = 250;   ///< of each camera
    unsigned int frameRate = 25; ///< frames a second of each camera; 0 for as fast as they are taken
    unsigned int width = 640;
    unsigned int height = 480;
    unsigned int buffers = 16;
};

/// What must add up at the end.
struct Counts {
    std::uint64_t images = 0;
    std::uint64_t failed = 0;        ///< buffers that came back with an error
    std::uint64_t lost = 0;          ///< gaps between the block ids
    std::uint64_t badChecksums = 0;  ///< images whose chunk data do not agree with them
    std::uint64_t badFrameIds = 0;   ///< images whose chunk "FrameID" is not that of their block
    std::uint64_t events = 0;        ///< callbacks of two events an image
    std::uint64_t lostEvents = 0;    ///< gaps between their frame ids
    std::uint64_t writes = 0;        ///< feature writes
    std::uint64_t badReads = 0;      ///< of these, not read back as written
    std::uint64_t totalBuffers = 0;  ///< as the stream itself counts them
    std::uint64_t failedBuffers = 0; ///< likewise
    std::uint64_t missedFrames = 0;  ///< likewise
    std::uint64_t resyncs = 0;       ///< likewise
    std::uint64_t totalEvents = 0;   ///< as the event stream itself counts them
    std::uint64_t failedEvents = 0;  ///< likewise

    Counts& operator+=(const Counts& other);
    /// All that was to come has come, nothing is wrong, and every counter agrees with its counterparts.
    bool AddUp(std::uint64_t expectedImages) const;
};

/// Prepared in the constructor and undone in the destructor. Start, Take and Finish belong to one thread, Write to
/// another one; Result is called while neither runs.
class SoakCamera {
public:
    /// Every second camera parses its chunks in a node map apart, the others in the camera's own.
    SoakCamera(std::shared_ptr<Tavix::ITavixDevice> device, const Settings& settings, bool ownChunkMap);
    ~SoakCamera();
    SoakCamera(const SoakCamera&) = delete;
    SoakCamera& operator=(const SoakCamera&) = delete;

    void Start();
    /// Takes what arrives within `timeoutMs`; false when nothing did.
    bool Take(unsigned int timeoutMs);
    void Write();
    /// Stops, takes what is under way and reads the counters of the streams.
    void Finish();
    /// Images so far, from any thread.
    std::uint64_t Images() const { return m_Images; }
    Counts Result() const;

private:
    void EnableChunks();
    void OpenEvents();
    void OpenStream(const Settings& settings);
    void TakeImages();
    void TakeEvents();
    void CheckImage(const Tavix::GrabResult& image);
    GenApi::INodeMap& Features() { return *m_Device->GetNodeMap(); }

    std::shared_ptr<Tavix::ITavixDevice> m_Device;
    Tavix::IStreamGrabber& m_Stream;
    Tavix::IEventGrabber* m_Events = nullptr;
    Tavix::IEventAdapter* m_Adapter = nullptr;
    Tavix::IChunkParser* m_Parser = nullptr;
    Tavix::ISelfReliantChunkParser* m_OwnParser = nullptr; // the same, when it has a node map apart
    GenApi::IInteger* m_ChunkFrameId = nullptr;
    std::vector<GenApi::CallbackHandleType> m_Callbacks;
    std::vector<std::vector<std::uint8_t>> m_Memory;
    std::vector<Tavix::StreamBufferHandle> m_Handles;
    Tavix::WaitObjects m_Any;
    std::uint64_t m_NextBlock = 0;
    std::uint64_t m_Writes = 0;
    std::uint64_t m_BadReads = 0;
    std::atomic<std::uint64_t> m_Images{0};
    Counts m_Counts;
};

} // namespace soak
