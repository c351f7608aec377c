#pragma once
// A consumer with the camera's stream open and its images awaited, for tests.

#include "gentl/support/RemoteFeatures.h"
#include "gentl/support/Session.h"

#include <vector>

namespace consumer {

/// Bound to a thread, but for Next and Queue.
class StreamSession : public Session {
protected:
    void SetUp() override {
        Session::SetUp();
        ASSERT_NO_FATAL_FAILURE(BeginStream());
    }
    void BeginStream() {
        ASSERT_NO_FATAL_FAILURE(OpenStream());
        features = std::make_unique<Features>(gc, port);
        Integer("AcquisitionFrameRateEnable", 0);
        ASSERT_EQ(gc.GCRegisterEvent(stream, EVENT_NEW_BUFFER, &event), GC_ERR_SUCCESS);
    }
    void TearDown() override {
        features.reset();
        Session::TearDown();
    }

    void Integer(const char* name, int64_t value) {
        GenApi::CValuePtr node(features->map._GetNode(name));
        if (GenApi::IsWritable(node)) node->FromString(std::to_string(value).c_str());
    }
    int64_t Integer(const char* name) { return GenApi::CIntegerPtr(features->map._GetNode(name))->GetValue(); }
    void Execute(const char* name) { GenApi::CCommandPtr(features->map._GetNode(name))->Execute(); }

    void Announce(size_t count) {
        const auto size = static_cast<size_t>(Integer("PayloadSize"));
        for (size_t i = 0; i < count; ++i) {
            memory.emplace_back(size + 1);
            BUFFER_HANDLE handle = nullptr;
            // Not aligned, as some consumers have it.
            ASSERT_EQ(gc.DSAnnounceBuffer(stream, memory.back().data() + 1, size, &memory.back(), &handle),
                      GC_ERR_SUCCESS);
            buffers.push_back(handle);
            ASSERT_EQ(gc.DSQueueBuffer(stream, handle), GC_ERR_SUCCESS);
        }
    }

    void Start(uint64_t count = GENTL_INFINITE) {
        Integer("TLParamsLocked", 1);
        ASSERT_EQ(gc.DSStartAcquisition(stream, ACQ_START_FLAGS_DEFAULT, count), GC_ERR_SUCCESS) << LastText();
        Execute("AcquisitionStart");
    }
    void Stop() {
        Execute("AcquisitionStop");
        ASSERT_EQ(gc.DSStopAcquisition(stream, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS) << LastText();
        Integer("TLParamsLocked", 0);
    }

    GC_ERROR Next(EVENT_NEW_BUFFER_DATA& data, uint64_t timeout = 5000) {
        size_t size = sizeof data;
        return gc.EventGetData(event, &data, &size, timeout);
    }

    template<class T>
    T EventNumber(EVENT_HANDLE of, EVENT_INFO_CMD command) {
        return NumberOf<T>(
            [&](void* value, size_t* size) { return gc.EventGetInfo(of, command, nullptr, value, size); });
    }
    GC_ERROR Queue(const EVENT_NEW_BUFFER_DATA& data) { return gc.DSQueueBuffer(stream, data.BufferHandle); }

    std::unique_ptr<Features> features;
    EVENT_HANDLE event = nullptr;
    std::deque<std::vector<uint8_t>> memory;
    std::vector<BUFFER_HANDLE> buffers;
};

} // namespace consumer
