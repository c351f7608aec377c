// A camera that goes away: what its modules tell, whoever waits, and what is left.
#include "gentl-consumer/support/Description.h"

#include <gtest/gtest.h>

#include <future>

namespace {

using namespace consumer;

constexpr std::int32_t kNoAccess = 3; // of DEVICE_ACCESS_STATUS

/// What an event brought to somebody who waited for it.
struct Notice {
    GC_ERROR code = GC_ERR_ERROR;
    Answer id, value;
};

/// Somebody who waits already.
std::future<Notice> Await(Session& session, EVENTSRC_HANDLE source, std::int32_t type) {
    const EVENT_HANDLE event = session.Register(source, type);
    std::promise<void> ready;
    const auto isReady = ready.get_future();
    auto waiter = std::async(std::launch::async, [&session, event, ready = std::move(ready)]() mutable {
        Notice notice;
        std::uint8_t data[2048];
        std::size_t size = sizeof data;
        ready.set_value();
        notice.code = session->EventGetData(event, data, &size, 60000);
        const auto info = [&](Command what) {
            return Ask([&](INFO_DATATYPE* kind, void* room, std::size_t* length) {
                return session->EventGetDataInfo(event, data, size, what, kind, room, length);
            });
        };
        notice.id = info(EVENT_DATA_ID);
        notice.value = info(EVENT_DATA_VALUE);
        return notice;
    });
    isReady.wait();
    return waiter;
}

void ExpectInvalid(std::future<Notice>& waiter, const char* feature) {
    const Notice notice = waiter.get();
    EXPECT_EQ(notice.code, GC_ERR_SUCCESS) << feature;
    EXPECT_EQ(notice.id.Text(), feature);
    EXPECT_EQ(notice.value.code, GC_ERR_NOT_AVAILABLE) << "it has a name only";
}

void PullThePlug(Session& session) {
    std::uint32_t value = 0;
    std::size_t size = sizeof value;
    EXPECT_NE(session->GCReadPort(session.Remote(), kSelfTest, &value, &size), GC_ERR_SUCCESS);
}

TEST(Notice, OfAFeatureThatIsInvalidReachesWhoeverWaits) {
    Session session;
    auto started = Await(session, session.Stream(), EVENT_FEATURE_INVALIDATE);
    session.Announce(1);
    session.QueueAll();
    session.Start();
    ExpectInvalid(started, "StreamIsGrabbing");
}

TEST(Notice, OfAnErrorReachesWhoeverWaits) {
    Session session(Session::SmallCamera(kUnpluggable));
    session.Announce(1);
    session.QueueAll();
    session.Start();
    auto ofDevice = Await(session, session.Device(), EVENT_ERROR);
    auto ofStream = Await(session, session.Stream(), EVENT_ERROR);
    PullThePlug(session);
    for (auto* waiter : {&ofDevice, &ofStream}) {
        const Notice notice = waiter->get();
        EXPECT_EQ(notice.code, GC_ERR_SUCCESS);
        EXPECT_EQ(notice.id.type, kInt32);
        EXPECT_EQ(static_cast<std::int32_t>(notice.id.Number()), GC_ERR_IO);
        EXPECT_EQ(notice.value.Text(), "the camera was unplugged");
    }
}

TEST(Unplug, MakesFeaturesOfItsModulesInvalid) {
    Session session(Session::SmallCamera(kUnpluggable));
    auto ofDevice = Await(session, session.Device(), EVENT_FEATURE_INVALIDATE);
    auto ofInterface = Await(session, session.Interface(), EVENT_FEATURE_INVALIDATE);
    PullThePlug(session);
    ExpectInvalid(ofDevice, "DeviceAccessStatus");
    ExpectInvalid(ofInterface, "DeviceSelector");
    std::int32_t status = 0;
    std::size_t size = sizeof status;
    ASSERT_EQ(session->IFGetDeviceInfo(session.Interface(), session.DeviceId().c_str(), DEVICE_INFO_ACCESS_STATUS,
                                       nullptr, &status, &size),
              GC_ERR_SUCCESS);
    EXPECT_EQ(status, kNoAccess);
}

TEST(Unplug, IsToldByAnEventOfTheDevice) {
    Session session(Session::SmallCamera(kUnpluggable));
    const EVENT_HANDLE event = session.Register(session.Device(), EVENT_MODULE);
    PullThePlug(session);
    std::uint8_t data[2048];
    std::size_t size = sizeof data;
    ASSERT_EQ(session->EventGetData(event, data, &size, 10000), GC_ERR_SUCCESS);
    const Answer id = Ask([&](INFO_DATATYPE* type, void* room, std::size_t* length) {
        return session->EventGetDataInfo(event, data, size, EVENT_DATA_ID, type, room, length);
    });
    const Answer bytes = Ask([&](INFO_DATATYPE* type, void* room, std::size_t* length) {
        return session->EventGetDataInfo(event, data, size, EVENT_DATA_VALUE, type, room, length);
    });
    Module device(session, session.Device());
    GenApi::CEventAdapterGeneric adapter(device.Nodes()._Ptr);
    adapter.DeliverMessage(bytes.bytes.data(), static_cast<std::uint32_t>(bytes.bytes.size()), id.Text().c_str());
    ASSERT_NE(device.Find("EventDeviceLost"), nullptr);
    EXPECT_EQ(device.Integer("EventDeviceLost"), static_cast<std::int64_t>(std::stoull(id.Text(), nullptr, 16)));
}

TEST(Unplug, LeavesErrorsAndNoWaiter) {
    Session session(Session::SmallCamera(kUnpluggable));
    session.Announce(3);
    session.QueueAll();
    session.Start();
    ASSERT_NE(session.Next(), nullptr);
    PullThePlug(session);
    std::uint32_t value = 0;
    std::size_t size = sizeof value;
    EXPECT_NE(session->GCReadPort(session.Remote(), kWidth, &value, &size), GC_ERR_SUCCESS);
    (void)session->DSStopAcquisition(session.Stream(), ACQ_STOP_KILL);
    EXPECT_EQ(session->DSFlushQueue(session.Stream(), ACQ_QUEUE_ALL_DISCARD), GC_ERR_SUCCESS);
    session.CloseStream();
    session.CloseDevice();
    // The system lists it until it has noticed.
    bool8_t changed = 0, hasChanged = 0;
    std::uint32_t count = 7;
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (count != 0 && std::chrono::steady_clock::now() < end) {
        ASSERT_EQ(session->IFUpdateDeviceList(session.Interface(), &changed, 1000), GC_ERR_SUCCESS);
        hasChanged |= changed;
        ASSERT_EQ(session->IFGetNumDevices(session.Interface(), &count), GC_ERR_SUCCESS);
    }
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(hasChanged, 1);
}

TEST(Unplug, LeavesThePortItsName) {
    Session session(Session::SmallCamera(kUnpluggable));
    PullThePlug(session);
    const auto info = [&](Command what) {
        return Ask([&](INFO_DATATYPE* type, void* room, std::size_t* size) {
            return session->GCGetPortInfo(session.Remote(), what, type, room, size);
        });
    };
    EXPECT_EQ(info(PORT_INFO_PORTNAME).Text(), "Device");
    EXPECT_EQ(info(PORT_INFO_ID).Text(), session.DeviceId());
    EXPECT_FALSE(info(PORT_INFO_VERSION).Ok()) << "the camera itself tells it";
}

TEST(Unplug, OfACameraThatComesBackLetsItBeOpenedAgain) {
    Session session(Session::SmallCamera(kReturning));
    PullThePlug(session);
    const std::string id = session.DeviceId();
    session.CloseDevice();
    const IF_HANDLE interface = session.Interface();
    // The system may list it until it has noticed that it went, so being listed does not say that it is back.
    EXPECT_TRUE(Eventually([&] {
        (void)session->IFUpdateDeviceList(interface, nullptr, 100);
        return session.CanBeOpened(id);
    }));
    EXPECT_EQ(session.Read32(kWidth), 64u);
    EXPECT_EQ(session.DeviceId(), id) << "it is the same one";
}

} // namespace
