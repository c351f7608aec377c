// The wire trace: its bytes, what it keeps, and that a traced bus behaves as it does without.
#include "usb/trace/TraceFile.h"
#include "usb/trace/TracedBackend.h"
#include "usb/trace/TracedHandle.h"

#include "virtualcam/backend/Backend.h"
#include "virtualcam/support/DeviceClient.h"

#include <gmock/gmock.h>

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace {

using usb::CaptureEvent;
using usb::CaptureRecord;
using usb::Result;
using virtualcam::test::Hex;
using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kHeader = 64;

template<class T>
T Number(const Bytes& bytes, std::size_t at) {
    T value{};
    std::memcpy(&value, bytes.data() + at, sizeof value);
    return value;
}

TEST(CapturePacket, IsThatOfUsbmonForABulkTransfer) {
    const Bytes data = Hex("55335643");
    CaptureRecord record;
    record.event = CaptureEvent::Completed;
    record.id = 0x1122;
    record.bus = 2;
    record.address = 7;
    record.endpoint = 0x81;
    record.length = 4;
    record.data = data.data();
    record.captured = 4;
    EXPECT_EQ(usb::EncodeCapture(record, 5000006007),
              Hex("2211000000000000 43 03 81 07 0200 2D 00 0500000000000000 06000000 00000000 04000000 04000000"
                  "0000000000000000 0000000000000000 0000000000000000 55335643"));
}

TEST(CapturePacket, CarriesTheSetupOfAControlTransfer) {
    const usb::ControlSetup setup{0x02, 0x01, 0, 0x0083, 0};
    CaptureRecord record;
    record.isControl = true;
    record.setup = &setup;
    const Bytes packet = usb::EncodeCapture(record, 0);
    EXPECT_EQ(Bytes(packet.begin() + 8, packet.begin() + 16), Hex("53 02 00 00 0000 00 3E"));
    EXPECT_EQ(Number<std::int32_t>(packet, 28), -115) << "in progress";
    EXPECT_EQ(Bytes(packet.begin() + 40, packet.begin() + 48), Hex("02 01 0000 8300 0000"));
}

TEST(CapturePacket, TellsHowATransferEndedAsTheKernelDoes) {
    const std::pair<usb::TransferStatus, int> rows[] = {
        {usb::TransferStatus::Completed, 0},  {usb::TransferStatus::Error, -71}, {usb::TransferStatus::TimedOut, -2},
        {usb::TransferStatus::Cancelled, -2}, {usb::TransferStatus::Stall, -32}, {usb::TransferStatus::NoDevice, -108},
        {usb::TransferStatus::Overflow, -75},
    };
    for (const auto& [status, error] : rows) {
        CaptureRecord record;
        record.event = CaptureEvent::Completed;
        record.status = status;
        EXPECT_EQ(Number<std::int32_t>(usb::EncodeCapture(record, 0), 28), error);
    }
}

TEST(CapturePacket, StandsInBlocksOfFourBytes) {
    EXPECT_EQ(usb::SectionHeaderBlock(), Hex("0A0D0D0A 2C000000 4D3C2B1A 0100 0000 FFFFFFFFFFFFFFFF"
                                             "0400 0500 7461766978000000 0000 0000 2C000000"));
    EXPECT_EQ(usb::InterfaceBlock(), Hex("01000000 2C000000 DC00 0000 00000000 0200 0500 7461766978000000"
                                         "0900 0100 09000000 0000 0000 2C000000"));
    EXPECT_EQ(usb::PacketBlock(Hex("AABBCC"), 5, 0x0000000200000001), Hex("06000000 24000000 00000000 02000000 01000000"
                                                                          "03000000 08000000 AABBCC00 24000000"));
}

/// A trace in a file of its own and what can be read from it.
class TraceTest : public testing::Test {
protected:
    struct Packet {
        Bytes bytes;
        std::size_t onTheWire = 0;
        char Event() const { return static_cast<char>(bytes[8]); }
        bool IsControl() const { return bytes[9] == 2; }
        unsigned Endpoint() const { return bytes[10]; }
        std::uint64_t Id() const { return Number<std::uint64_t>(bytes, 0); }
        std::int32_t Status() const { return Number<std::int32_t>(bytes, 28); }
        Bytes Data() const { return Bytes(bytes.begin() + kHeader, bytes.end()); }
    };

    ~TraceTest() override { std::remove(m_Path.c_str()); }

    std::vector<Packet> Packets() const {
        std::ifstream file(m_Path, std::ios::binary);
        const Bytes all(std::istreambuf_iterator<char>(file), {});
        std::vector<Packet> packets;
        for (std::size_t at = 0; at + 12 <= all.size(); at += Number<std::uint32_t>(all, at + 4)) {
            if (Number<std::uint32_t>(all, at) != 6) continue;
            const auto first = all.begin() + static_cast<std::ptrdiff_t>(at) + 28;
            packets.push_back(
                {Bytes(first, first + Number<std::uint32_t>(all, at + 20)), Number<std::uint32_t>(all, at + 24)});
        }
        return packets;
    }

    const std::string m_Path = testing::TempDir() + "trace-" + std::to_string(::getpid()) + ".pcapng";
    std::shared_ptr<usb::TraceFile> m_Trace = usb::TraceFile::Create(m_Path, 8);
};

TEST_F(TraceTest, KeepsMessagesWholeAndCutsPayload) {
    ASSERT_NE(m_Trace, nullptr);
    Bytes leader = Hex("5533564C"), payload(4096, 0x44);
    leader.resize(52);
    for (const Bytes& data : {leader, payload}) {
        CaptureRecord record;
        record.endpoint = 0x83;
        record.length = record.captured = data.size();
        record.data = data.data();
        m_Trace->Append(record);
    }
    m_Trace->Flush();
    const auto packets = Packets();
    ASSERT_EQ(packets.size(), 2u);
    EXPECT_EQ(packets[0].Data(), leader);
    EXPECT_EQ(packets[0].onTheWire, kHeader + 52);
    EXPECT_EQ(packets[1].Data(), Bytes(8, 0x44));
    EXPECT_EQ(packets[1].onTheWire, kHeader + 4096);
}

TEST_F(TraceTest, IsNoneWhereItsFileCannotBeMade) {
    EXPECT_EQ(usb::TraceFile::Create("/nowhere/trace.pcapng", 8), nullptr);
}

TEST_F(TraceTest, TakesThePlaceOfAnOlderOne) {
    m_Trace.reset();
    std::ofstream(m_Path) << std::string(100000, 'x');
    m_Trace = usb::TraceFile::Create(m_Path, 8);
    m_Trace->Flush();
    EXPECT_LT(std::filesystem::file_size(m_Path), 1000u);
}

TEST_F(TraceTest, KeepsAMessageThatIsNothingButItsBeginning) {
    m_Trace = usb::TraceFile::Create(m_Path, 0);
    const Bytes beginning = Hex("553356"), payload = Hex("553357");
    for (const Bytes& data : {beginning, payload}) {
        CaptureRecord record;
        record.endpoint = 0x83;
        record.length = record.captured = data.size();
        record.data = data.data();
        m_Trace->Append(record);
    }
    m_Trace->Flush();
    const auto packets = Packets();
    ASSERT_EQ(packets.size(), 2u);
    EXPECT_EQ(packets[0].Data(), beginning);
    EXPECT_TRUE(packets[1].Data().empty());
}

TEST_F(TraceTest, OfNoBusIsNone) {
    EXPECT_EQ(usb::Traced(nullptr, m_Trace), nullptr);
}

TEST_F(TraceTest, LeavesABusAsItIsWhenThereIsNone) {
    auto bus = virtualcam::CreateBackend(virtualcam::BackendSettings{});
    const usb::Backend* bare = bus.get();
    EXPECT_EQ(usb::Traced(std::move(bus), nullptr).get(), bare);
}

/// A traced bus with one camera, opened.
class TracedBusTest : public TraceTest {
protected:
    TracedBusTest() {
        virtualcam::BackendSettings settings;
        settings.cameras.push_back(virtualcam::NumberedCamera(0));
        auto bus = virtualcam::CreateBackend(settings);
        m_Camera = &bus->Camera(0);
        m_Bus = usb::Traced(std::move(bus), m_Trace);
        std::vector<usb::DeviceEntry> devices;
        EXPECT_EQ(m_Bus->Enumerate(devices), Result::Ok);
        EXPECT_EQ(m_Bus->Enumerate(devices), Result::Ok);
        m_Entry = devices.at(0);
        EXPECT_EQ(m_Bus->Open(m_Entry.id, m_Handle), Result::Ok);
        EXPECT_EQ(m_Handle->Claim(0), Result::Ok);
        EXPECT_EQ(m_Handle->Claim(1), Result::Ok);
    }
    Result Command(const char* text) {
        Bytes command = Hex(text);
        std::size_t actual = 0;
        return m_Handle->Bulk(0x01, command.data(), command.size(), actual, 1000);
    }
    std::vector<Packet> PacketsOf(unsigned endpoint) {
        m_Trace->Flush();
        std::vector<Packet> packets;
        for (const Packet& packet : Packets())
            if (packet.Endpoint() == endpoint && !packet.IsControl()) packets.push_back(packet);
        return packets;
    }

    virtualcam::Device* m_Camera = nullptr;
    std::unique_ptr<usb::Backend> m_Bus;
    usb::DeviceEntry m_Entry;
    std::unique_ptr<usb::Handle> m_Handle;
};

TEST_F(TracedBusTest, ShowsTheDescriptorsOfADeviceOnce) {
    m_Trace->Flush();
    const auto packets = Packets();
    ASSERT_EQ(packets.size(), 4u);
    EXPECT_EQ(packets[1].Data(), m_Entry.device);
    EXPECT_EQ(packets[3].Data(), m_Entry.configurations[0]);
    EXPECT_EQ(packets[3].bytes[11], m_Entry.address);
    EXPECT_EQ(packets[2].Id(), packets[3].Id());
}

TEST_F(TracedBusTest, ShowsACommandAndItsAcknowledge) {
    const char* command = "55335643 0040 0008 0C00 0100  0000000000000000 0000 0400";
    ASSERT_EQ(Command(command), Result::Ok);
    Bytes answer(1024);
    std::size_t actual = 0;
    ASSERT_EQ(m_Handle->Bulk(0x81, answer.data(), answer.size(), actual, 1000), Result::Ok);
    EXPECT_EQ(actual, 16u);
    const auto sent = PacketsOf(0x01), received = PacketsOf(0x81);
    ASSERT_EQ(sent.size(), 2u);
    EXPECT_EQ(sent[0].Data(), Hex(command));
    EXPECT_TRUE(sent[1].Data().empty());
    ASSERT_EQ(received.size(), 2u);
    EXPECT_TRUE(received[0].Data().empty());
    EXPECT_EQ(received[1].Data(), Bytes(answer.begin(), answer.begin() + 16));
}

TEST_F(TracedBusTest, ShowsHaltsStringsAndFailures) {
    m_Camera->SetHalt(0x81);
    Bytes answer(1024);
    std::size_t actual = 0;
    EXPECT_EQ(m_Handle->Bulk(0x81, answer.data(), answer.size(), actual, 1000), Result::Pipe);
    EXPECT_EQ(m_Handle->ClearHalt(0x81), Result::Ok);
    EXPECT_EQ(m_Handle->ReadString(6), "VC-1300");
    EXPECT_EQ(PacketsOf(0x81).back().Status(), -32);
    EXPECT_EQ(PacketsOf(0x81).back().bytes[15], '<') << "nothing came";
    const auto packets = Packets();
    const std::size_t count = packets.size();
    EXPECT_EQ(packets[count - 1].Data(), Hex("10 03 56004300 2D00 3100 3300 3000 3000"));
    EXPECT_EQ(Bytes(packets[count - 4].bytes.begin() + 40, packets[count - 4].bytes.begin() + 48),
              Hex("02 01 0000 8100 0000"));
}

TEST_F(TracedBusTest, ShowsThatAStringIsMissing) {
    EXPECT_EQ(m_Handle->ReadString(99), "");
    m_Trace->Flush();
    const auto packets = Packets();
    EXPECT_EQ(packets.back().Status(), -32);
    EXPECT_TRUE(packets.back().Data().empty());
}

TEST_F(TracedBusTest, RefusesATransferWithoutACompletion) {
    Bytes room(1024);
    usb::Transfer transfer;
    transfer.endpoint = 0x82;
    transfer.buffer = room.data();
    transfer.length = room.size();
    EXPECT_EQ(m_Handle->Submit(transfer), Result::InvalidParam);
    EXPECT_EQ(transfer.backendData, nullptr);
    EXPECT_TRUE(PacketsOf(0x82).empty());
}

TEST_F(TracedBusTest, CarriesOutAsynchronousTransfersForTheirOwner) {
    Bytes room(1024);
    int completions = 0;
    usb::Transfer event;
    event.endpoint = 0x82;
    event.buffer = room.data();
    event.length = room.size();
    event.context = &completions;
    event.completed = [](usb::Transfer& transfer) { ++*static_cast<int*>(transfer.context); };
    ASSERT_EQ(m_Handle->Submit(event), Result::Ok);
    ASSERT_EQ(Command("55335643 0040 0208 0C00 0100  0000030000000000 01000000"), Result::Ok); // enable events
    ASSERT_EQ(Command("55335643 0040 0208 0C00 0200  0800030000000000 01000000"), Result::Ok); // send one
    while (completions == 0)
        ASSERT_EQ(m_Handle->HandleEvents(10000), Result::Ok);
    EXPECT_EQ(event.status, usb::TransferStatus::Completed);
    EXPECT_EQ(event.actualLength, 24u);
    ASSERT_EQ(m_Handle->Submit(event), Result::Ok);
    EXPECT_EQ(m_Handle->Cancel(event), Result::Ok);
    while (completions == 1)
        ASSERT_EQ(m_Handle->HandleEvents(10000), Result::Ok);
    EXPECT_EQ(event.status, usb::TransferStatus::Cancelled);
    m_Handle->Forget(event);
    EXPECT_EQ(event.backendData, nullptr);
    EXPECT_EQ(m_Handle->Cancel(event), Result::NotFound);
    const auto packets = PacketsOf(0x82);
    ASSERT_EQ(packets.size(), 4u);
    EXPECT_EQ(packets[0].Id(), packets[1].Id());
    EXPECT_EQ(packets[1].Data(), Bytes(room.begin(), room.begin() + 24));
    EXPECT_EQ(packets[3].Status(), -2);
}

/// A bus whose one device knows only how to select a configuration.
class Selecting : public usb::Handle {
public:
    Result Claim(std::uint8_t) override { return Result::Other; }
    Result Release(std::uint8_t) override { return Result::Other; }
    Result SelectConfiguration(std::uint8_t value) override { return value == 2 ? Result::Ok : Result::NotFound; }
    Result Control(const usb::ControlSetup&, std::uint8_t*, std::size_t&, unsigned int) override {
        return Result::Other;
    }
    Result Bulk(std::uint8_t, std::uint8_t*, std::size_t, std::size_t&, unsigned int) override { return Result::Other; }
    Result Submit(usb::Transfer&) override { return Result::Other; }
    Result Cancel(usb::Transfer&) override { return Result::Other; }
    void Forget(usb::Transfer&) override {}
    Result HandleEvents(unsigned int) override { return Result::Other; }
    void WakeEvents() override {}
    Result ClearHalt(std::uint8_t) override { return Result::Other; }
    Result Reset() override { return Result::Other; }
    std::string ReadString(std::uint8_t) override { return {}; }
};

TEST_F(TraceTest, ShowsTheChoiceOfAConfiguration) {
    usb::TracedHandle handle(std::make_unique<Selecting>(), m_Trace, {});
    EXPECT_EQ(handle.SelectConfiguration(2), Result::Ok);
    EXPECT_EQ(handle.SelectConfiguration(3), Result::NotFound);
    m_Trace->Flush();
    const auto packets = Packets();
    ASSERT_EQ(packets.size(), 4u);
    EXPECT_EQ(Bytes(packets[0].bytes.begin() + 40, packets[0].bytes.begin() + 48), Hex("00 09 0200 0000 0000"));
    EXPECT_EQ(packets[1].Status(), 0);
    EXPECT_EQ(packets[3].Status(), -71);
}

/// One that takes what it is sent, and answers a request with its own number in each byte.
class Answering final : public Selecting {
public:
    Result Control(const usb::ControlSetup& setup, std::uint8_t* data, std::size_t& actual, unsigned int) override {
        actual = setup.length;
        if ((setup.requestType & usb::kDirectionIn) != 0) std::fill_n(data, actual, setup.request);
        return Result::Ok;
    }
};

TEST_F(TraceTest, ShowsTheDataOfAControlTransferWhereItTravels) {
    usb::TracedHandle handle(std::make_unique<Answering>(), m_Trace, {});
    Bytes sent = Hex("01020304"), received(3);
    std::size_t actual = 0;
    EXPECT_EQ(handle.Control({0x40, 7, 0, 0, 4}, sent.data(), actual, 1000), Result::Ok);
    EXPECT_EQ(handle.Control({0xC0, 9, 0, 0, 3}, received.data(), actual, 1000), Result::Ok);
    m_Trace->Flush();
    const auto packets = Packets();
    ASSERT_EQ(packets.size(), 4u);
    EXPECT_EQ(packets[0].Data(), sent);
    EXPECT_TRUE(packets[1].Data().empty());
    EXPECT_EQ(packets[1].bytes[15], '>') << "nothing comes back";
    EXPECT_TRUE(packets[2].Data().empty());
    EXPECT_EQ(packets[2].bytes[15], '<');
    EXPECT_EQ(packets[3].Data(), Hex("090909"));
}

TEST_F(TracedBusTest, ShowsASubmissionThatWasRefusedAsEndedAtOnce) {
    usb::Transfer stream;
    Bytes room(64);
    stream.endpoint = 0x83; // its interface is not claimed
    stream.buffer = room.data();
    stream.length = room.size();
    stream.completed = [](usb::Transfer&) { ADD_FAILURE() << "it was never queued"; };
    EXPECT_EQ(m_Handle->Submit(stream), Result::NotFound);
    m_Handle->Forget(stream);
    const auto packets = PacketsOf(0x83);
    ASSERT_EQ(packets.size(), 2u);
    EXPECT_EQ(packets[1].Event(), 'C');
    EXPECT_EQ(packets[1].Status(), -71);
}

TEST_F(TracedBusTest, ShowsTheDescriptorsBeforeAnythingElseIsAsked) {
    EXPECT_EQ(Packets().size(), 4u) << "they are in the file at once";
}

/// A bus with a device of two configurations.
class TwoConfigurations final : public usb::Backend {
public:
    explicit TwoConfigurations(Result listed) : m_Listed(listed) {}

    const char* Name() const override { return "two"; }
    Result Enumerate(std::vector<usb::DeviceEntry>& devices) override {
        usb::DeviceEntry entry;
        entry.id = "1-1";
        entry.device = Hex("1201");
        entry.configurations = {Hex("0902"), Hex("090202")};
        devices.push_back(entry);
        return m_Listed;
    }
    Result Open(const std::string&, std::unique_ptr<usb::Handle>&) override { return Result::NotFound; }
    std::uint64_t RegisterHotplug(usb::HotplugHandler) override { return 0; }
    void DeregisterHotplug(std::uint64_t) override {}

private:
    const Result m_Listed;
};

TEST_F(TraceTest, NumbersTheConfigurationsThatItShows) {
    std::vector<usb::DeviceEntry> devices;
    EXPECT_EQ(usb::Traced(std::make_unique<TwoConfigurations>(Result::Ok), m_Trace)->Enumerate(devices), Result::Ok);
    const auto packets = Packets();
    ASSERT_EQ(packets.size(), 6u);
    EXPECT_EQ(Number<std::uint16_t>(packets[2].bytes, 42), 0x0200);
    EXPECT_EQ(Number<std::uint16_t>(packets[4].bytes, 42), 0x0201);
    EXPECT_EQ(packets[5].Data(), Hex("090202"));
}

TEST_F(TraceTest, PassesOnThatABusCannotBeListed) {
    std::vector<usb::DeviceEntry> devices;
    EXPECT_EQ(usb::Traced(std::make_unique<TwoConfigurations>(Result::Io), m_Trace)->Enumerate(devices), Result::Io);
}

/// One that gets some bytes and then nothing more.
class HalfAnswering final : public Selecting {
public:
    Result Control(const usb::ControlSetup&, std::uint8_t* data, std::size_t& actual, unsigned int) override {
        actual = 2;
        std::fill_n(data, actual, std::uint8_t{7});
        return Result::Timeout;
    }
};

TEST_F(TraceTest, ShowsNoDataOfAControlTransferThatFailed) {
    usb::TracedHandle handle(std::make_unique<HalfAnswering>(), m_Trace, {});
    Bytes received(4);
    std::size_t actual = 0;
    EXPECT_EQ(handle.Control({0xC0, 9, 0, 0, 4}, received.data(), actual, 1000), Result::Timeout);
    m_Trace->Flush();
    const auto packets = Packets();
    ASSERT_EQ(packets.size(), 2u);
    EXPECT_EQ(packets[1].Status(), -2);
    EXPECT_TRUE(packets[1].Data().empty());
}

TEST_F(TraceTest, HasMovedNothingOfWhichABusSaysNothing) {
    usb::TracedHandle handle(std::make_unique<Selecting>(), m_Trace, {});
    Bytes room(64);
    std::size_t actual = 5;
    EXPECT_EQ(handle.Bulk(0x81, room.data(), room.size(), actual, 1000), Result::Other);
    EXPECT_EQ(actual, 0u);
    m_Trace->Flush();
    EXPECT_TRUE(Packets().at(1).Data().empty());
}

TEST_F(TraceTest, SaysOnceThatItIsNotWhole) {
    const auto previous = std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    Bytes message = Hex("5533564C");
    message.resize(5000);
    CaptureRecord record;
    record.length = record.captured = message.size();
    record.data = message.data();
    testing::internal::CaptureStderr();
    rlimit limit = before;
    limit.rlim_cur = 4096;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
    for (int i = 0; i < 3; ++i) {
        m_Trace->Append(record);
        m_Trace->Flush();
    }
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, previous);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "TAVIX_TRACE: the trace in " + m_Path + " is not whole: File too large\n");
}

using TraceOfTheEnvironment = TraceTest;

TEST_F(TraceOfTheEnvironment, IsNoneForAnEmptyName) {
    const auto ask = [] {
        setenv("TAVIX_TRACE", "", 1);
        _exit(usb::TraceFile::OfEnvironment() == nullptr ? 7 : 1);
    };
    EXPECT_EXIT(ask(), testing::ExitedWithCode(7), testing::Eq(std::string()));
}

TEST_F(TraceOfTheEnvironment, KeepsSixtyFourBytesOfATransferForAnEmptyNumber) {
    m_Trace.reset();
    const auto write = [this] {
        setenv("TAVIX_TRACE", m_Path.c_str(), 1);
        setenv("TAVIX_TRACE_PAYLOAD", "", 1);
        const Bytes payload(4096, 0x44);
        CaptureRecord record;
        record.endpoint = 0x83;
        record.length = record.captured = payload.size();
        record.data = payload.data();
        usb::TraceFile::OfEnvironment()->Append(record);
        usb::TraceFile::OfEnvironment()->Flush();
        _exit(7);
    };
    EXPECT_EXIT(write(), testing::ExitedWithCode(7), testing::Eq(std::string()));
    EXPECT_EQ(Packets().at(0).Data(), Bytes(64, 0x44));
}

} // namespace
