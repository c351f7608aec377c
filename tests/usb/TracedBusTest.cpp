// That a traced bus behaves as it does without, and what its trace shows.
#include "usb/support/TraceFixture.h"
#include "usb/trace/TracedBackend.h"
#include "usb/trace/TracedHandle.h"

#include "virtualcam/backend/Backend.h"

namespace {

using namespace tracetest;

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

} // namespace
