#pragma once
// A consumer's way from the library to a camera's stream, for tests.

#include "gentl/support/Producer.h"

#include <gtest/gtest.h>

#include <deque>
#include <memory>

#include <cstdlib>

namespace consumer {

/// Virtual cameras for the whole program, before the producer looks for the first time; unless the machine has a real
/// one that is to be used.
inline void UseVirtualCameras() {
    if (!::getenv("TAVIX_GENTL_REAL_CAMERA")) ::setenv("TAVIX_VIRTUAL_CAMERAS", TAVIX_GENTL_CAMERAS, 1);
}

/// System, interface, device and stream of the first camera; closes what it opened. Bound to a thread.
class Session : public ::testing::Test {
protected:
    Session() : gc(TAVIX_GENTL_PRODUCER) {}

    void SetUp() override {
        ASSERT_EQ(gc.GCInitLib(), GC_ERR_SUCCESS);
        ASSERT_EQ(gc.TLOpen(&tl), GC_ERR_SUCCESS);
        ASSERT_EQ(gc.TLUpdateInterfaceList(tl, nullptr, 100), GC_ERR_SUCCESS);
        ASSERT_NO_FATAL_FAILURE(OpenInterface());
    }

    void TearDown() override { EXPECT_EQ(gc.GCCloseLib(), GC_ERR_SUCCESS); }

    void OpenInterface() {
        uint32_t count = 0;
        ASSERT_EQ(gc.TLGetNumInterfaces(tl, &count), GC_ERR_SUCCESS);
        for (uint32_t i = 0; i < count; ++i) {
            interfaceId = TextOf([&](char* text, size_t* size) { return gc.TLGetInterfaceID(tl, i, text, size); });
            ASSERT_EQ(gc.TLOpenInterface(tl, interfaceId.c_str(), &interface), GC_ERR_SUCCESS);
            ASSERT_EQ(gc.IFUpdateDeviceList(interface, nullptr, 100), GC_ERR_SUCCESS);
            uint32_t devices = 0;
            ASSERT_EQ(gc.IFGetNumDevices(interface, &devices), GC_ERR_SUCCESS);
            if (devices != 0) {
                deviceId = TextOf([&](char* text, size_t* size) { return gc.IFGetDeviceID(interface, 0, text, size); });
                return;
            }
            ASSERT_EQ(gc.IFClose(interface), GC_ERR_SUCCESS);
        }
        FAIL() << "no interface has a camera";
    }

    /// Another one than the first.
    void SelectDevice(const std::string& serial) {
        uint32_t devices = 0;
        ASSERT_EQ(gc.IFGetNumDevices(interface, &devices), GC_ERR_SUCCESS);
        for (uint32_t i = 0; i < devices; ++i) {
            deviceId = TextOf([&](char* text, size_t* size) { return gc.IFGetDeviceID(interface, i, text, size); });
            const std::string found = TextOf([&](char* text, size_t* size) {
                return gc.IFGetDeviceInfo(interface, deviceId.c_str(), DEVICE_INFO_SERIAL_NUMBER, nullptr, text, size);
            });
            if (found == serial) return;
        }
        FAIL() << "no camera has the serial number " << serial;
    }

    void OpenDevice() {
        ASSERT_EQ(gc.IFOpenDevice(interface, deviceId.c_str(), DEVICE_ACCESS_EXCLUSIVE, &device), GC_ERR_SUCCESS);
        ASSERT_EQ(gc.DevGetPort(device, &port), GC_ERR_SUCCESS);
    }

    void OpenStream() {
        ASSERT_NO_FATAL_FAILURE(OpenDevice());
        const std::string id =
            TextOf([&](char* text, size_t* size) { return gc.DevGetDataStreamID(device, 0, text, size); });
        ASSERT_EQ(gc.DevOpenDataStream(device, id.c_str(), &stream), GC_ERR_SUCCESS);
    }

    template<class T>
    T StreamNumber(STREAM_INFO_CMD command) {
        return NumberOf<T>(
            [&](void* value, size_t* size) { return gc.DSGetInfo(stream, command, nullptr, value, size); });
    }

    template<class T>
    T BufferNumber(BUFFER_HANDLE buffer, BUFFER_INFO_CMD command) {
        return NumberOf<T>([&](void* value, size_t* size) {
            return gc.DSGetBufferInfo(stream, buffer, command, nullptr, value, size);
        });
    }

    std::string LastText() {
        GC_ERROR code = 0;
        return TextOf([&](char* text, size_t* size) { return gc.GCGetLastError(&code, text, size); });
    }

    Producer gc;
    TL_HANDLE tl = nullptr;
    IF_HANDLE interface = nullptr;
    DEV_HANDLE device = nullptr;
    PORT_HANDLE port = nullptr;
    DS_HANDLE stream = nullptr;
    std::string interfaceId;
    std::string deviceId;
};

} // namespace consumer
