#pragma once
// Grabbing from one camera.

#include "Camera.h"
#include "ImageWriter.h"
#include "Options.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace tool {

/// What came of a grab. Written by the grabbing thread.
struct GrabFigures {
    std::atomic<std::uint64_t> good{0};        ///< frames grabbed without error
    std::atomic<std::uint64_t> failed{0};      ///< buffers that came back with an error
    std::atomic<std::uint64_t> missed{0};      ///< frames that the block ids say never came
    std::atomic<std::uint64_t> bytes{0};       ///< payload of the good frames
    std::atomic<std::uint64_t> checked{0};     ///< frames whose chunk checksum was right
    std::atomic<std::uint64_t> checkFailed{0}; ///< frames whose chunk checksum was wrong
    double seconds = 0;                        ///< from the first to the last result; valid after the grab
    std::string firstError;                    ///< of the first failed buffer; valid after the grab
};

/// One camera, its buffers and its grab loop. Set-up and tear-down happen in Run, so that an object of this class needs
/// nothing but the camera's info. Run is bound to a thread; Figures, Name and Stop are thread-safe.
class GrabSession {
public:
    GrabSession(const Tavix::CDeviceInfo& info, const GrabOptions& options);

    /// Grabs until the asked number of frames came, Stop was called, or nothing came for the timeout (Error).
    void Run();
    void Stop() { m_Stop = true; }
    const GrabFigures& Figures() const { return m_Figures; }
    const std::string& Name() const { return m_Name; }

private:
    struct Slot {
        std::vector<std::uint8_t> memory;
        Tavix::StreamBufferHandle handle = nullptr;
    };

    void Prepare(Camera& camera);
    void Loop(Camera& camera);
    void Handle(const Tavix::GrabResult& result);
    void CheckChunks(const Tavix::GrabResult& result);
    void Save(const Tavix::GrabResult& result);
    void Requeue(Slot& slot);
    void Finish(Camera& camera);
    bool WantsMore() const;

    const Tavix::CDeviceInfo m_Info;
    const GrabOptions m_Options;
    const std::string m_Name;
    const std::string m_FilePrefix;
    GrabFigures m_Figures;
    std::atomic<bool> m_Stop{false};

    // Valid inside Run only.
    Tavix::IStreamGrabber* m_Grabber = nullptr;
    Tavix::IChunkParser* m_Parser = nullptr;
    std::vector<std::unique_ptr<Slot>> m_Slots;
    std::unique_ptr<ImageWriter> m_Writer;
    std::uint64_t m_LastBlockId = ~std::uint64_t(0);
    std::chrono::steady_clock::time_point m_First, m_Last;
};

} // namespace tool
