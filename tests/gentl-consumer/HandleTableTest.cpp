// Every function with every handle that is not its own.
#include "gentl-consumer/support/Calls.h"

#include <gtest/gtest.h>

#include <map>
#include <set>

namespace {

using namespace consumer;

/// Handles of all kinds, alive.
struct Handles {
    explicit Handles(Session& session)
        : all{{Kind::System, session.System()}, {Kind::Interface, session.Interface()},
              {Kind::Device, session.Device()}, {Kind::Stream, session.Stream()},
              {Kind::Port, session.Remote()},   {Kind::Event, session.NewBuffers()}},
          buffer(session.Announce(1).front()) {
        things.buffer = buffer;
        things.interfaceId = session.InterfaceId();
        things.deviceId = session.DeviceId();
        things.streamId = session.StreamId();
    }
    std::map<Kind, void*> all;
    BUFFER_HANDLE buffer;
    Things things;
};

/// Whether a live handle of one kind does for a function that wants another.
bool Fits(Kind wanted, Kind is) {
    if (wanted == Kind::Port) return is != Kind::Event;
    if (wanted == Kind::Source) return is != Kind::Event && is != Kind::Port;
    return wanted == is;
}

TEST(ConsumerTable, HasEveryFunctionThatTakesAHandle) {
    std::set<std::string> wanted, had;
#define CONSUMER_NAME(name, parameters) wanted.insert(#name);
    CONSUMER_FUNCTIONS(CONSUMER_NAME)
#undef CONSUMER_NAME
    for (const char* without : {"GCInitLib", "GCCloseLib", "GCGetInfo", "GCGetLastError", "TLOpen"})
        wanted.erase(without);
    for (const Call& call : AllCalls())
        had.insert(call.name);
    EXPECT_EQ(had, wanted);
}

void ExpectNotInitialized(Library& library, void* handle) {
    for (const Call& call : AllCalls())
        EXPECT_EQ(call.run(library, handle, {}), GC_ERR_NOT_INITIALIZED) << call.name;
    TL_HANDLE system = nullptr;
    EXPECT_EQ(library.TLOpen(&system), GC_ERR_NOT_INITIALIZED);
    EXPECT_EQ(library.GCCloseLib(), GC_ERR_NOT_INITIALIZED);
}

TEST(ConsumerTable, BeforeInitNothingIsInitialized) {
    Library library;
    ExpectNotInitialized(library, nullptr);
    ExpectNotInitialized(library, &library);
}

TEST(ConsumerTable, AfterCloseNothingIsInitialized) {
    Session session;
    const Handles handles(session);
    ASSERT_EQ(session->GCCloseLib(), GC_ERR_SUCCESS);
    for (const auto& [kind, handle] : handles.all)
        ExpectNotInitialized(session.Lib(), handle);
}

TEST(ConsumerTable, NoHandleAndForeignOnesAreInvalid) {
    Session session;
    const Handles handles(session);
    for (void* handle : {static_cast<void*>(nullptr), static_cast<void*>(&session), reinterpret_cast<void*>(1),
                         reinterpret_cast<void*>(~std::uintptr_t{0})})
        for (const Call& call : AllCalls())
            EXPECT_EQ(call.run(session.Lib(), handle, handles.things), GC_ERR_INVALID_HANDLE)
                << call.name << " " << handle;
}

TEST(ConsumerTable, HandlesOfAnotherKindAreInvalid) {
    Session session;
    const Handles handles(session);
    for (const Call& call : AllCalls()) {
        for (const auto& [kind, handle] : handles.all)
            if (!Fits(call.kind, kind)) {
                EXPECT_EQ(call.run(session.Lib(), handle, handles.things), GC_ERR_INVALID_HANDLE)
                    << call.name << " with kind " << static_cast<int>(kind);
            }
        if (call.kind != Kind::Port && call.kind != Kind::Source) {
            EXPECT_EQ(call.run(session.Lib(), handles.buffer, handles.things), GC_ERR_INVALID_HANDLE) << call.name;
        }
    }
    EXPECT_EQ(session.Read32(kWidth), 64u) << "nothing of it did any harm";
    EXPECT_EQ(session.StreamInfo(STREAM_INFO_NUM_ANNOUNCED).Number(), 1u);
}

TEST(ConsumerTable, ClosedHandlesAreInvalid) {
    Session session;
    const Handles handles(session);
    ASSERT_EQ(session->TLClose(session.System()), GC_ERR_SUCCESS);
    for (const Call& call : AllCalls())
        for (const auto& [kind, handle] : handles.all)
            EXPECT_EQ(call.run(session.Lib(), handle, handles.things), GC_ERR_INVALID_HANDLE)
                << call.name << " with kind " << static_cast<int>(kind);
}

TEST(ConsumerTable, BuffersThatAreNoneAreInvalid) {
    Session session;
    const Handles handles(session);
    const BUFFER_HANDLE revoked = handles.buffer;
    ASSERT_EQ(session->DSRevokeBuffer(session.Stream(), revoked, nullptr, nullptr), GC_ERR_SUCCESS);
    const std::set<std::string> about = {"DSQueueBuffer",        "DSGetBufferInfo",     "DSGetBufferInfoStacked",
                                         "DSGetBufferChunkData", "DSGetNumBufferParts", "DSGetBufferPartInfo",
                                         "DSRevokeBuffer"};
    for (BUFFER_HANDLE buffer : {static_cast<void*>(nullptr), revoked, session.Stream(), reinterpret_cast<void*>(1)})
        for (const Call& call : AllCalls()) {
            if (about.count(call.name) == 0) continue;
            Things things = handles.things;
            things.buffer = buffer;
            const GC_ERROR code = call.run(session.Lib(), session.Stream(), things);
            EXPECT_TRUE(code == GC_ERR_INVALID_HANDLE || code == GC_ERR_INVALID_BUFFER) << call.name << ": " << code;
        }
}

} // namespace
