// Registers that say anything. It costs neither the program nor much time or memory, and once they are right again the
// camera is as good as ever.
#include "vexlo/XmlFile.h"
#include "vexlo/support/FakeClock.h"
#include "vexlo/support/StreamFixture.h"

#include <cstdlib>
#include <numeric>
#include <random>

#include <sys/resource.h>

namespace {

using namespace vexlotest;
using namespace std::chrono_literals;

constexpr int kBuffers = 4;
constexpr long kMostKilobytes = 256 * 1024;
constexpr std::size_t kMostQueued = 64 << 20;
constexpr std::uint32_t kLies[] = {0,          1,          3,          0x3FF,      0x401,     0x10000,
                                   0x3FFFFC00, 0x7FFFFFFF, 0x80000000, 0xFFFFFC00, 0xFFFFFFFF};

struct Lied {
    const char* name;
    std::uint64_t address;
    std::size_t size;
    std::size_t step = 4; ///< in the ordinary run
};
void PrintTo(const Lied& lied, std::ostream* out) {
    *out << lied.name;
}

/// The sanitizers keep what was freed: then it is nothing.
long PeakKilobytes() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    return 0;
#else
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
#endif
}

/// TAVIX_LENGTHY set: each word, and many numbers without a meaning.
bool IsLengthy() {
    return std::getenv("TAVIX_LENGTHY") != nullptr;
}

class LyingRegisters : public Stream, public testing::WithParamInterface<Lied> {
protected:
    LyingRegisters() {
        const Bytes text = Hex("3C612F3E");
        camera.Set(kFile, text);
        camera.Set64(kManifest, 1);
        camera.Set(kManifest + 8, Hex("01000001 00000101") + Little(kFile, 8) + Little(text.size(), 8) + Bytes(40));
        EXPECT_EQ(device->GetEventStream(&m_Events), VX_OK);
    }

    void Lie(std::uint64_t address, const Bytes& lie) {
        SCOPED_TRACE(testing::PrintToString(address) + ": " + testing::PrintToString(lie));
        const Camera::Memory truth = camera.Remember(); // a stream that is said to be elsewhere is programmed there
        camera.Set(address, lie);
        EXPECT_LT(m_Clock.Of([&] { UseCamera([&] { EXPECT_EQ(stream->CancelGrab(), VX_OK); }); }), 30s);
        camera.Restore(truth);
        bool isUsed = false;
        UseCamera([&] {
            ExpectGood(0);
            isUsed = true;
        });
        EXPECT_TRUE(isUsed);
        EXPECT_TRUE(GuardsAreWhole());
        EXPECT_LT(PeakKilobytes() - m_Peak, kMostKilobytes);
        m_Told += 1;
    }
    unsigned int Told() const { return m_Told; }

private:
    /// All that an application does with a camera, as far as it comes; `streaming` is called while a block comes.
    void UseCamera(const std::function<void()>& streaming) {
        if (Open() != VX_OK) return;
        CXmlFile file;
        const bool hasFile = device->ProvideXmlFile(file) == VX_OK;
        EXPECT_TRUE(!hasFile || file.GetBuffer() != nullptr);
        (void)m_Events->Open();
        if (stream->Open() == VX_OK && stream->PrepareGrab(kBuffers, kPayload) == VX_OK) Grab(streaming);
        EXPECT_EQ(device->Close(), VX_OK);
        camera.DropUnsent(kStreamIn);
    }
    void Grab(const std::function<void()>& streaming) {
        if (stream->StartStreaming() == VX_OK) {
            Queue(kBuffers);
            EXPECT_TRUE(camera.WaitFor([&] { return camera.Queued(kStreamIn) > 0; }));
            const auto lengths = camera.QueuedLengths(kStreamIn);
            EXPECT_LT(std::accumulate(lengths.begin(), lengths.end(), std::size_t{0}), kMostQueued);
            Send(Block(0));
            streaming();
        }
        EXPECT_EQ(stream->FinishGrab(), VX_OK);
        CVxStream::GrabResult result{};
        while (stream->RetrieveBuffer(&result, nullptr) == VX_OK) {
        }
        for (BufferHandle_s* const handle : handles)
            EXPECT_EQ(stream->DeregisterBuffer(handle, nullptr), VX_OK);
        EXPECT_TRUE(GuardsAreWhole());
        handles.clear();
        memory.clear();
        sizes.clear();
    }

    FakeClock m_Clock{camera};
    CVxEventStream* m_Events = nullptr;
    const long m_Peak = PeakKilobytes();
    unsigned int m_Told = 0;
};

TEST_P(LyingRegisters, CostNothingAndAreForgotten) {
    std::mt19937 random(static_cast<std::uint32_t>(GetParam().address));
    const std::size_t step = IsLengthy() ? 4 : GetParam().step;
    for (std::size_t word = 0; word < GetParam().size && !HasFailure(); word += step) {
        const std::uint64_t address = GetParam().address + word;
        for (const std::uint32_t lie : kLies) {
            Lie(address, Little(lie, 4));
            if (word + 8 <= GetParam().size) Lie(address, Little(lie, 4) + Little(lie, 4));
        }
        for (unsigned int i = 0; i < (IsLengthy() ? 200 : 2); ++i)
            Lie(address, Little(random() >> random() % 32, 4));
    }
    RecordProperty("lies", static_cast<int>(Told()));
    std::cout << Told() << " lies" << std::endl;
}

INSTANTIATE_TEST_SUITE_P(Of, LyingRegisters,
                         testing::Values(Lied{"Device", 0x1C4, 0x250 - 0x1C4}, Lied{"Texts", 0x0, 0x1C4, 64},
                                         Lied{"Technology", kSbrm, 0x44}, Lied{"Stream", kSirm, 0x30},
                                         Lied{"Events", kEirm, 0x0C}, Lied{"Manifest", kManifest, 72}),
                         [](const auto& instance) { return instance.param.name; });

} // namespace
