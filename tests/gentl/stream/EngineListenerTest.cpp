// Who listens to an engine comes and goes while others are at its queues.

#include "gentl/module/Device.h"
#include "gentl/stream/AcquisitionEngine.h"
#include "gentl/support/FirstCamera.h"

#include <future>
#include <thread>
#include <vector>

namespace {

constexpr std::size_t kImageSize = std::size_t{64} * 64;

/// Told with the queues locked when the engine has what was asked for.
class BusyObserver final : public gentl::AcquisitionObserver {
public:
    gentl::AcquisitionEngine* engine = nullptr; // asked about only once it is there
    bool hasChanged = false;

    void NoteGrabbing() noexcept override {
        if (!engine) return;
        m_Change = std::async(std::launch::async, [this] { engine->SetListener({}); });
        hasChanged = m_Change.wait_for(std::chrono::seconds(20)) == std::future_status::ready;
    }
    void NoteEnd(vexlo::VxStatus) noexcept override {}

private:
    std::future<void> m_Change; // one that had to wait is over when the queues are free again
};

class EngineListener : public inside::OnFirstCamera {
protected:
    const char* Cameras() const override {
        return R"({"cameras": [{"sensorWidth": 64, "sensorHeight": 64, "frameRate": 1000}]})";
    }
    void StartCamera() {
        PORT_HANDLE port = nullptr;
        ASSERT_EQ(DevGetPort(m_Device, &port), GC_ERR_SUCCESS);
        constexpr std::uint64_t acquisitionStart = 0x102004;
        const std::uint32_t one = 1;
        std::size_t size = sizeof one;
        ASSERT_EQ(GCWritePort(port, acquisitionStart, &one, &size), GC_ERR_SUCCESS);
    }
};

TEST_F(EngineListener, IsChangedWhileBuffersAreCalledOff) {
    ASSERT_EQ(OpenDevice(), GC_ERR_SUCCESS);
    vexlo::CVxStream* stream = nullptr;
    ASSERT_EQ(gentl::Held<gentl::Device>(m_Device)->Vx().GetStream(&stream), vexlo::VX_OK);
    ASSERT_EQ(stream->Open(), vexlo::VX_OK);
    std::vector<std::uint8_t> memory(kImageSize);
    BusyObserver observer;
    {
        gentl::AcquisitionEngine engine(*stream, observer);
        const auto buffer = std::make_shared<gentl::Buffer>(nullptr, memory.data(), memory.size(), nullptr);
        engine.Announce(buffer);
        engine.Queue(*buffer);
        engine.Start(1);
        observer.engine = &engine;
        ASSERT_NO_FATAL_FAILURE(StartCamera());
        for (bool isLast = false; !engine.TakeOutput(isLast).BufferHandle;)
            std::this_thread::yield();
        EXPECT_TRUE(observer.hasChanged);
        observer.engine = nullptr;
        (void)engine.Close();
    }
    EXPECT_EQ(stream->Close(), vexlo::VX_OK);
}

} // namespace
