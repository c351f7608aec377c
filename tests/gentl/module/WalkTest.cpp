// From the library to the camera's features.

#include "gentl/support/RemoteFeatures.h"
#include "gentl/support/Session.h"

#include <future>
#include <thread>

#include <malloc.h>

namespace {

using consumer::NumberOf;
using consumer::TextOf;

class GenTL : public consumer::Session {};

TEST_F(GenTL, TellsOfItselfBeforeItIsInitialised) {
    consumer::Producer other(TAVIX_GENTL_PRODUCER);
    EXPECT_EQ(TextOf([&](char* text, size_t* size) { return other.GCGetInfo(TL_INFO_TLTYPE, nullptr, text, size); }),
              "U3V");
    EXPECT_EQ(NumberOf<uint32_t>([&](void* value, size_t* size) {
                  return other.GCGetInfo(TL_INFO_GENTL_VER_MINOR, nullptr, value, size);
              }),
              6U);
}

TEST_F(GenTL, IsInitialisedAndOpenedOnceOnly) {
    EXPECT_EQ(gc.GCInitLib(), GC_ERR_RESOURCE_IN_USE);
    TL_HANDLE second = nullptr;
    EXPECT_EQ(gc.TLOpen(&second), GC_ERR_RESOURCE_IN_USE);
}

TEST_F(GenTL, TellsSizeAndTypeWithoutABufferAndRefusesOneThatIsTooSmall) {
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    size_t size = 0;
    ASSERT_EQ(gc.TLGetInfo(tl, TL_INFO_TLTYPE, &type, nullptr, &size), GC_ERR_SUCCESS);
    EXPECT_EQ(type, INFO_DATATYPE_STRING);
    EXPECT_EQ(size, 4U);
    char text[4] = "";
    size = 3;
    EXPECT_EQ(gc.TLGetInfo(tl, TL_INFO_TLTYPE, &type, text, &size), GC_ERR_BUFFER_TOO_SMALL);
    EXPECT_EQ(gc.TLGetInfo(tl, TL_INFO_TLTYPE, &type, text, nullptr), GC_ERR_INVALID_PARAMETER);
    EXPECT_EQ(gc.TLGetInfo(tl, 777, &type, text, &size), GC_ERR_NOT_IMPLEMENTED);
}

TEST_F(GenTL, NamesTheCameraWithoutOpeningIt) {
    const auto info = [&](DEVICE_INFO_CMD command) {
        return TextOf([&](char* text, size_t* size) {
            return gc.IFGetDeviceInfo(interface, deviceId.c_str(), command, nullptr, text, size);
        });
    };
    EXPECT_EQ(info(DEVICE_INFO_VENDOR), "Vandrel");
    EXPECT_EQ(info(DEVICE_INFO_MODEL), "VC-1300");
    EXPECT_EQ(info(DEVICE_INFO_SERIAL_NUMBER), "40000001");
    EXPECT_EQ(info(DEVICE_INFO_ID), deviceId);
    EXPECT_EQ(NumberOf<int32_t>([&](void* value, size_t* size) {
                  return gc.IFGetDeviceInfo(interface, deviceId.c_str(), DEVICE_INFO_ACCESS_STATUS, nullptr, value,
                                            size);
              }),
              DEVICE_ACCESS_STATUS_READWRITE);
}

TEST_F(GenTL, OpensADeviceOnceAndSaysSo) {
    ASSERT_NO_FATAL_FAILURE(OpenDevice());
    DEV_HANDLE second = nullptr;
    EXPECT_EQ(gc.IFOpenDevice(interface, deviceId.c_str(), DEVICE_ACCESS_EXCLUSIVE, &second), GC_ERR_RESOURCE_IN_USE);
    EXPECT_EQ(LastText(), "the device is open already");
    EXPECT_EQ(NumberOf<int32_t>([&](void* value, size_t* size) {
                  return gc.IFGetDeviceInfo(interface, deviceId.c_str(), DEVICE_INFO_ACCESS_STATUS, nullptr, value,
                                            size);
              }),
              DEVICE_ACCESS_STATUS_OPEN_READWRITE);
    ASSERT_EQ(gc.DevClose(device), GC_ERR_SUCCESS);
    EXPECT_EQ(gc.DevClose(device), GC_ERR_INVALID_HANDLE);
    EXPECT_EQ(gc.IFOpenDevice(interface, deviceId.c_str(), DEVICE_ACCESS_CONTROL, &second), GC_ERR_SUCCESS);
}

TEST_F(GenTL, ReadsOnlyFromADeviceThatWasOpenedForThat) {
    ASSERT_EQ(gc.IFOpenDevice(interface, deviceId.c_str(), DEVICE_ACCESS_READONLY, &device), GC_ERR_SUCCESS);
    ASSERT_EQ(gc.DevGetPort(device, &port), GC_ERR_SUCCESS);
    char vendor[64] = "";
    size_t size = sizeof vendor;
    ASSERT_EQ(gc.GCReadPort(port, 0x4, vendor, &size), GC_ERR_SUCCESS);
    EXPECT_STREQ(vendor, "Vandrel");
    EXPECT_EQ(gc.GCWritePort(port, 0x184, "x", &(size = 1)), GC_ERR_ACCESS_DENIED);
}

TEST_F(GenTL, SwitchesNothingOnInADeviceThatWasOpenedToRead) {
    ASSERT_EQ(gc.IFOpenDevice(interface, deviceId.c_str(), DEVICE_ACCESS_READONLY, &device), GC_ERR_SUCCESS);
    ASSERT_EQ(gc.DevOpenDataStream(device, "Stream0", &stream), GC_ERR_SUCCESS);
    EXPECT_EQ(gc.DSStartAcquisition(stream, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE), GC_ERR_ACCESS_DENIED);
    EXPECT_EQ(LastText(), "the device was opened to read only");
    EXPECT_EQ(StreamNumber<bool8_t>(STREAM_INFO_IS_GRABBING), 0);
    EVENT_HANDLE event = nullptr;
    EXPECT_EQ(gc.GCRegisterEvent(device, EVENT_REMOTE_DEVICE, &event), GC_ERR_ACCESS_DENIED);
    EXPECT_EQ(gc.GCRegisterEvent(device, EVENT_MODULE, &event), GC_ERR_SUCCESS) << "of the producer itself";
}

TEST_F(GenTL, LeadsToTheCamerasOwnDescriptionAndFeatures) {
    ASSERT_NO_FATAL_FAILURE(OpenDevice());
    consumer::Features features(gc, port);
    GenApi::CIntegerPtr width(features.map._GetNode("Width"));
    ASSERT_TRUE(GenApi::IsWritable(width));
    width->SetValue(width->GetMin());
    EXPECT_EQ(width->GetValue(), width->GetMin());
    uint32_t urls = 0;
    ASSERT_EQ(gc.GCGetNumPortURLs(port, &urls), GC_ERR_SUCCESS);
    EXPECT_GE(urls, 1U);
    std::vector<uint8_t> hash(20);
    size_t size = hash.size();
    EXPECT_EQ(gc.GCGetPortURLInfo(port, 0, URL_INFO_FILE_SHA1_HASH, nullptr, hash.data(), &size), GC_ERR_SUCCESS);
    EXPECT_EQ(gc.GCGetPortURLInfo(port, urls, URL_INFO_URL, nullptr, nullptr, &size), GC_ERR_INVALID_INDEX);
}

TEST_F(GenTL, ReadsNeighboursAndStrangersInOneStack) {
    ASSERT_NO_FATAL_FAILURE(OpenDevice());
    char vendor[64] = "", model[64] = "", serial[64] = "";
    PORT_REGISTER_STACK_ENTRY entries[] = {{0x4, vendor, 64}, {0x44, model, 64}, {0x144, serial, 64}};
    size_t count = 3;
    ASSERT_EQ(gc.GCReadPortStacked(port, entries, &count), GC_ERR_SUCCESS);
    EXPECT_EQ(count, 3U);
    EXPECT_STREQ(vendor, "Vandrel");
    EXPECT_STREQ(model, "VC-1300");
    EXPECT_STREQ(serial, "40000001");
    entries[1].Address = 0xFFFFFFFFFFFFFF00;
    EXPECT_NE(gc.GCReadPortStacked(port, entries, &(count = 3)), GC_ERR_SUCCESS);
    EXPECT_EQ(count, 1U);
}

TEST_F(GenTL, DescribesEachModule) {
    ASSERT_NO_FATAL_FAILURE(OpenStream());
    const auto text = [&](PORT_HANDLE handle, const char* feature) {
        consumer::Features features(gc, handle);
        GenApi::CValuePtr value(features.map._GetNode(feature));
        return value.IsValid() ? std::string(value->ToString().c_str()) : std::string("(missing)");
    };
    EXPECT_EQ(text(tl, "TLVendorName"), "Tavix");
    EXPECT_EQ(text(tl, "GenTLVersionMinor"), "6");
    EXPECT_EQ(text(interface, "InterfaceID"), interfaceId);
    EXPECT_EQ(text(interface, "DeviceModelName"), "VC-1300");
    EXPECT_EQ(text(device, "DeviceAccessStatus"), "OpenReadWrite");
    EXPECT_EQ(text(stream, "StreamBufferHandlingMode"), "Default");
    EXPECT_EQ(text(stream, "StreamAnnounceBufferMinimum"), "1");
}

TEST_F(GenTL, LocksTheStreamsFeaturesUntilTheyAreUnlocked) {
    ASSERT_NO_FATAL_FAILURE(OpenStream());
    consumer::Features features(gc, stream);
    GenApi::CIntegerPtr size = features.map._GetNode("StreamMaxTransferSize");
    GenApi::CIntegerPtr locked = features.map._GetNode("TLParamsLocked");
    EXPECT_EQ(locked->GetValue(), 0);
    locked->SetValue(1);
    EXPECT_EQ(locked->GetValue(), 1);
    EXPECT_THROW(size->SetValue(65536), std::exception);
    for (const char* name :
         {"StreamMaxTransferSize", "StreamQueuedTransferCount", "StreamThreadPriority", "StreamBufferHandlingMode"})
        EXPECT_FALSE(GenApi::IsWritable(features.map._GetNode(name))) << name;
    locked->SetValue(0);
    size->SetValue(65536);
    EXPECT_EQ(size->GetValue(), 65536);
}

TEST_F(GenTL, TellsWhatTheStreamsSettingsMayBe) {
    ASSERT_NO_FATAL_FAILURE(OpenStream());
    consumer::Features features(gc, stream);
    const GenApi::CIntegerPtr count(features.map._GetNode("StreamQueuedTransferCount"));
    EXPECT_EQ(count->GetMin(), 1);
    EXPECT_EQ(count->GetMax(), 4096);
    const GenApi::CIntegerPtr priority(features.map._GetNode("StreamThreadPriority"));
    EXPECT_EQ(priority->GetMin(), 0);
    EXPECT_EQ(priority->GetMax(), 99);
}

TEST_F(GenTL, TakesTheLimitsThatItsSettingsName) {
    ASSERT_NO_FATAL_FAILURE(OpenStream());
    consumer::Features features(gc, stream);
    for (const char* name : {"StreamMaxTransferSize", "StreamQueuedTransferCount"}) {
        const GenApi::CIntegerPtr setting(features.map._GetNode(name));
        for (const int64_t limit : {setting->GetMin(), setting->GetMax()}) {
            EXPECT_NO_THROW(setting->SetValue(limit)) << name << ": " << limit;
            EXPECT_EQ(setting->GetValue(), limit) << name;
        }
    }
}

TEST_F(GenTL, ClosesTheDeviceUnderOneWhoWaitsForItsEvents) {
    for (int i = 0; i < 20; ++i) {
        ASSERT_NO_FATAL_FAILURE(OpenDevice());
        EVENT_HANDLE event = nullptr;
        ASSERT_EQ(gc.GCRegisterEvent(device, EVENT_REMOTE_DEVICE, &event), GC_ERR_SUCCESS);
        std::promise<void> begun;
        std::thread waiter([&] {
            begun.set_value();
            unsigned char data[1024];
            size_t size = sizeof data;
            const GC_ERROR result = gc.EventGetData(event, data, &size, GENTL_INFINITE);
            EXPECT_TRUE(result == GC_ERR_ABORT || result == GC_ERR_INVALID_HANDLE) << result;
        });
        begun.get_future().wait();
        EXPECT_EQ(gc.DevClose(device), GC_ERR_SUCCESS);
        waiter.join();
    }
}

TEST_F(GenTL, CountsNoEntryThatWasRefused) {
    ASSERT_NO_FATAL_FAILURE(OpenDevice());
    PORT_REGISTER_STACK_ENTRY entry{0, nullptr, 4};
    size_t count = 1;
    EXPECT_EQ(gc.GCReadPortStacked(port, &entry, &count), GC_ERR_INVALID_PARAMETER);
    EXPECT_EQ(count, 0U);
}

TEST_F(GenTL, ClosesEverythingBelowWhatIsClosed) {
    ASSERT_NO_FATAL_FAILURE(OpenStream());
    ASSERT_EQ(gc.TLClose(tl), GC_ERR_SUCCESS);
    EXPECT_EQ(gc.DSClose(stream), GC_ERR_INVALID_HANDLE);
    EXPECT_EQ(gc.DevClose(device), GC_ERR_INVALID_HANDLE);
    EXPECT_EQ(gc.IFClose(interface), GC_ERR_INVALID_HANDLE);
    EXPECT_EQ(gc.TLOpen(&tl), GC_ERR_SUCCESS);
}

TEST_F(GenTL, StartsAndEndsManyTimes) {
    for (int i = 0; i < 50; ++i) {
        ASSERT_EQ(gc.GCCloseLib(), GC_ERR_SUCCESS);
        EXPECT_EQ(gc.TLOpen(&tl), GC_ERR_NOT_INITIALIZED);
        ASSERT_EQ(gc.GCInitLib(), GC_ERR_SUCCESS);
    }
}

TEST(GenTLFile, LosesNothingWhenItIsLoadedAndGivenBackManyTimes) {
    const auto round = [] {
        const consumer::Producer gc(TAVIX_GENTL_PRODUCER);
        ASSERT_EQ(gc.GCInitLib(), GC_ERR_SUCCESS);
        TL_HANDLE tl = nullptr;
        ASSERT_EQ(gc.TLOpen(&tl), GC_ERR_SUCCESS);
        ASSERT_EQ(gc.TLUpdateInterfaceList(tl, nullptr, 100), GC_ERR_SUCCESS);
        ASSERT_EQ(gc.GCCloseLib(), GC_ERR_SUCCESS);
    };
    round();
    round();
    const std::size_t before = ::mallinfo2().uordblks;
    for (int i = 0; i < 20; ++i)
        ASSERT_NO_FATAL_FAILURE(round());
    EXPECT_LT(::mallinfo2().uordblks, before + std::size_t{16} * 1024);
}

} // namespace

int main(int argc, char** argv) {
    consumer::UseVirtualCameras();
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
