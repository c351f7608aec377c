// What cannot have a handle is given back whole.

#include "gentl/GenTL.h"
#include "gentl/Handles.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <vector>

namespace {

/// Takes all handles that are left, and gives back what it still has at its end.
class NoHandles {
public:
    NoHandles() {
        while (gentl::Guarded([this] { Take(); }) == GC_ERR_SUCCESS) {
        }
    }
    ~NoHandles() {
        while (!m_Taken.empty())
            GiveOneBack();
    }
    void GiveOneBack() {
        m_Taken.back()->End();
        m_Taken.pop_back();
    }

private:
    class Taken final : public gentl::Object {
    public:
        Taken() : Object(gentl::Kind::Event) {}
        void End() { Unregister(); }
    };
    void Take() {
        auto taken = std::make_shared<Taken>();
        taken->Register();
        m_Taken.push_back(std::move(taken));
    }
    std::vector<std::shared_ptr<Taken>> m_Taken;
};

/// The first camera that is found; closes what it opened.
class Exhaustion : public testing::Test {
protected:
    void SetUp() override {
        setenv("TAVIX_VIRTUAL_CAMERAS", "1", 1);
        ASSERT_EQ(GCInitLib(), GC_ERR_SUCCESS);
        TL_HANDLE system = nullptr;
        ASSERT_EQ(TLOpen(&system), GC_ERR_SUCCESS);
        ASSERT_EQ(TLUpdateInterfaceList(system, nullptr, 0), GC_ERR_SUCCESS);
        uint32_t count = 0, cameras = 0;
        ASSERT_EQ(TLGetNumInterfaces(system, &count), GC_ERR_SUCCESS);
        for (uint32_t i = 0; i < count && cameras == 0; ++i) {
            size_t size = sizeof m_Id;
            ASSERT_EQ(TLGetInterfaceID(system, i, m_Id, &size), GC_ERR_SUCCESS);
            ASSERT_EQ(TLOpenInterface(system, m_Id, &m_Interface), GC_ERR_SUCCESS);
            ASSERT_EQ(IFUpdateDeviceList(m_Interface, nullptr, 0), GC_ERR_SUCCESS);
            ASSERT_EQ(IFGetNumDevices(m_Interface, &cameras), GC_ERR_SUCCESS);
        }
        size_t size = sizeof m_Id;
        ASSERT_EQ(IFGetDeviceID(m_Interface, 0, m_Id, &size), GC_ERR_SUCCESS);
    }
    void TearDown() override {
        EXPECT_EQ(GCCloseLib(), GC_ERR_SUCCESS);
        unsetenv("TAVIX_VIRTUAL_CAMERAS");
    }
    GC_ERROR OpenDevice() { return IFOpenDevice(m_Interface, m_Id, DEVICE_ACCESS_EXCLUSIVE, &m_Device); }
    GC_ERROR OpenStream() { return DevOpenDataStream(m_Device, "Stream0", &m_Stream); }
    GC_ERROR RegisterEvent(EVENTSRC_HANDLE source, EVENT_TYPE type) {
        EVENT_HANDLE event = nullptr;
        return GCRegisterEvent(source, type, &event);
    }

    char m_Id[256] = "";
    IF_HANDLE m_Interface = nullptr;
    DEV_HANDLE m_Device = nullptr;
    DS_HANDLE m_Stream = nullptr;
};

TEST_F(Exhaustion, OfHandlesLeavesNothingHalfOpen) {
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "a million objects take sanitizers minutes";
#endif
    NoHandles handles;
    EXPECT_EQ(OpenDevice(), GC_ERR_RESOURCE_EXHAUSTED);
    handles.GiveOneBack();
    EXPECT_EQ(OpenDevice(), GC_ERR_RESOURCE_EXHAUSTED) << "its port has a handle, too";
    handles.GiveOneBack();
    ASSERT_EQ(OpenDevice(), GC_ERR_SUCCESS);

    EXPECT_EQ(RegisterEvent(m_Device, EVENT_REMOTE_DEVICE), GC_ERR_RESOURCE_EXHAUSTED);
    handles.GiveOneBack();
    EXPECT_EQ(RegisterEvent(m_Device, EVENT_REMOTE_DEVICE), GC_ERR_SUCCESS);

    EXPECT_EQ(OpenStream(), GC_ERR_RESOURCE_EXHAUSTED);
    handles.GiveOneBack();
    ASSERT_EQ(OpenStream(), GC_ERR_SUCCESS);

    BUFFER_HANDLE buffer = nullptr;
    EXPECT_EQ(DSAnnounceBuffer(m_Stream, m_Id, sizeof m_Id, nullptr, &buffer), GC_ERR_RESOURCE_EXHAUSTED);
    handles.GiveOneBack();
    EXPECT_EQ(DSAnnounceBuffer(m_Stream, m_Id, sizeof m_Id, nullptr, &buffer), GC_ERR_SUCCESS);
    EXPECT_EQ(RegisterEvent(m_Stream, EVENT_NEW_BUFFER), GC_ERR_RESOURCE_EXHAUSTED);
    handles.GiveOneBack();
    EXPECT_EQ(RegisterEvent(m_Stream, EVENT_NEW_BUFFER), GC_ERR_SUCCESS);
}

} // namespace
