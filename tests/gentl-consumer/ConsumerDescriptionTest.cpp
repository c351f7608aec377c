// The descriptions of the camera and of every module, as node maps.
#include "gentl-consumer/support/Description.h"

#include <gtest/gtest.h>

#include <openssl/sha.h>

#include <cstdlib>

namespace {

using namespace consumer;

std::vector<std::uint8_t> Sha1(const std::vector<std::uint8_t>& bytes) {
    std::vector<std::uint8_t> hash(SHA_DIGEST_LENGTH);
    SHA1(bytes.data(), bytes.size(), hash.data());
    return hash;
}

/// All that a port says of its description fits together.
void ExpectUrlInfos(Session& session, PORT_HANDLE port) {
    Module module(session, port);
    std::uint32_t count = 0;
    EXPECT_EQ(session->GCGetNumPortURLs(port, &count), GC_ERR_SUCCESS);
    EXPECT_GE(count, 1u);
    const Answer url = module.UrlInfo(URL_INFO_URL);
    EXPECT_EQ(url.type, kString);
    const Answer older =
        AskText([&](char* text, std::size_t* size) { return session->GCGetPortURL(port, text, size); });
    EXPECT_EQ(older.Text(), url.Text());
    EXPECT_TRUE(module.Url().extension == "xml" || module.Url().extension == "zip") << url.Text();
    EXPECT_EQ(module.Url().extension == "zip", module.File()[0] == 'P');

    for (Command number = URL_INFO_SCHEMA_VER_MAJOR; number <= URL_INFO_FILE_VER_SUBMINOR; ++number) {
        const Answer answer = module.UrlInfo(number);
        EXPECT_EQ(answer.code, GC_ERR_SUCCESS) << number;
        EXPECT_EQ(answer.type, kInt32) << number;
        EXPECT_EQ(answer.bytes.size(), 4u) << number;
    }
    EXPECT_EQ(module.UrlInfo(URL_INFO_SCHEMA_VER_MAJOR).Number(), 1u);
    EXPECT_EQ(module.UrlInfo(URL_INFO_SCHEMA_VER_MINOR).Number(), 1u);
    const Answer hash = module.UrlInfo(URL_INFO_FILE_SHA1_HASH);
    if (hash.Ok()) {
        EXPECT_EQ(hash.type, kBuffer);
        EXPECT_EQ(hash.bytes, Sha1(module.File()));
    } else {
        EXPECT_EQ(hash.code, GC_ERR_NOT_AVAILABLE);
    }
    const Answer address = module.UrlInfo(URL_INFO_FILE_REGISTER_ADDRESS);
    EXPECT_EQ(address.type, kUInt64);
    EXPECT_EQ(address.Number(), module.Url().address);
    const Answer size = module.UrlInfo(URL_INFO_FILE_SIZE);
    EXPECT_EQ(size.type, kUInt64);
    EXPECT_EQ(size.Number(), module.Url().length);
    const Answer scheme = module.UrlInfo(URL_INFO_SCHEME);
    EXPECT_EQ(scheme.type, kInt32);
    EXPECT_EQ(scheme.Number(), 0u) << "local";
    EXPECT_EQ(module.UrlInfo(URL_INFO_FILENAME).type, kString);
    EXPECT_EQ(module.UrlInfo(URL_INFO_FILENAME).Text(), module.Url().name);
    EXPECT_EQ(module.UrlInfo(999).code, GC_ERR_NOT_IMPLEMENTED);

    std::size_t room = 0;
    EXPECT_EQ(session->GCGetPortURLInfo(port, count, URL_INFO_URL, nullptr, nullptr, &room), GC_ERR_INVALID_INDEX);
}

void ExpectPortInfos(Session& session, PORT_HANDLE port, const std::string& name) {
    Module module(session, port);
    for (const Command text : {PORT_INFO_ID, PORT_INFO_VENDOR, PORT_INFO_MODEL, PORT_INFO_TLTYPE, PORT_INFO_MODULE,
                               PORT_INFO_VERSION, PORT_INFO_PORTNAME}) {
        EXPECT_EQ(module.PortInfo(text).code, GC_ERR_SUCCESS) << text;
        EXPECT_EQ(module.PortInfo(text).type, kString) << text;
    }
    EXPECT_EQ(module.PortInfo(PORT_INFO_MODULE).Text(), name);
    EXPECT_EQ(module.PortInfo(PORT_INFO_PORTNAME).Text(), name);
    EXPECT_EQ(module.PortInfo(PORT_INFO_TLTYPE).Text(), "U3V");
    for (Command yesNo = PORT_INFO_LITTLE_ENDIAN; yesNo <= PORT_INFO_ACCESS_NI; ++yesNo) {
        EXPECT_EQ(module.PortInfo(yesNo).type, kBool8) << yesNo;
        EXPECT_EQ(module.PortInfo(yesNo).bytes.size(), 1u) << yesNo;
    }
    EXPECT_NE(module.PortInfo(PORT_INFO_LITTLE_ENDIAN).Number(), module.PortInfo(PORT_INFO_BIG_ENDIAN).Number());
    EXPECT_EQ(module.PortInfo(PORT_INFO_ACCESS_READ).Number(), 1u);
    EXPECT_EQ(module.PortInfo(PORT_INFO_ACCESS_WRITE).Number(), 1u);
    EXPECT_EQ(module.PortInfo(PORT_INFO_ACCESS_NA).Number(), 0u);
    EXPECT_EQ(module.PortInfo(PORT_INFO_ACCESS_NI).Number(), 0u);
    EXPECT_EQ(module.PortInfo(999).code, GC_ERR_NOT_IMPLEMENTED);
}

void ExpectFeatures(Module& module, const std::vector<const char*>& names) {
    for (const char* name : names) {
        GenApi::INode* node = module.Find(name);
        ASSERT_NE(node, nullptr) << name;
        EXPECT_TRUE(GenApi::IsImplemented(node)) << name;
        EXPECT_TRUE(node->IsFeature()) << name << " is in no category";
    }
}

bool HasReadableValue(GenApi::INode* node) {
    const GenApi::EInterfaceType type = node->GetPrincipalInterfaceType();
    const bool hasValue = type != GenApi::intfICategory && type != GenApi::intfIPort && GenApi::CValuePtr(node);
    return hasValue && GenApi::IsReadable(node);
}

/// Every feature that says it is readable is.
void ExpectAllReadable(Module& module) {
    GenApi::NodeList_t nodes;
    module.Nodes()._GetNodes(nodes);
    for (GenApi::INode* node : nodes)
        if (HasReadableValue(node)) {
            EXPECT_NO_THROW(GenApi::CValuePtr(node)->ToString()) << node->GetName().c_str();
        }
}

TEST(ConsumerDescription, OfTheCameraZippedOrNotIsReadByItsUrl) {
    for (const char* stored : {"None", "PlainXml", "StoredZip"}) {
        SCOPED_TRACE(stored);
        Session session(Session::SmallCamera(std::string(R"("registers": {"manifest": ")") + stored + R"("})"));
        ExpectUrlInfos(session, session.Remote());
        ExpectPortInfos(session, session.Remote(), "Device");
        Module camera(session, session.Remote());
        EXPECT_EQ(camera.Url().extension, stored == std::string("PlainXml") ? "xml" : "zip");
        EXPECT_EQ(camera.Integer("Width"), 64);
        camera.Set("Width", "32");
        EXPECT_EQ(session.Read32(kWidth), 32u);
        ExpectAllReadable(camera);
    }
}

TEST(ConsumerDescription, OfTheCameraComesInBlocksOfAnySize) {
    Session session;
    Module whole(session, session.Remote());
    for (const std::size_t block : {std::size_t{7}, std::size_t{100}, std::size_t{4096}}) {
        std::vector<std::uint8_t> file(whole.File().size());
        for (std::size_t at = 0; at < file.size(); at += block) {
            std::size_t size = std::min(block, file.size() - at);
            ASSERT_EQ(session->GCReadPort(session.Remote(), whole.Url().address + at, file.data() + at, &size), 0);
        }
        EXPECT_EQ(file, whole.File()) << block;
    }
}

TEST(ConsumerDescription, OfTheSystemHasTheStandardFeatures) {
    Session session;
    ExpectUrlInfos(session, session.System());
    ExpectPortInfos(session, session.System(), "TLSystem");
    Module system(session, session.System());
    ExpectFeatures(system, {"TLID", "TLVendorName", "TLModelName", "TLVersion", "TLFileName", "TLDisplayName", "TLPath",
                            "TLType", "GenTLVersionMajor", "GenTLVersionMinor", "InterfaceUpdateList",
                            "InterfaceSelector", "InterfaceID", "InterfaceDisplayName"});
    ExpectAllReadable(system);
    EXPECT_EQ(system.Integer("GenTLVersionMajor"), 1);
    EXPECT_EQ(system.Integer("GenTLVersionMinor"), 6);
    system.Execute("InterfaceUpdateList");
    std::uint32_t count = 0;
    EXPECT_EQ(session->TLGetNumInterfaces(session.System(), &count), 0);
    for (std::uint32_t i = 0; i < count; ++i) {
        system.Set("InterfaceSelector", std::to_string(i).c_str());
        const Answer id = AskText(
            [&](char* text, std::size_t* size) { return session->TLGetInterfaceID(session.System(), i, text, size); });
        EXPECT_EQ(system.Text("InterfaceID"), id.Text());
    }
}

TEST(ConsumerDescription, OfTheInterfaceHasTheStandardFeatures) {
    Session session(
        R"([{"serial": "D1", "guid": "1209000000D1", "sensorWidth": 64, "sensorHeight": 64, "userName": "one"},
                        {"serial": "D2", "guid": "1209000000D2", "sensorWidth": 64, "sensorHeight": 64}])");
    ExpectUrlInfos(session, session.Interface());
    ExpectPortInfos(session, session.Interface(), "TLInterface");
    Module interface(session, session.Interface());
    ExpectFeatures(interface, {"InterfaceID", "InterfaceDisplayName", "InterfaceType", "DeviceUpdateList",
                               "DeviceSelector", "DeviceID", "DeviceVendorName", "DeviceModelName",
                               "DeviceSerialNumber", "DeviceUserID", "DeviceAccessStatus", "DeviceTLType"});
    ExpectAllReadable(interface);
    interface.Execute("DeviceUpdateList");
    EXPECT_EQ(interface.Text("InterfaceID"), session.InterfaceId());
    std::vector<std::string> serials;
    for (const char* index : {"0", "1"}) {
        interface.Set("DeviceSelector", index);
        serials.push_back(interface.Text("DeviceSerialNumber"));
    }
    std::sort(serials.begin(), serials.end());
    EXPECT_EQ(serials, (std::vector<std::string>{"D1", "D2"}));
}

TEST(ConsumerDescription, OfTheDeviceHasTheStandardFeatures) {
    Session session;
    ExpectUrlInfos(session, session.Device());
    ExpectPortInfos(session, session.Device(), "TLDevice");
    Module device(session, session.Device());
    ExpectFeatures(device, {"DeviceID", "DeviceVendorName", "DeviceModelName", "DeviceType", "DeviceDisplayName",
                            "DeviceAccessStatus", "DeviceSerialNumber", "DeviceUserID", "StreamSelector", "StreamID"});
    ExpectAllReadable(device);
    EXPECT_EQ(device.Text("DeviceID"), session.DeviceId());
    session.Stream();
    EXPECT_EQ(device.Text("StreamID"), session.StreamId());
    device.Set("StreamSelector", "0");
    EXPECT_EQ(device.Text("StreamID"), session.StreamId());
}

TEST(ConsumerDescription, OfTheStreamHasTheStandardFeatures) {
    Session session;
    ExpectUrlInfos(session, session.Stream());
    ExpectPortInfos(session, session.Stream(), "TLDataStream");
    Module stream(session, session.Stream());
    ExpectFeatures(stream,
                   {"StreamID", "StreamType", "StreamAnnouncedBufferCount", "StreamAnnounceBufferMinimum",
                    "StreamBufferHandlingMode", "StreamDeliveredFrameCount", "StreamLostFrameCount",
                    "StreamInputBufferCount", "StreamOutputBufferCount", "StreamStartedFrameCount", "PayloadSize",
                    "StreamIsGrabbing", "StreamChunkCountMaximum", "StreamBufferAlignment", "TLParamsLocked"});
    ExpectAllReadable(stream);
    session.Announce(3);
    EXPECT_EQ(stream.Integer("StreamAnnouncedBufferCount"), 3);
    EXPECT_EQ(stream.Integer("StreamInputBufferCount"), 0);
    session.QueueAll();
    EXPECT_EQ(stream.Integer("StreamInputBufferCount"), 3);
    EXPECT_EQ(stream.Integer("PayloadSize"), 64 * 64);
    for (const char* mode : {"OldestFirst", "OldestFirstOverwrite", "NewestOnly", "Default"}) {
        stream.Set("StreamBufferHandlingMode", mode);
        EXPECT_EQ(stream.Text("StreamBufferHandlingMode"), mode);
    }
}

TEST(ConsumerDescription, OfABufferIsThereOrNotImplemented) {
    Session session;
    const BUFFER_HANDLE buffer = session.Announce(1).front();
    std::uint32_t count = 0;
    const GC_ERROR code = session->GCGetNumPortURLs(buffer, &count);
    if (code == GC_ERR_NOT_IMPLEMENTED) return;
    ASSERT_EQ(code, GC_ERR_SUCCESS);
    ExpectUrlInfos(session, buffer);
    ExpectPortInfos(session, buffer, "TLBuffer");
    Module module(session, buffer);
    ExpectFeatures(module, {"BufferData", "BufferUserData"});
}

TEST(ConsumerDescription, HasAPortNodeOfThePortsName) {
    Session session;
    for (PORT_HANDLE port : {session.System(), session.Interface(), session.Device(), session.Stream()}) {
        Module module(session, port);
        const std::string name = module.PortInfo(PORT_INFO_PORTNAME).Text();
        EXPECT_NE(module.Find(name.c_str()), nullptr) << name;
    }
}

TEST(ConsumerDescription, LetsTheConsumerLockTheParametersOfAStream) {
    Session session;
    Module stream(session, session.Stream());
    stream.Set("TLParamsLocked", "1");
    EXPECT_EQ(stream.Integer("TLParamsLocked"), 1);
}

TEST(ConsumerDescription, HasRegistersThatChangeByNoWriteOfNoBytes) {
    Session session;
    Module stream(session, session.Stream());
    stream.Set("TLParamsLocked", "1");
    const GenApi::CRegisterPtr lock(stream.Nodes()._GetNode("TLParamsLocked_Value"));
    ASSERT_TRUE(lock.IsValid());
    const auto address = static_cast<std::uint64_t>(lock->GetAddress());
    const std::uint64_t zero = 0;
    std::size_t none = 0;
    (void)session->GCWritePort(session.Stream(), address, &zero, &none);
    EXPECT_EQ(stream.Integer("TLParamsLocked"), 1);
}

} // namespace
