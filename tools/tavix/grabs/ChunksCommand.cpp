#include "Error.h"
#include "cameras/CameraChoice.h"
#include "grabs/RunGrabs.h"
#include "line/Commands.h"
#include "output/Json.h"
#include "output/Text.h"
#include "output/Values.h"

namespace tool {
namespace {

const char* CheckText(Tavix::Checksum check) {
    switch (check) {
    case Tavix::Checksum::Right:
        return "right";
    case Tavix::Checksum::Wrong:
        return "wrong";
    case Tavix::Checksum::None:
        return "missing";
    default:
        return "damaged";
    }
}

/// Prints the chunks of each frame. Bound to a thread.
class ChunkPrinter final : public FrameObserver {
public:
    explicit ChunkPrinter(bool asJson) : m_AsJson(asJson) {}
    std::uint64_t DamagedFrames() const { return m_Damaged; }

private:
    void OnReady(Tavix::Camera&) override {}
    void OnImage(const Tavix::Image& image) override {
        const Tavix::Checksum check = image.ChunkChecksum();
        if (check == Tavix::Checksum::Wrong || check == Tavix::Checksum::Damaged) ++m_Damaged;
        Values values;
        for (const std::string& name : image.ChunkNames())
            values.emplace(name, image.Chunk(name));
        Print(image.BlockId(), values, CheckText(check));
    }
    void OnEnd() override {}

    void Print(std::uint64_t block, const Values& values, const char* check) const {
        if (m_AsJson) {
            PrintJsonLine({{"block", block}, {"checksum", check}, {"chunks", ValuesJson(values)}});
        } else {
            PrintLineNow("block " + std::to_string(block) + ": " + ValuesText(values) + ", checksum " + check);
        }
    }

    const bool m_AsJson;
    std::uint64_t m_Damaged = 0;
};

} // namespace

int Chunks(const GrabOptions& options) {
    ChunkPrinter printer(options.json);
    GrabOptions checked = options;
    checked.checkChunks = true;
    CameraGrab grab(ChooseCamera(options), checked, &printer);
    RunGrab(grab);
    if (printer.DamagedFrames() > 0) {
        throw Error(grab.Name() + ": the chunk data of " + std::to_string(printer.DamagedFrames()) +
                        " frames is not right; check cable and hub, `tavix doctor` helps",
                    kPartly);
    }
    ThrowIfFramesAreLost(grab);
    return kDone;
}

} // namespace tool
