#include "Error.h"
#include "grabs/GrabRun.h"
#include "line/Commands.h"
#include "output/Json.h"
#include "output/Text.h"
#include "output/Values.h"

namespace tool {
namespace {

const char* CheckText(ChunkCheck check) {
    switch (check) {
    case ChunkCheck::Right:
        return "right";
    case ChunkCheck::Wrong:
        return "wrong";
    case ChunkCheck::Missing:
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
    void OnReady(Camera& camera) override {
        GenApi::NodeList_t nodes;
        camera.Features().GetNodes(nodes);
        for (GenApi::INode* node : nodes) {
            auto* value = dynamic_cast<GenApi::IValue*>(node);
            const bool isNamed = value && node->IsFeature() && Text(node->GetName()).rfind("Chunk", 0) == 0;
            if (isNamed && !dynamic_cast<GenApi::ICategory*>(node) && !GenApi::IsReadable(value->GetAccessMode())) {
                m_Silent.push_back(value); // what can be read without an image tells nothing of it
            }
        }
    }

    void OnFrame(const Tavix::GrabResult& result, ChunkCheck check) override {
        std::vector<NamedValue> values;
        for (GenApi::IValue* value : m_Silent) {
            if (GenApi::IsReadable(value->GetAccessMode())) values.push_back(ReadValue(*value->GetNode()));
        }
        if (check == ChunkCheck::Wrong || check == ChunkCheck::Damaged) ++m_Damaged;
        Print(result.GetBlockID(), values, CheckText(check));
    }

    void OnEnd(Camera&) override { m_Silent.clear(); }

    void Print(std::uint64_t block, const std::vector<NamedValue>& values, const char* check) const {
        if (m_AsJson) {
            PrintJsonLine({{"block", block}, {"checksum", check}, {"chunks", ValuesJson(values)}});
        } else {
            PrintLineNow("block " + std::to_string(block) + ": " + ValuesText(values) + ", checksum " + check);
        }
    }

    const bool m_AsJson;
    std::vector<GenApi::IValue*> m_Silent; // cannot be read while no buffer is attached
    std::uint64_t m_Damaged = 0;
};

} // namespace

int Chunks(const GrabOptions& options) {
    ChunkPrinter printer(options.json);
    GrabOptions grab = options;
    grab.checkChunks = true;
    GrabSession session(ChooseCamera(options), grab, &printer);
    RunSession(session);
    if (printer.DamagedFrames() > 0) {
        throw Error(session.Name() + ": the chunk data of " + std::to_string(printer.DamagedFrames()) +
                        " frames is not right; check cable and hub, `tavix doctor` helps",
                    kPartly);
    }
    ThrowIfFramesAreLost(session);
    return kDone;
}

} // namespace tool
