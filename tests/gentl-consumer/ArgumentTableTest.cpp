// Every function with arguments that are missing or that nobody knows.
#include "gentl-consumer/support/Session.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <set>
#include <string>

namespace {

using namespace consumer;

class Arguments : public testing::Test {
protected:
    void ExpectAll(GC_ERROR wanted, const std::vector<std::pair<const char*, GC_ERROR>>& calls) {
        for (const auto& [name, code] : calls) {
            EXPECT_EQ(code, wanted) << name;
            m_Tested.insert(std::string(name, std::strcspn(name, " ")));
        }
    }
    void TryPortsAndEvents();
    void TryModules();
    void TryStreams();
    void TryBuffers();

    Session m_Session;
    Library& m_Lib = m_Session.Lib();
    const DS_HANDLE m_Stream = m_Session.Stream();
    const DEV_HANDLE m_Device = m_Session.Device();
    const IF_HANDLE m_Interface = m_Session.Interface();
    const TL_HANDLE m_System = m_Session.System();
    const BUFFER_HANDLE m_Buffer = m_Session.Announce(1).front();
    const EVENT_HANDLE m_Event = m_Session.NewBuffers();
    std::size_t m_Size = 64;
    char m_Room[64] = {};
    void* m_Handle = nullptr;
    GC_ERROR m_Code = 0;
    std::set<std::string> m_Tested;
};

void Arguments::TryPortsAndEvents() {
    PORT_REGISTER_STACK_ENTRY entry{kWidth, m_Room, 4};
    ExpectAll(GC_ERR_INVALID_PARAMETER,
              {{"GCGetInfo", m_Lib.GCGetInfo(TL_INFO_ID, nullptr, m_Room, nullptr)},
               {"GCGetLastError code", m_Lib.GCGetLastError(nullptr, m_Room, &m_Size)},
               {"GCGetLastError size", m_Lib.GCGetLastError(&m_Code, m_Room, nullptr)},
               {"GCReadPort room", m_Lib.GCReadPort(m_Device, 0, nullptr, &(m_Size = 4))},
               {"GCReadPort size", m_Lib.GCReadPort(m_Device, 0, m_Room, nullptr)},
               {"GCWritePort data", m_Lib.GCWritePort(m_Device, 0, nullptr, &(m_Size = 4))},
               {"GCWritePort size", m_Lib.GCWritePort(m_Device, 0, m_Room, nullptr)},
               {"EventGetInfo", m_Lib.EventGetInfo(m_Event, EVENT_TYPE_INFO, nullptr, m_Room, nullptr)},
               {"GCReadPortStacked entries", m_Lib.GCReadPortStacked(m_Device, nullptr, &(m_Size = 1))},
               {"GCReadPortStacked count", m_Lib.GCReadPortStacked(m_Device, &entry, nullptr)},
               {"GCWritePortStacked entries", m_Lib.GCWritePortStacked(m_Device, nullptr, &(m_Size = 1))},
               {"GCWritePortStacked count", m_Lib.GCWritePortStacked(m_Device, &entry, nullptr)},
               {"GCGetNumPortURLs", m_Lib.GCGetNumPortURLs(m_Device, nullptr)},
               {"GCGetPortURL", m_Lib.GCGetPortURL(m_Device, m_Room, nullptr)},
               {"GCGetPortURLInfo", m_Lib.GCGetPortURLInfo(m_Device, 0, URL_INFO_URL, nullptr, m_Room, nullptr)},
               {"GCGetPortInfo", m_Lib.GCGetPortInfo(m_Device, PORT_INFO_ID, nullptr, m_Room, nullptr)},
               {"GCRegisterEvent", m_Lib.GCRegisterEvent(m_Device, EVENT_ERROR, nullptr)},
               {"EventGetData size", m_Lib.EventGetData(m_Event, m_Room, nullptr, 0)},
               {"EventGetDataInfo data",
                m_Lib.EventGetDataInfo(m_Event, nullptr, 16, EVENT_DATA_ID, nullptr, m_Room, &(m_Size = 64))},
               {"EventGetDataInfo size",
                m_Lib.EventGetDataInfo(m_Event, m_Room, 16, EVENT_DATA_ID, nullptr, m_Room, nullptr)}});
}

void Arguments::TryModules() {
    const char* interfaceId = m_Session.InterfaceId().c_str();
    const char* deviceId = m_Session.DeviceId().c_str();
    const char* streamId = m_Session.StreamId().c_str();
    ExpectAll(GC_ERR_INVALID_PARAMETER,
              {{"TLOpen", m_Lib.TLOpen(nullptr)},
               {"TLGetInfo", m_Lib.TLGetInfo(m_System, TL_INFO_ID, nullptr, m_Room, nullptr)},
               {"IFGetInfo", m_Lib.IFGetInfo(m_Interface, INTERFACE_INFO_ID, nullptr, m_Room, nullptr)},
               {"DevGetInfo", m_Lib.DevGetInfo(m_Device, DEVICE_INFO_ID, nullptr, m_Room, nullptr)},
               {"TLGetNumInterfaces", m_Lib.TLGetNumInterfaces(m_System, nullptr)},
               {"TLGetInterfaceID", m_Lib.TLGetInterfaceID(m_System, 0, m_Room, nullptr)},
               {"TLGetInterfaceInfo", m_Lib.TLGetInterfaceInfo(m_System, nullptr, 0, nullptr, m_Room, &m_Size)},
               {"TLOpenInterface id", m_Lib.TLOpenInterface(m_System, nullptr, &m_Handle)},
               {"TLOpenInterface handle", m_Lib.TLOpenInterface(m_System, interfaceId, nullptr)},
               {"IFGetNumDevices", m_Lib.IFGetNumDevices(m_Interface, nullptr)},
               {"IFGetDeviceID", m_Lib.IFGetDeviceID(m_Interface, 0, m_Room, nullptr)},
               {"IFGetDeviceInfo", m_Lib.IFGetDeviceInfo(m_Interface, nullptr, 0, nullptr, m_Room, &m_Size)},
               {"IFOpenDevice id", m_Lib.IFOpenDevice(m_Interface, nullptr, DEVICE_ACCESS_EXCLUSIVE, &m_Handle)},
               {"IFOpenDevice handle", m_Lib.IFOpenDevice(m_Interface, deviceId, DEVICE_ACCESS_EXCLUSIVE, nullptr)},
               {"IFGetParentTL", m_Lib.IFGetParentTL(m_Interface, nullptr)},
               {"DevGetPort", m_Lib.DevGetPort(m_Device, nullptr)},
               {"DevGetNumDataStreams", m_Lib.DevGetNumDataStreams(m_Device, nullptr)},
               {"DevGetDataStreamID", m_Lib.DevGetDataStreamID(m_Device, 0, m_Room, nullptr)},
               {"DevOpenDataStream id", m_Lib.DevOpenDataStream(m_Device, nullptr, &m_Handle)},
               {"DevOpenDataStream handle", m_Lib.DevOpenDataStream(m_Device, streamId, nullptr)},
               {"DevGetParentIF", m_Lib.DevGetParentIF(m_Device, nullptr)}});
}

void Arguments::TryStreams() {
    ExpectAll(
        GC_ERR_INVALID_PARAMETER,
        {{"DSGetInfo", m_Lib.DSGetInfo(m_Stream, STREAM_INFO_ID, nullptr, m_Room, nullptr)},
         {"DSAnnounceBuffer memory", m_Lib.DSAnnounceBuffer(m_Stream, nullptr, 64, nullptr, &m_Handle)},
         {"DSAnnounceBuffer size", m_Lib.DSAnnounceBuffer(m_Stream, m_Room, 0, nullptr, &m_Handle)},
         {"DSAnnounceBuffer handle", m_Lib.DSAnnounceBuffer(m_Stream, m_Room, 64, nullptr, nullptr)},
         {"DSAllocAndAnnounceBuffer size", m_Lib.DSAllocAndAnnounceBuffer(m_Stream, 0, nullptr, &m_Handle)},
         {"DSAllocAndAnnounceBuffer handle", m_Lib.DSAllocAndAnnounceBuffer(m_Stream, 64, nullptr, nullptr)},
         {"DSGetBufferID", m_Lib.DSGetBufferID(m_Stream, 0, nullptr)},
         {"DSGetBufferInfo", m_Lib.DSGetBufferInfo(m_Stream, m_Buffer, BUFFER_INFO_BASE, nullptr, m_Room, nullptr)},
         {"DSGetBufferInfoStacked", m_Lib.DSGetBufferInfoStacked(m_Stream, m_Buffer, nullptr, 1)},
         {"DSGetBufferChunkData", m_Lib.DSGetBufferChunkData(m_Stream, m_Buffer, nullptr, nullptr)},
         {"DSGetParentDev", m_Lib.DSGetParentDev(m_Stream, nullptr)},
         {"DSStartAcquisition", m_Lib.DSStartAcquisition(m_Stream, ACQ_START_DEFAULT, 0)}});
}

void Arguments::TryBuffers() {
    void* memory = m_Room;
    ExpectAll(GC_ERR_INVALID_PARAMETER,
              {{"DSGetNumBufferParts", m_Lib.DSGetNumBufferParts(m_Stream, m_Buffer, nullptr)},
               {"DSGetBufferPartInfo", m_Lib.DSGetBufferPartInfo(m_Stream, m_Buffer, 0, 0, nullptr, m_Room, nullptr)},
               {"DSGetBufferPartInfoStacked", m_Lib.DSGetBufferPartInfoStacked(m_Stream, m_Buffer, nullptr, 1)},
               {"DSFlushQueue", m_Lib.DSFlushQueue(m_Stream, 99)},
               {"DSStartAcquisition flags", m_Lib.DSStartAcquisition(m_Stream, 99, 1)},
               {"DSStopAcquisition", m_Lib.DSStopAcquisition(m_Stream, 99)}});
    // What this technology does not have, it does not have with good arguments either.
    ExpectAll(
        GC_ERR_NOT_IMPLEMENTED,
        {{"GCUnregisterEvent", m_Lib.GCUnregisterEvent(m_Device, 99)},
         {"DSAnnounceCompositeBuffer",
          m_Lib.DSAnnounceCompositeBuffer(m_Stream, 1, &memory, &(m_Size = 64), nullptr, &m_Handle)},
         {"DSGetNumFlows", m_Lib.DSGetNumFlows(m_Stream, nullptr)},
         {"DSGetFlowInfo", m_Lib.DSGetFlowInfo(m_Stream, 0, 0, nullptr, m_Room, nullptr)},
         {"DSGetNumBufferSegments", m_Lib.DSGetNumBufferSegments(m_Stream, m_Buffer, nullptr)},
         {"DSGetBufferSegmentInfo", m_Lib.DSGetBufferSegmentInfo(m_Stream, m_Buffer, 0, 0, nullptr, m_Room, nullptr)}});
}

TEST_F(Arguments, OfPortsAndEventsMustBeThere) {
    TryPortsAndEvents();
}

TEST_F(Arguments, OfModulesMustBeThere) {
    TryModules();
}

TEST_F(Arguments, OfStreamsMustBeThere) {
    TryStreams();
    TryBuffers();
}

TEST_F(Arguments, OfEveryFunctionAreTried) {
    TryPortsAndEvents();
    TryModules();
    TryStreams();
    TryBuffers();
    std::set<std::string> wanted;
#define CONSUMER_NAME(name, parameters) wanted.insert(#name);
    CONSUMER_FUNCTIONS(CONSUMER_NAME)
#undef CONSUMER_NAME
    // Those that are given a handle alone, beside which a buffer may stand, and those whose outputs nobody need ask
    // for.
    for (const char* none :
         {"GCInitLib", "GCCloseLib", "TLClose", "IFClose", "DevClose", "DSClose", "EventFlush", "EventKill",
          "DSQueueBuffer", "DSRevokeBuffer", "TLUpdateInterfaceList", "IFUpdateDeviceList"})
        EXPECT_EQ(wanted.erase(none), 1u) << none;
    EXPECT_EQ(m_Tested, wanted);
}

TEST_F(Arguments, NobodyHasSuchAnId) {
    for (const char* id : {"", "nobody", "%s%n", "../../.."})
        ExpectAll(GC_ERR_INVALID_ID,
                  {{"TLGetInterfaceInfo", m_Lib.TLGetInterfaceInfo(m_System, id, 0, nullptr, nullptr, &m_Size)},
                   {"TLOpenInterface", m_Lib.TLOpenInterface(m_System, id, &m_Handle)},
                   {"IFGetDeviceInfo", m_Lib.IFGetDeviceInfo(m_Interface, id, 0, nullptr, nullptr, &m_Size)},
                   {"IFOpenDevice", m_Lib.IFOpenDevice(m_Interface, id, DEVICE_ACCESS_EXCLUSIVE, &m_Handle)},
                   {"DevOpenDataStream", m_Lib.DevOpenDataStream(m_Device, id, &m_Handle)}});
}

TEST_F(Arguments, NobodyHasSuchAnIndex) {
    for (const std::uint32_t index : {1000u, 0xFFFFFFFFu})
        ExpectAll(
            GC_ERR_INVALID_INDEX,
            {{"TLGetInterfaceID", m_Lib.TLGetInterfaceID(m_System, index, nullptr, &m_Size)},
             {"IFGetDeviceID", m_Lib.IFGetDeviceID(m_Interface, index, nullptr, &m_Size)},
             {"DevGetDataStreamID", m_Lib.DevGetDataStreamID(m_Device, index, nullptr, &m_Size)},
             {"DSGetBufferID", m_Lib.DSGetBufferID(m_Stream, index, &m_Handle)},
             {"GCGetPortURLInfo", m_Lib.GCGetPortURLInfo(m_Device, index, URL_INFO_URL, nullptr, nullptr, &m_Size)}});
}

TEST_F(Arguments, WhatIsOpenIsNotOpenedAgain) {
    ExpectAll(GC_ERR_RESOURCE_IN_USE, {{"GCInitLib", m_Lib.GCInitLib()},
                                       {"TLOpen", m_Lib.TLOpen(&m_Handle)},
                                       {"IFOpenDevice", m_Lib.IFOpenDevice(m_Interface, m_Session.DeviceId().c_str(),
                                                                           DEVICE_ACCESS_EXCLUSIVE, &m_Handle)}});
}

TEST_F(Arguments, OfParentsAreThoseThatOpenedThem) {
    EXPECT_EQ(m_Lib.IFGetParentTL(m_Interface, &m_Handle), GC_ERR_SUCCESS);
    EXPECT_EQ(m_Handle, m_System);
    EXPECT_EQ(m_Lib.DevGetParentIF(m_Device, &m_Handle), GC_ERR_SUCCESS);
    EXPECT_EQ(m_Handle, m_Interface);
    EXPECT_EQ(m_Lib.DSGetParentDev(m_Stream, &m_Handle), GC_ERR_SUCCESS);
    EXPECT_EQ(m_Handle, m_Device);
}

TEST_F(Arguments, OfFlowsAndSegmentsAreThereOrNotImplemented) {
    std::uint32_t count = 0;
    for (const GC_ERROR code :
         {m_Lib.DSGetNumFlows(m_Stream, &count), m_Lib.DSGetNumBufferSegments(m_Stream, m_Buffer, &count)})
        EXPECT_TRUE(code == GC_ERR_SUCCESS || code == GC_ERR_NOT_IMPLEMENTED || code == GC_ERR_NOT_AVAILABLE) << code;
}

TEST_F(Arguments, OfAbsurdSizeAreRefused) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the sanitizer ends programs that ask for so much";
#endif
    for (const std::size_t size : {SIZE_MAX, SIZE_MAX / 2, std::size_t{1} << 60})
        EXPECT_NE(m_Lib.DSAllocAndAnnounceBuffer(m_Stream, size, nullptr, &m_Handle), GC_ERR_SUCCESS) << size;
}

TEST_F(Arguments, OfDeviceAccessMustBeKnown) {
    m_Session.CloseDevice();
    for (const std::int32_t access : {-1, 5, 99}) {
        const GC_ERROR code = m_Lib.IFOpenDevice(m_Interface, m_Session.DeviceId().c_str(), access, &m_Handle);
        EXPECT_EQ(code, GC_ERR_INVALID_PARAMETER) << access;
    }
}

TEST(Lists, AreEmptyBeforeTheFirstUpdate) {
    Session session;
    TL_HANDLE system = nullptr;
    ASSERT_EQ(session->TLOpen(&system), GC_ERR_SUCCESS);
    std::uint32_t count = 7;
    EXPECT_EQ(session->TLGetNumInterfaces(system, &count), GC_ERR_SUCCESS);
    EXPECT_EQ(count, 0u);
}

TEST(Lists, SayWhetherTheyChanged) {
    Session session;
    TL_HANDLE system = nullptr;
    ASSERT_EQ(session->TLOpen(&system), GC_ERR_SUCCESS);
    bool8_t changed = 0;
    EXPECT_EQ(session->TLUpdateInterfaceList(system, &changed, 100), GC_ERR_SUCCESS);
    EXPECT_EQ(changed, 1);
    EXPECT_EQ(session->TLUpdateInterfaceList(system, &changed, 100), GC_ERR_SUCCESS);
    EXPECT_EQ(changed, 0);
}

} // namespace
