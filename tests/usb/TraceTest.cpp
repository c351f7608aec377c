// The wire trace: its bytes, what it keeps, and what it says when it cannot.
#include "usb/support/TraceFixture.h"
#include "usb/trace/TracedBackend.h"

#include "virtualcam/backend/Backend.h"

#include <sys/resource.h>

#include <csignal>
#include <cstdlib>

namespace {

using namespace tracetest;

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

TEST_F(TraceTest, KeepsMessagesWholeAndCutsPayload) {
    ASSERT_NE(m_Trace, nullptr);
    Bytes leader = Hex("5533564C"), payload(4096, 0x44);
    leader.resize(52);
    AppendPayload({leader, payload});
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
    AppendPayload({beginning, payload});
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
