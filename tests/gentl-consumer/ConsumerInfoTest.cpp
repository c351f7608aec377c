// Every query of every module: type, value, and the two steps of asking.
#include "gentl-consumer/support/Session.h"

#include <gtest/gtest.h>

#include <functional>

namespace {

using namespace consumer;
using Query = std::function<GC_ERROR(Command, INFO_DATATYPE*, void*, std::size_t*)>;

std::size_t SizeOf(INFO_DATATYPE type) {
    switch (type) {
    case kInt32:
    case kUInt32:
        return 4;
    case kUInt64:
    case kPtr:
    case kSizeT:
        return 8;
    case kBool8:
        return 1;
    default:
        return 0; // a text, or bytes
    }
}

/// The rules that hold for each query, whatever it is about.
void ExpectPattern(const Query& query, Command command, INFO_DATATYPE type) {
    SCOPED_TRACE("command " + std::to_string(command));
    INFO_DATATYPE told = -1;
    std::size_t size = 0;
    ASSERT_EQ(query(command, &told, nullptr, &size), GC_ERR_SUCCESS);
    EXPECT_EQ(told, type) << "type of the question for the size";
    EXPECT_TRUE(SizeOf(type) == 0 || size == SizeOf(type)) << size;
    ASSERT_GT(size, 0u);
    const std::size_t needed = size;

    std::vector<std::uint8_t> room(needed + 16, 0xAB);
    told = -1;
    EXPECT_EQ(query(command, &told, room.data(), &size), GC_ERR_SUCCESS);
    EXPECT_EQ(told, type);
    EXPECT_EQ(size, needed);
    EXPECT_EQ(room[needed], 0xAB) << "writes behind its size";
    EXPECT_TRUE(type != kString || room[needed - 1] == 0) << "a text is closed by NUL, which counts";

    size = room.size();
    EXPECT_EQ(query(command, &told, room.data(), &size), GC_ERR_SUCCESS);
    EXPECT_EQ(size, needed) << "says what it used of larger room";

    size = needed - 1;
    std::vector<std::uint8_t> small(needed + 16, 0xAB);
    EXPECT_EQ(query(command, &told, small.data(), &size), GC_ERR_BUFFER_TOO_SMALL);
    EXPECT_EQ(small[needed - 1], 0xAB) << "writes behind too small room";

    size = room.size();
    EXPECT_EQ(query(command, nullptr, room.data(), &size), GC_ERR_SUCCESS) << "the type may be null";
    EXPECT_EQ(query(command, &told, room.data(), nullptr), GC_ERR_INVALID_PARAMETER) << "the size may not";
    EXPECT_EQ(query(command, &told, nullptr, nullptr), GC_ERR_INVALID_PARAMETER);
}

void ExpectUnknown(const Query& query) {
    for (const Command command : {-1, 500, 999, 1000000}) {
        SCOPED_TRACE("command " + std::to_string(command));
        INFO_DATATYPE type = -1;
        std::uint8_t room[64];
        std::size_t size = sizeof room;
        EXPECT_EQ(query(command, &type, room, &size), GC_ERR_NOT_IMPLEMENTED);
        EXPECT_EQ(query(command, &type, nullptr, &size), GC_ERR_NOT_IMPLEMENTED);
    }
}

Answer AskOf(const Query& query, Command command) {
    return Ask([&](INFO_DATATYPE* type, void* room, std::size_t* size) { return query(command, type, room, size); });
}

TEST(LibraryInfo, IsGivenBeforeInit) {
    const Library library;
    const Query query = library.GCGetInfo;
    for (const Command text :
         {TL_INFO_ID, TL_INFO_VENDOR, TL_INFO_MODEL, TL_INFO_VERSION, TL_INFO_TLTYPE, TL_INFO_NAME})
        ExpectPattern(query, text, kString);
    for (const Command text : {TL_INFO_PATHNAME, TL_INFO_DISPLAYNAME})
        ExpectPattern(query, text, kString);
    ExpectPattern(query, TL_INFO_CHAR_ENCODING, kInt32);
    ExpectPattern(query, TL_INFO_GENTL_VER_MAJOR, kUInt32);
    ExpectPattern(query, TL_INFO_GENTL_VER_MINOR, kUInt32);
    ExpectUnknown(query);
    EXPECT_EQ(AskOf(query, TL_INFO_GENTL_VER_MAJOR).Number(), 1u);
    EXPECT_EQ(AskOf(query, TL_INFO_GENTL_VER_MINOR).Number(), 6u);
}

TEST(LibraryInfo, NamesFilePathAndTechnology) {
    const Library library;
    const std::string name = AskOf(library.GCGetInfo, TL_INFO_NAME).Text();
    const std::string path = AskOf(library.GCGetInfo, TL_INFO_PATHNAME).Text();
    EXPECT_EQ(name, Library::Path().substr(Library::Path().rfind('/') + 1));
    EXPECT_NE(path.find(name), std::string::npos) << path;
    const std::string type = AskOf(library.GCGetInfo, TL_INFO_TLTYPE).Text();
    EXPECT_EQ(type, "U3V");
}

TEST(SystemInfo, HasAllEntriesAndThoseOfTheLibrary) {
    Session session;
    const TL_HANDLE system = session.System();
    const Query query = [&](Command command, INFO_DATATYPE* type, void* room, std::size_t* size) {
        return session->TLGetInfo(system, command, type, room, size);
    };
    for (Command text = TL_INFO_ID; text <= TL_INFO_DISPLAYNAME; ++text) {
        ExpectPattern(query, text, kString);
        EXPECT_EQ(AskOf(query, text).Text(), AskOf(session->GCGetInfo, text).Text()) << text;
    }
    ExpectPattern(query, TL_INFO_CHAR_ENCODING, kInt32);
    EXPECT_LE(AskOf(query, TL_INFO_CHAR_ENCODING).Number(), 1u);
    ExpectPattern(query, TL_INFO_GENTL_VER_MAJOR, kUInt32);
    ExpectPattern(query, TL_INFO_GENTL_VER_MINOR, kUInt32);
    ExpectUnknown(query);
}

TEST(InterfaceInfo, IsTheSameFromSystemAndInterface) {
    Session session;
    const IF_HANDLE interface = session.Interface();
    const Query above = [&](Command command, INFO_DATATYPE* type, void* room, std::size_t* size) {
        return session->TLGetInterfaceInfo(session.System(), session.InterfaceId().c_str(), command, type, room, size);
    };
    const Query below = [&](Command command, INFO_DATATYPE* type, void* room, std::size_t* size) {
        return session->IFGetInfo(interface, command, type, room, size);
    };
    for (const Query& query : {above, below}) {
        for (const Command text : {INTERFACE_INFO_ID, INTERFACE_INFO_DISPLAYNAME, INTERFACE_INFO_TLTYPE})
            ExpectPattern(query, text, kString);
        ExpectUnknown(query);
        EXPECT_EQ(AskOf(query, INTERFACE_INFO_ID).Text(), session.InterfaceId());
        EXPECT_EQ(AskOf(query, INTERFACE_INFO_TLTYPE).Text(), "U3V");
        EXPECT_NE(AskOf(query, INTERFACE_INFO_DISPLAYNAME).Text(), "");
    }
}

class ConsumerDeviceInfo : public testing::Test {
protected:
    Session m_Session{
        Session::SmallCamera(R"("userName": "left", "vendor": "Maker", "model": "VC-X", "guid": "1209000000B7",
                                "deviceVersion": "7.31")")};
    std::string m_Id = [this] {
        const IF_HANDLE interface = m_Session.Interface();
        return AskText([&](char* id, std::size_t* size) { return m_Session->IFGetDeviceID(interface, 0, id, size); })
            .Text();
    }();
    const Query m_Above = [this](Command command, INFO_DATATYPE* type, void* room, std::size_t* size) {
        return m_Session->IFGetDeviceInfo(m_Session.Interface(), m_Id.c_str(), command, type, room, size);
    };
    const Query m_Below = [this](Command command, INFO_DATATYPE* type, void* room, std::size_t* size) {
        return m_Session->DevGetInfo(m_Session.Device(), command, type, room, size);
    };

    static void ExpectAll(const Query& query) {
        for (const Command text : {DEVICE_INFO_ID, DEVICE_INFO_VENDOR, DEVICE_INFO_MODEL, DEVICE_INFO_TLTYPE,
                                   DEVICE_INFO_DISPLAYNAME, DEVICE_INFO_USER_DEFINED_NAME, DEVICE_INFO_SERIAL_NUMBER})
            ExpectPattern(query, text, kString);
        ExpectPattern(query, DEVICE_INFO_ACCESS_STATUS, kInt32);
        ExpectPattern(query, DEVICE_INFO_TIMESTAMP_FREQUENCY, kUInt64);
        ExpectUnknown(query);
        EXPECT_EQ(AskOf(query, DEVICE_INFO_VENDOR).Text(), "Maker");
        EXPECT_EQ(AskOf(query, DEVICE_INFO_MODEL).Text(), "VC-X");
        EXPECT_EQ(AskOf(query, DEVICE_INFO_TLTYPE).Text(), "U3V");
        EXPECT_EQ(AskOf(query, DEVICE_INFO_USER_DEFINED_NAME).Text(), "left");
        EXPECT_EQ(AskOf(query, DEVICE_INFO_SERIAL_NUMBER).Text().front(), 'C');
        EXPECT_EQ(AskOf(query, DEVICE_INFO_TIMESTAMP_FREQUENCY).Number(), 1000000000u);
    }
};

TEST_F(ConsumerDeviceInfo, NeedsNoOpenDevice) {
    ExpectAll(m_Above);
    ExpectPattern(m_Above, DEVICE_INFO_VERSION, kString);
    EXPECT_EQ(AskOf(m_Above, DEVICE_INFO_VERSION).Text(), "7.31");
    EXPECT_EQ(AskOf(m_Above, DEVICE_INFO_ID).Text(), m_Id);
    EXPECT_EQ(AskOf(m_Above, DEVICE_INFO_ACCESS_STATUS).Number(), unsigned{DEVICE_ACCESS_STATUS_READWRITE});
}

TEST_F(ConsumerDeviceInfo, OfTheOpenDeviceIsTheSame) {
    ExpectAll(m_Below);
    ExpectPattern(m_Below, DEVICE_INFO_VERSION, kString);
    EXPECT_EQ(AskOf(m_Below, DEVICE_INFO_VERSION).Text(), "7.31");
    EXPECT_EQ(AskOf(m_Above, DEVICE_INFO_VERSION).Text(), "7.31");
    EXPECT_EQ(AskOf(m_Below, DEVICE_INFO_ID).Text(), m_Id);
}

TEST_F(ConsumerDeviceInfo, SaysThatThisProcessHasItOpen) {
    m_Session.Device();
    EXPECT_EQ(AskOf(m_Below, DEVICE_INFO_ACCESS_STATUS).Number(), unsigned{DEVICE_ACCESS_STATUS_OPEN_READWRITE});
    EXPECT_EQ(AskOf(m_Above, DEVICE_INFO_ACCESS_STATUS).Number(), unsigned{DEVICE_ACCESS_STATUS_OPEN_READWRITE});
    m_Session.CloseDevice();
    EXPECT_EQ(AskOf(m_Above, DEVICE_INFO_ACCESS_STATUS).Number(), unsigned{DEVICE_ACCESS_STATUS_READWRITE});
}

/// The camera refuses to say its version a second time.
TEST(ConsumerDeviceVersion, OfAClosedCameraIsAskedForOnce) {
    Session session(Session::SmallCamera(
        R"("deviceVersion": "7.31",
           "faults": {"control": [{"fault": "Status", "address": 196, "value": 32775, "skip": 1, "count": 0}]})"));
    const IF_HANDLE interface = session.Interface();
    const Answer id =
        AskText([&](char* text, std::size_t* size) { return session->IFGetDeviceID(interface, 0, text, size); });
    for (int round = 0; round < 3; ++round) {
        const Answer version = Ask([&](INFO_DATATYPE* type, void* room, std::size_t* size) {
            return session->IFGetDeviceInfo(interface, id.Text().c_str(), DEVICE_INFO_VERSION, type, room, size);
        });
        EXPECT_EQ(version.code, GC_ERR_SUCCESS) << "round " << round;
        EXPECT_EQ(version.Text(), "7.31") << "round " << round;
    }
}

TEST(StreamInfo, HasAllEntriesOfAnIdleStream) {
    Session session;
    const DS_HANDLE stream = session.Stream();
    const Query query = [&](Command command, INFO_DATATYPE* type, void* room, std::size_t* size) {
        return session->DSGetInfo(stream, command, type, room, size);
    };
    for (const Command text : {STREAM_INFO_ID, STREAM_INFO_TLTYPE})
        ExpectPattern(query, text, kString);
    for (const Command number : {STREAM_INFO_NUM_DELIVERED, STREAM_INFO_NUM_UNDERRUN, STREAM_INFO_NUM_STARTED})
        ExpectPattern(query, number, kUInt64);
    for (const Command size : {STREAM_INFO_NUM_ANNOUNCED, STREAM_INFO_NUM_QUEUED, STREAM_INFO_NUM_AWAIT_DELIVERY,
                               STREAM_INFO_NUM_CHUNKS_MAX, STREAM_INFO_BUF_ANNOUNCE_MIN, STREAM_INFO_BUF_ALIGNMENT})
        ExpectPattern(query, size, kSizeT);
    for (const Command yesNo : {STREAM_INFO_IS_GRABBING, STREAM_INFO_DEFINES_PAYLOADSIZE})
        ExpectPattern(query, yesNo, kBool8);
    ExpectUnknown(query);
    EXPECT_EQ(AskOf(query, STREAM_INFO_ID).Text(), session.StreamId());
    EXPECT_EQ(AskOf(query, STREAM_INFO_TLTYPE).Text(), "U3V");
    EXPECT_EQ(AskOf(query, STREAM_INFO_IS_GRABBING).Number(), 0u);
    EXPECT_EQ(AskOf(query, STREAM_INFO_NUM_ANNOUNCED).Number(), 0u);
    EXPECT_GE(AskOf(query, STREAM_INFO_BUF_ANNOUNCE_MIN).Number(), 1u);
    EXPECT_GE(AskOf(query, STREAM_INFO_BUF_ALIGNMENT).Number(), 1u);
    EXPECT_EQ(session.PayloadSize(), 64u * 64u);
}

TEST(StreamInfo, AnswersWhatItDoesNotHaveAsSuch) {
    Session session;
    for (const Command unusual : {STREAM_INFO_FLOW_TABLE, STREAM_INFO_GENDC_PREFETCH_DESCRIPTOR}) {
        const GC_ERROR code = session.StreamInfo(unusual).code;
        EXPECT_TRUE(code == GC_ERR_NOT_IMPLEMENTED || code == GC_ERR_NOT_AVAILABLE) << unusual << ": " << code;
    }
}

TEST(BufferInfo, OfABufferThatWasNeverFilledIsComplete) {
    Session session;
    const BUFFER_HANDLE buffer = session.Announce(1).front();
    const Query query = [&](Command command, INFO_DATATYPE* type, void* room, std::size_t* size) {
        return session->DSGetBufferInfo(session.Stream(), buffer, command, type, room, size);
    };
    for (const Command pointer : {BUFFER_INFO_BASE, BUFFER_INFO_USER_PTR})
        ExpectPattern(query, pointer, kPtr);
    for (const Command size : {BUFFER_INFO_SIZE, BUFFER_INFO_SIZE_FILLED})
        ExpectPattern(query, size, kSizeT);
    for (const Command yesNo : {BUFFER_INFO_NEW_DATA, BUFFER_INFO_IS_QUEUED, BUFFER_INFO_IS_ACQUIRING})
        ExpectPattern(query, yesNo, kBool8);
    ExpectPattern(query, BUFFER_INFO_TLTYPE, kString);
    ExpectUnknown(query);
    EXPECT_EQ(AskOf(query, BUFFER_INFO_USER_PTR).Number(), 1u);
    EXPECT_EQ(AskOf(query, BUFFER_INFO_SIZE).Number(), session.PayloadSize());
    EXPECT_EQ(AskOf(query, BUFFER_INFO_SIZE_FILLED).Number(), 0u);
    EXPECT_EQ(AskOf(query, BUFFER_INFO_NEW_DATA).Number(), 0u);
    EXPECT_EQ(AskOf(query, BUFFER_INFO_IS_QUEUED).Number(), 0u);
}

TEST(EventInfo, HasAllEntries) {
    Session session;
    const EVENT_HANDLE event = session.NewBuffers();
    const Query query = [&](Command command, INFO_DATATYPE* type, void* room, std::size_t* size) {
        return session->EventGetInfo(event, command, type, room, size);
    };
    ExpectPattern(query, EVENT_TYPE_INFO, kInt32);
    ExpectPattern(query, EVENT_NUM_IN_QUEUE, kSizeT);
    ExpectPattern(query, EVENT_NUM_FIRED, kUInt64);
    ExpectPattern(query, EVENT_SIZE_MAX, kSizeT);
    ExpectPattern(query, EVENT_INFO_DATA_SIZE_MAX, kSizeT);
    ExpectUnknown(query);
    EXPECT_EQ(AskOf(query, EVENT_TYPE_INFO).Number(), unsigned{EVENT_NEW_BUFFER});
    EXPECT_EQ(AskOf(query, EVENT_NUM_IN_QUEUE).Number(), 0u);
    EXPECT_GE(AskOf(query, EVENT_SIZE_MAX).Number(), sizeof(EVENT_NEW_BUFFER_DATA));
}

} // namespace
