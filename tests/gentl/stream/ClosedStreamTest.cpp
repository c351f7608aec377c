// A call that was under way when its stream was closed must leave the next one alone, which has the same camera's.

#include "gentl/module/Device.h"
#include "gentl/stream/Stream.h"
#include "gentl/support/FirstCamera.h"

#include <functional>
#include <thread>
#include <vector>

namespace {

using gentl::Stream;

constexpr std::size_t kBufferSize = std::size_t{64} * 64;

class ClosedStream : public inside::OnFirstCamera {
protected:
    const char* Cameras() const override {
        return R"({"cameras": [{"sensorWidth": 64, "sensorHeight": 64, "frameRate": 1000}]})";
    }
    void SetUp() override {
        OnFirstCamera::SetUp();
        ASSERT_EQ(OpenDevice(), GC_ERR_SUCCESS);
        ASSERT_EQ(DevGetPort(m_Device, &port), GC_ERR_SUCCESS);
        ASSERT_EQ(OpenStream(), GC_ERR_SUCCESS);
        under = gentl::Held<Stream>(m_Stream).Share();
    }
    void TearDown() override {
        under.reset();
        OnFirstCamera::TearDown();
    }

    void CloseAndOpenTheNext() {
        ASSERT_EQ(DSClose(m_Stream), GC_ERR_SUCCESS);
        ASSERT_EQ(OpenStream(), GC_ERR_SUCCESS);
        ASSERT_EQ(GCRegisterEvent(m_Stream, EVENT_NEW_BUFFER, &event), GC_ERR_SUCCESS);
        memory.resize(4 * kBufferSize);
        for (std::size_t i = 0; i < 4; ++i) {
            BUFFER_HANDLE buffer = nullptr;
            ASSERT_EQ(DSAnnounceBuffer(m_Stream, &memory[i * kBufferSize], kBufferSize, nullptr, &buffer),
                      GC_ERR_SUCCESS);
            ASSERT_EQ(DSQueueBuffer(m_Stream, buffer), GC_ERR_SUCCESS);
        }
        ASSERT_EQ(DSStartAcquisition(m_Stream, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE), GC_ERR_SUCCESS);
        constexpr std::uint64_t acquisitionStart = 0x102004;
        const std::uint32_t one = 1;
        std::size_t size = sizeof one;
        ASSERT_EQ(GCWritePort(port, acquisitionStart, &one, &size), GC_ERR_SUCCESS);
    }

    /// The next one brings its images, although each time one waits to be taken there is that call.
    void BringsImagesDuring(const std::function<void()>& call) {
        for (std::uint64_t taken = 0; taken < 20; ++taken) {
            while (CountCompleted() <= taken) // all buffers may have come already, and no more come then
                std::this_thread::yield();
            ASSERT_NO_FATAL_FAILURE(call());
            EVENT_NEW_BUFFER_DATA data{};
            std::size_t size = sizeof data;
            ASSERT_EQ(EventGetData(event, &data, &size, 10000), GC_ERR_SUCCESS);
            ASSERT_EQ(DSQueueBuffer(m_Stream, data.BufferHandle), GC_ERR_SUCCESS);
        }
    }
    std::uint64_t CountCompleted() const {
        vexlo::CVxStream* own = nullptr;
        std::uint64_t count = 0;
        EXPECT_EQ(under->Parent()->Vx().GetStream(&own), vexlo::VX_OK);
        EXPECT_EQ(own->GetProperty(vexlo::CVxStream::Property_TotalBufferCount, &count, sizeof count), vexlo::VX_OK);
        return count;
    }
    static GC_ERROR CodeOf(const std::function<void()>& call) { return gentl::Guarded(call); }

    PORT_HANDLE port = nullptr;
    EVENT_HANDLE event = nullptr;
    std::shared_ptr<Stream> under; // as a call has it that is under way
    std::vector<std::uint8_t> memory;
};

TEST_F(ClosedStream, TakesNoImagesOfTheNextOne) {
    ASSERT_NO_FATAL_FAILURE(CloseAndOpenTheNext());
    BringsImagesDuring([&] {
        bool isLast = false;
        ASSERT_EQ(under->Engine().TakeOutput(isLast).BufferHandle, nullptr);
        ASSERT_EQ(under->Engine().Look().filled, 0u);
    });
}

TEST_F(ClosedStream, NeitherStartsNorStopsTheNextOne) {
    ASSERT_NO_FATAL_FAILURE(CloseAndOpenTheNext());
    BringsImagesDuring([&] {
        ASSERT_EQ(CodeOf([&] { under->Start(GENTL_INFINITE); }), GC_ERR_INVALID_HANDLE);
        ASSERT_EQ(CodeOf([&] { under->Stop(); }), GC_ERR_INVALID_HANDLE);
        ASSERT_EQ(CodeOf([&] { under->Engine().Flush(ACQ_QUEUE_ALL_DISCARD); }), GC_ERR_INVALID_HANDLE);
        ASSERT_EQ(under->Engine().Look().isRunning, 0u);
    });
}

TEST_F(ClosedStream, TakesNoBuffersAndSettingsAnyMore) {
    ASSERT_EQ(DSClose(m_Stream), GC_ERR_SUCCESS);
    std::uint8_t byte = 0;
    EXPECT_EQ(CodeOf([&] { (void)under->Announce(&byte, 1, nullptr); }), GC_ERR_INVALID_HANDLE);
    EXPECT_EQ(CodeOf([&] { (void)under->Allocate(1, nullptr); }), GC_ERR_INVALID_HANDLE);
    EXPECT_EQ(CodeOf([&] { under->Engine().SetHandling(gentl::Handling::NewestOnly); }), GC_ERR_INVALID_HANDLE);
    EXPECT_EQ(under->Engine().Look().announced, 0u);
}

TEST_F(ClosedStream, LeavesTheNextOneItsSettings) {
    gentl::Port& registers = *under->GetPort();
    const gentl::Port::Url url = registers.Urls().front();
    std::string text(url.size, '\0');
    std::size_t size = text.size();
    registers.Read(url.address, text.data(), size);
    const std::string before = "<Address>";
    const std::size_t node = text.find("Name=\"StreamQueuedTransferCount_Value\"");
    const std::uint64_t address = std::stoull(text.substr(text.find(before, node) + before.size()), nullptr, 16);
    const std::uint64_t count = 7;
    EXPECT_EQ(CodeOf([&] { registers.Write(address, &count, size = sizeof count); }), GC_ERR_SUCCESS);
    ASSERT_EQ(DSClose(m_Stream), GC_ERR_SUCCESS);
    ASSERT_EQ(OpenStream(), GC_ERR_SUCCESS);
    EXPECT_EQ(CodeOf([&] { registers.Write(address, &count, size = sizeof count); }), GC_ERR_INVALID_HANDLE);
}

TEST_F(ClosedStream, LeavesTheNextOneItsWakeUpsAndItsStreamWhenItIsClosedOnceMore) {
    ASSERT_NO_FATAL_FAILURE(CloseAndOpenTheNext());
    BringsImagesDuring([&] {
        under->Engine().SetListener({});
        {
            const Tavix::MutexLock tree(gentl::TreeMutex());
            under->Leave();
        }
        under->End();
    });
}

} // namespace
