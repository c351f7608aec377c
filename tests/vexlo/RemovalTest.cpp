#include "vexlo/support/Fixture.h"

#include <condition_variable>
#include <mutex>
#include <stdexcept>
#include <thread>

namespace {

using namespace vexlotest;
using namespace scripted;

/// What handlers tell the test.
class Log {
public:
    void Note(const VxCallbackData* data) {
        const std::lock_guard<std::mutex> lock(m_Mutex);
        m_Calls.push_back(*data);
        m_Changed.notify_all();
    }
    bool WaitForCalls(std::size_t count) {
        std::unique_lock<std::mutex> lock(m_Mutex);
        return m_Changed.wait_for(lock, std::chrono::seconds(20), [&] { return m_Calls.size() >= count; });
    }
    std::vector<VxCallbackData> Calls() {
        const std::lock_guard<std::mutex> lock(m_Mutex);
        return m_Calls;
    }

private:
    std::mutex m_Mutex;
    std::condition_variable m_Changed;
    std::vector<VxCallbackData> m_Calls;
};

/// Something that one thread opens and another passes.
class Gate {
public:
    void Open() {
        const std::lock_guard<std::mutex> lock(m_Mutex);
        m_Open = true;
        m_Changed.notify_all();
    }
    bool Pass() {
        std::unique_lock<std::mutex> lock(m_Mutex);
        return m_Changed.wait_for(lock, std::chrono::seconds(20), [&] { return m_Open; });
    }

private:
    std::mutex m_Mutex;
    std::condition_variable m_Changed;
    bool m_Open = false;
};

void NoteCall(const VxCallbackData* data) {
    static_cast<Log*>(data->Context)->Note(data);
}

class Removal : public OnScriptedCamera {
protected:
    unsigned long Register(unsigned int kind, void* context, VxCallbackHandler handler) {
        const VxCallbackParams params{kind, context, device, handler};
        unsigned long handle = 0;
        EXPECT_EQ(VxRegisterCallback(&params, &handle), VX_OK);
        return handle;
    }
    /// A register read, which finds the camera gone.
    void Touch() {
        std::uint32_t value = 0;
        unsigned long count = 4;
        EXPECT_EQ(device->ReadMem(&value, 0, &count), VX_E_USB_NO_DEVICE);
    }
    Log log;
};

TEST_F(Removal, IsReportedByTheBusAsKindEleven) {
    ASSERT_EQ(Open(), VX_OK);
    Register(11, &log, NoteCall);
    Register(12, &log, NoteCall);
    camera.Unplug(/*announce=*/true);
    ASSERT_TRUE(log.WaitForCalls(1));
    EXPECT_EQ(log.Calls()[0].Kind, 11u);
    EXPECT_EQ(log.Calls()[0].Device, device);
    EXPECT_EQ(log.Calls()[0].Context, &log);
}

TEST_F(Removal, IsReportedByATransferAsKindTwelve) {
    ASSERT_EQ(Open(), VX_OK);
    Register(11, &log, NoteCall);
    Register(12, &log, NoteCall);
    camera.Unplug(/*announce=*/false);
    Touch();
    ASSERT_TRUE(log.WaitForCalls(1));
    EXPECT_EQ(log.Calls()[0].Kind, 12u);
}

TEST_F(Removal, IsNotTakenFromALateNoticeOfTheCameraBefore) {
    ASSERT_EQ(Open(), VX_OK);
    Register(11, &log, NoteCall);
    Register(12, &log, NoteCall);
    camera.AnnounceRemoval();
    ASSERT_TRUE(camera.WaitFor([&] { return camera.AskedWhetherAttached() == 1; }));
    camera.Unplug(/*announce=*/false);
    Touch();
    ASSERT_TRUE(log.WaitForCalls(1));
    EXPECT_EQ(log.Calls()[0].Kind, 12u) << "notices are delivered in their order";
    camera.AnnounceRemoval();
    ASSERT_TRUE(log.WaitForCalls(2));
    EXPECT_EQ(log.Calls()[1].Kind, 11u);
}

TEST_F(Removal, IsReportedOnceToEachRegistration) {
    ASSERT_EQ(Open(), VX_OK);
    Register(11, &log, NoteCall);
    Register(12, &log, NoteCall);
    camera.Unplug(/*announce=*/true);
    Touch();
    Touch();
    ASSERT_TRUE(log.WaitForCalls(2));
    EXPECT_EQ(device->Close(), VX_OK);
    Exit(); // ends the notifier, so nothing can follow
    EXPECT_EQ(log.Calls().size(), 2u);
    EXPECT_EQ(Init(), VX_OK);
}

TEST_F(Removal, IsReportedToThoseWhoRegisterLater) {
    ASSERT_EQ(Open(), VX_OK);
    camera.Unplug(/*announce=*/false);
    Touch();
    Register(12, &log, NoteCall);
    EXPECT_TRUE(log.WaitForCalls(1));
}

TEST_F(Removal, IsNotReportedAfterDeregistration) {
    ASSERT_EQ(Open(), VX_OK);
    const unsigned long handle = Register(11, &log, NoteCall);
    Log other;
    Register(11, &other, NoteCall);
    EXPECT_EQ(VxDeregisterCallback(handle), VX_OK);
    EXPECT_EQ(VxDeregisterCallback(handle), VX_E_NOT_FOUND);
    camera.Unplug(/*announce=*/true);
    ASSERT_TRUE(other.WaitForCalls(1));
    EXPECT_TRUE(log.Calls().empty());
}

TEST_F(Removal, NeedsAnOpenDeviceAndAKnownKind) {
    VxCallbackParams params{11, &log, device, NoteCall};
    unsigned long handle = 0;
    EXPECT_EQ(VxRegisterCallback(&params, &handle), VX_E_NOT_OPEN);
    ASSERT_EQ(Open(), VX_OK);
    params.Kind = 13;
    EXPECT_EQ(VxRegisterCallback(&params, &handle), VX_E_INVALID_PARAMETER);
    params.Kind = 11;
    params.Handler = nullptr;
    EXPECT_EQ(VxRegisterCallback(&params, &handle), VX_E_INVALID_PARAMETER);
    EXPECT_EQ(VxRegisterCallback(nullptr, &handle), VX_E_INVALID_PARAMETER);
    EXPECT_EQ(VxDeregisterCallback(4711), VX_E_NOT_FOUND);
}

TEST_F(Removal, LetsTheHandlerCloseTheDevice) {
    ASSERT_EQ(Open(), VX_OK);
    CVxStream* stream = nullptr;
    ASSERT_EQ(device->GetStream(&stream), VX_OK);
    ASSERT_EQ(stream->Open(), VX_OK);
    struct Context {
        Log log;
    } context;
    Register(11, &context, [](const VxCallbackData* data) {
        EXPECT_EQ(data->Device->Close(), VX_OK);
        static_cast<Context*>(data->Context)->log.Note(data);
    });
    camera.Unplug(/*announce=*/true);
    ASSERT_TRUE(context.log.WaitForCalls(1));
    EXPECT_FALSE(device->IsOpen());
}

struct Running {
    Gate entered;
    Gate mayReturn;
    std::atomic<bool> returned{false};
    unsigned long handle = 0;
    VxStatus deregistered = VX_E_FAILED;
    bool deregisters = false;
};

void RunUntilReleased(const VxCallbackData* data) {
    auto& running = *static_cast<Running*>(data->Context);
    if (running.deregisters) running.deregistered = VxDeregisterCallback(running.handle);
    running.entered.Open();
    running.mayReturn.Pass();
    running.returned = true;
}

TEST_F(Removal, MakesDeregistrationWaitForARunningHandler) {
    ASSERT_EQ(Open(), VX_OK);
    Running running;
    running.handle = Register(11, &running, RunUntilReleased);
    camera.Unplug(/*announce=*/true);
    ASSERT_TRUE(running.entered.Pass());
    bool returnedBefore = false;
    std::thread other([&] {
        EXPECT_EQ(VxDeregisterCallback(running.handle), VX_OK);
        returnedBefore = running.returned;
    });
    running.mayReturn.Open();
    other.join();
    EXPECT_TRUE(returnedBefore);
}

TEST_F(Removal, MakesNobodyWaitForAHandlerThatDeregisteredItself) {
    ASSERT_EQ(Open(), VX_OK);
    Running running;
    running.deregisters = true;
    running.handle = Register(11, &running, RunUntilReleased);
    camera.Unplug(/*announce=*/true);
    ASSERT_TRUE(running.entered.Pass());
    EXPECT_EQ(running.deregistered, VX_OK);
    EXPECT_EQ(VxDeregisterCallback(running.handle), VX_E_NOT_FOUND);
    EXPECT_FALSE(running.returned) << "the answer came while the handler still runs";
    running.mayReturn.Open();
    EXPECT_TRUE(camera.WaitFor([&] { return running.returned.load(); })) << "the handler uses what this test owns";
}

/// The application holds something that the handler waits for, and ends the library.
TEST_F(Removal, MakesTheEndOfTheLibraryWaitForNoHandler) {
    ASSERT_EQ(Open(), VX_OK);
    Running running;
    Register(11, &running, RunUntilReleased);
    camera.Unplug(/*announce=*/true);
    ASSERT_TRUE(running.entered.Pass());
    EXPECT_EQ(device->Close(), VX_OK);
    Exit();
    EXPECT_FALSE(running.returned);
    running.mayReturn.Open();
    EXPECT_TRUE(camera.WaitFor([&] { return running.returned.load(); })) << "the handler uses what this test owns";
    EXPECT_EQ(Init(), VX_OK);
}

TEST_F(Removal, LetsTheHandlerEndTheLibraryAndBeginAnew) {
    ASSERT_EQ(Open(), VX_OK);
    Register(11, &log, [](const VxCallbackData* data) {
        EXPECT_EQ(data->Device->Close(), VX_OK);
        Exit();
        EXPECT_EQ(Init(), VX_OK);
        Collector collector;
        EXPECT_EQ(CEnumerator::Discover(&collector), VX_OK);
        static_cast<Log*>(data->Context)->Note(data);
    });
    camera.Unplug(/*announce=*/true);
    ASSERT_TRUE(log.WaitForCalls(1));
    camera.Replug();
    ASSERT_EQ(Open(), VX_OK);
    Log after;
    Register(11, &after, NoteCall);
    camera.Unplug(/*announce=*/true);
    EXPECT_TRUE(after.WaitForCalls(1));
}

TEST_F(Removal, IsReportedToTheOthersWhenAHandlerThrows) {
    ASSERT_EQ(Open(), VX_OK);
    Register(11, nullptr, [](const VxCallbackData*) { throw std::runtime_error("thrown by a handler"); });
    Register(11, nullptr, [](const VxCallbackData*) { throw 4711; });
    Register(11, &log, NoteCall);
    camera.Unplug(/*announce=*/true);
    EXPECT_TRUE(log.WaitForCalls(1));
}

TEST_F(Removal, LeavesTheHandleClosedWhenCloseReturns) {
    // The notifier, which has a share of what is open, asks until the camera is being closed.
    camera.OnAttachedQuestion([this] { EXPECT_TRUE(camera.WaitFor([this] { return !device->IsOpen(); })); });
    for (unsigned int i = 1; i <= 20; ++i) {
        ASSERT_EQ(Open(), VX_OK);
        camera.AnnounceRemoval();
        ASSERT_TRUE(camera.WaitFor([&] { return camera.AskedWhetherAttached() == i; }));
        EXPECT_EQ(device->Close(), VX_OK);
        ASSERT_EQ(camera.OpenHandles(), 0) << i;
    }
}

} // namespace
