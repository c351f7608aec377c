#pragma once
// The producer's inside on a virtual camera.

#include "gentl/GenTL.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace inside {

/// The first camera that is found; closes what it opened.
class OnFirstCamera : public testing::Test {
protected:
    void SetUp() override {
        setenv("TAVIX_VIRTUAL_CAMERAS", Cameras(), 1);
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
    /// As TAVIX_VIRTUAL_CAMERAS has it.
    virtual const char* Cameras() const { return "1"; }
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

} // namespace inside
