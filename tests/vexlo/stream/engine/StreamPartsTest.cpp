// The finder, the trial of sizes and the requests, each without the others.

#include "vexlo/stream/block/PlaceFinder.h"
#include "vexlo/stream/engine/SizeTrial.h"
#include "vexlo/stream/engine/StreamRequests.h"

#include "vexlo/stream/support/Blocks.h"
#include "vexlo/stream/support/FakeCamera.h"
#include "vexlo/stream/support/PacketBus.h"

#include <gtest/gtest.h>

#include <future>
#include <thread>

using namespace streamtest;
using namespace vexlo;

namespace {

using std::chrono::milliseconds;

/// A transfer of 1024 bytes that brought these.
struct Brought {
    explicit Brought(Bytes what, usb::TransferStatus status = usb::TransferStatus::Completed) : bytes(std::move(what)) {
        transfer.usb.actualLength = bytes.size();
        bytes.resize(1024);
        transfer.usb.buffer = bytes.data();
        transfer.usb.length = bytes.size();
        transfer.usb.status = status;
    }
    Bytes bytes;
    PlannedTransfer transfer;
};

class Finding : public testing::Test {
protected:
    Finding() { finder.Begin(PlaceFinder::Place::Lost, 3000); }
    void Read(const Bytes& bytes, usb::TransferStatus status = usb::TransferStatus::Completed) {
        finder.Read(Brought(bytes, status).transfer);
    }
    PlaceFinder::Search Search(const Bytes& bytes) { return finder.SearchIn(Brought(bytes).transfer); }

    PlaceFinder finder{1024};
};

TEST_F(Finding, FindsWholeBlocksAmongWhatWasReaped) {
    Read(Leader(1, 500));
    Read(Pixels(1, 500));
    Read(Trailer(1, 500));
    EXPECT_FALSE(finder.HasFound()) << "before all is read";
    finder.EndReading();
    ASSERT_TRUE(finder.HasFound());
    EXPECT_EQ(finder.Found().payload, Pixels(1, 500));
    EXPECT_EQ(finder.GetPlace(), PlaceFinder::Place::BetweenBlocks);
}

TEST_F(Finding, DoesNotTrustABlockThatAFailedTransferRanThrough) {
    Read(Leader(1, 500));
    Read(Pixels(1, 500), usb::TransferStatus::Error);
    Read(Trailer(1, 500));
    finder.EndReading();
    EXPECT_FALSE(finder.HasFound());
}

TEST_F(Finding, LosesThePlaceWithBytesThatNobodyCanRead) {
    finder.Begin(PlaceFinder::Place::BetweenBlocks, 3000);
    Brought unread(Pixels(1, 500));
    unread.transfer.unread = true;
    finder.Read(unread.transfer);
    EXPECT_EQ(finder.GetPlace(), PlaceFinder::Place::Lost);
}

TEST_F(Finding, SearchesUntilABlockEnds) {
    finder.BeginSearch();
    EXPECT_EQ(Search(Bytes(1024)), PlaceFinder::Search::GoesOn);
    EXPECT_EQ(Search(Trailer(1, 500)), PlaceFinder::Search::Found);
}

TEST_F(Finding, GivesUpAfterThreeBlocksOrAQuarterMebibyte) {
    finder.BeginSearch();
    for (int i = 0; i < 256; ++i)
        ASSERT_EQ(Search(Bytes(1024)), PlaceFinder::Search::GoesOn) << i;
    EXPECT_EQ(Search(Bytes(1024)), PlaceFinder::Search::InVain);
    finder.BeginSearch();
    EXPECT_EQ(Search(Bytes(1024)), PlaceFinder::Search::GoesOn);
}

TEST_F(Finding, CountsEmptyPacketsToo) {
    finder.BeginSearch();
    for (int i = 0; i < 256; ++i)
        ASSERT_EQ(Search({}), PlaceFinder::Search::GoesOn) << i;
    EXPECT_EQ(Search({}), PlaceFinder::Search::InVain);
}

constexpr SizeTrial::Clock::time_point kStart{std::chrono::hours(1)};

u3v::TransferPlan PlanOf(std::uint32_t transfer) {
    return *u3v::MakeTransferPlan({1u << 20, 0, 0, 0, 1024, transfer});
}

/// With transfers of 256 KiB, on a camera that nothing is known of.
class Trial : public testing::Test {
protected:
    Trial() {
        sizes.Use(PlanOf(256u << 10));
        sizes.Start(kStart);
    }

    PacketBus bus{1024};
    FakeCamera camera{bus};
    SizeTrial sizes{camera, milliseconds(0)};
};

TEST_F(Trial, TriesSmallerTransfersAfterThreeBrokenBlocks) {
    sizes.NoteBlock(VX_E_INCOMPLETE);
    sizes.NoteBlock(VX_E_INCOMPLETE);
    EXPECT_EQ(sizes.Wanted(), 0u);
    sizes.NoteBlock(VX_E_INCOMPLETE);
    EXPECT_EQ(sizes.Wanted(), 64u << 10);
    EXPECT_EQ(sizes.Damage(), VX_OK);
    sizes.TookWanted(PlanOf(64u << 10));
    EXPECT_EQ(sizes.Wanted(), 0u);
}

TEST_F(Trial, GivesARefusalAWhileBeforeItAsksForLess) {
    using Refusal = SizeTrial::Refusal;
    EXPECT_EQ(sizes.NoteRefused(kStart, /*mayShrink=*/true), Refusal::Wait);
    EXPECT_EQ(sizes.NoteRefused(kStart + milliseconds(99), /*mayShrink=*/true), Refusal::Wait);
    EXPECT_EQ(sizes.NoteRefused(kStart + milliseconds(100), /*mayShrink=*/true), Refusal::TrySmaller);
    EXPECT_EQ(sizes.Wanted(), 64u << 10);
    EXPECT_EQ(sizes.Damage(), VX_E_USB_NO_MEMORY);
}

TEST_F(Trial, BeginsToCountAnewWhenATransferWasQueued) {
    (void)sizes.NoteRefused(kStart, /*mayShrink=*/true);
    sizes.NoteQueued();
    EXPECT_EQ(sizes.NoteRefused(kStart + milliseconds(150), /*mayShrink=*/true), SizeTrial::Refusal::Wait);
}

TEST_F(Trial, GivesUpWhereTransfersCannotBeSmaller) {
    using Refusal = SizeTrial::Refusal;
    (void)sizes.NoteRefused(kStart, /*mayShrink=*/false);
    EXPECT_EQ(sizes.NoteRefused(kStart + milliseconds(100), /*mayShrink=*/false), Refusal::GiveUp);
    sizes.Use(PlanOf(16u << 10));
    (void)sizes.NoteRefused(kStart, /*mayShrink=*/true);
    EXPECT_EQ(sizes.NoteRefused(kStart + milliseconds(1999), /*mayShrink=*/true), Refusal::Wait);
    EXPECT_EQ(sizes.NoteRefused(kStart + milliseconds(2000), /*mayShrink=*/true), Refusal::GiveUp);
    EXPECT_EQ(sizes.Wanted(), 0u);
}

TEST_F(Trial, AsksForNothingBelowTheSmallestTransfer) {
    sizes.Use(PlanOf(32u << 10));
    (void)sizes.NoteRefused(kStart, /*mayShrink=*/true);
    EXPECT_EQ(sizes.NoteRefused(kStart + milliseconds(100), /*mayShrink=*/true), SizeTrial::Refusal::TrySmaller);
    EXPECT_EQ(sizes.Wanted(), 16u << 10);
}

TEST_F(Trial, HasNothingToTryWhereTransfersAreSmallFromTheBeginning) {
    SizeTrial narrow(camera, milliseconds(100));
    narrow.Use(PlanOf(64u << 10));
    narrow.Start(kStart);
    EXPECT_FALSE(narrow.Listens());
    for (int i = 0; i < 3; ++i)
        narrow.NoteBlock(VX_E_INCOMPLETE);
    EXPECT_EQ(narrow.Wanted(), 0u);
}

TEST(StreamRequests, ServeACancelThatTheWakerLeadsTo) {
    std::promise<void> woken;
    StreamRequests requests([&] { woken.set_value(); });
    EXPECT_FALSE(requests.IsNew());
    std::thread asking([&] { requests.Cancel(); });
    woken.get_future().wait();
    requests.Wait();
    EXPECT_TRUE(requests.IsNew());
    requests.Take();
    EXPECT_FALSE(requests.IsNew());
    EXPECT_FALSE(requests.IsStopping());
    requests.Serve();
    asking.join();
}

TEST(StreamRequests, AreAnsweredWithoutAnybodyToServeThemOnceTheStreamHasEnded) {
    unsigned int wakes = 0;
    StreamRequests requests([&] { ++wakes; });
    requests.Stop();
    EXPECT_TRUE(requests.IsNew());
    requests.Take();
    EXPECT_TRUE(requests.IsStopping());
    requests.End();
    requests.Cancel();
    EXPECT_EQ(wakes, 1u) << "what it wakes may be gone";
}

} // namespace
