#include "tavixbase/support/Expect.h"
#include "tavixbase/support/LogRecorder.h"
#include "tavixbase/support/PluginFolder.h"

#include <sys/stat.h>

namespace Tavix {
namespace {

class TlFactoryFailure : public testing::Test {
protected:
    TlFactoryFailure() { fakeCam.Reset(); }
    void AddFakeCam() { folder.Add("libtavixfakecam-1.0.0.so", kFakeCamPlugin); }
    int CountTls() {
        TlInfoList list;
        return factory.EnumerateTls(list);
    }

    const PluginFolder folder;
    FakePluginControl& fakeCam = ControlOf(kFakeCamPlugin);
    CTlFactory& factory = CTlFactory::GetInstance();
    LogRecorder log{"tavix.base.Factory"};
};

} // namespace

TEST_F(TlFactoryFailure, LogsALibraryThatIsNoneOnceWhenItIsMerelyFound) {
    AddFakeCam();
    const std::string path = folder.AddText("libtavixaaa-1.0.0.so");
    EXPECT_EQ(CountTls(), 1);
    EXPECT_EQ(CountTls(), 1);
    EXPECT_EQ(log.Count(256, path), 1);
}

TEST_F(TlFactoryFailure, UsesTheWorkingLibraryBehindABrokenOneOfThatName) {
    const std::string broken = folder.AddText("libtavixfakecam-1.0.0.so");
    const PluginFolder second(&folder);
    const std::string good = second.Add("libtavixfakecam-1.0.0.so", kFakeCamPlugin);
    TlInfoList list;
    ASSERT_EQ(factory.EnumerateTls(list), 1);
    EXPECT_EQ(list.front().GetFileName(), good);
    EXPECT_TRUE(log.HasLineWith(256, broken)) << "whoever put it there wants to know";
    factory.ReleaseTl(factory.CreateTl("FakeCam"));
    EXPECT_EQ(fakeCam.destructions, 1);
}

TEST_F(TlFactoryFailure, UsesTheWorkingLibraryBehindOneThatThrows) {
    AddFakeCam();
    const PluginFolder second(&folder);
    second.Add("libtavixfakecam-1.0.0.so", kOtherCamPlugin);
    fakeCam.failsInGetTLInfoList = FakeFailure::GenICam;
    TlInfoList list;
    ASSERT_EQ(factory.EnumerateTls(list), 1);
    EXPECT_EQ(list.front().GetDeviceClass(), "OtherCam");
}

TEST_F(TlFactoryFailure, DoesNotWaitForAPipe) {
    ASSERT_EQ(mkfifo(folder.Path("libtavixpipe-1.0.0.so").c_str(), 0600), 0);
    AddFakeCam();
    EXPECT_EQ(CountTls(), 1);
    EXPECT_TRUE(log.HasLineWith(256, "libtavixpipe-1.0.0.so': not a regular file"));
}

TEST_F(TlFactoryFailure, NamesFileAndReasonOfALibraryThatIsNone) {
    const std::string path = folder.AddText("libtavixaaa-1.0.0.so");
    EXPECT_THROW_PARTS(RuntimeException, factory.CreateTl(CTlInfo().SetFileName(path.c_str())), path, "file too short");
    EXPECT_THROW_PARTS(RuntimeException, factory.CreateTl(CTlInfo().SetFileName("libtavixaaa-1.0.0.so")), path,
                       "file too short");
}

TEST_F(TlFactoryFailure, NamesTheFileThatMayHoldAClassNobodyElseOffers) {
    AddFakeCam();
    const std::string path = folder.AddText("libtavixaaa-1.0.0.so");
    EXPECT_THROW_PARTS(RuntimeException, factory.CreateTl("AaaCam"), path, "file too short");
    factory.ReleaseTl(factory.CreateTl("FakeCam"));
}

TEST_F(TlFactoryFailure, NamesAMissingFile) {
    EXPECT_THROW_PARTS(RuntimeException, factory.CreateTl(CTlInfo().SetFileName("/no/libtavixa-1.0.0.so")),
                       "/no/libtavixa-1.0.0.so", "No such file or directory");
    EXPECT_THROW_TEXT(RuntimeException, factory.CreateTl(CTlInfo().SetFileName("libtavixa-1.0.0.so")),
                      "Transport layer library 'libtavixa-1.0.0.so': no such file in the folders of TAVIX_TL_PATH or "
                      "beside the SDK's own library");
}

TEST_F(TlFactoryFailure, NamesAMissingSymbol) {
    const std::string path = folder.Add("libtavixincomplete-1.0.0.so", kIncompletePlugin);
    EXPECT_THROW_TEXT(RuntimeException, factory.CreateTl(CTlInfo().SetFileName(path.c_str())),
                      ("Transport layer library '" + path + "': symbol 'Destroy' is missing").c_str());
    EXPECT_EQ(CountTls(), 0);
    EXPECT_TRUE(log.Has(256, "Transport layer library '" + path + "': symbol 'Destroy' is missing"));
}

TEST_F(TlFactoryFailure, TriesAgainOnceTheFileHasChanged) {
    const std::string path = folder.AddText("libtavixfakecam-1.0.0.so");
    EXPECT_EQ(CountTls(), 0);
    std::filesystem::remove(path);
    AddFakeCam();
    EXPECT_EQ(CountTls(), 1);
}

TEST_F(TlFactoryFailure, ReportsWhateverAnEntryFunctionThrows) {
    AddFakeCam();
    const std::string file = "Transport layer library '" + folder.Path("libtavixfakecam-1.0.0.so") + "': ";
    fakeCam.failsInGetTLInfoList = FakeFailure::GenICam;
    EXPECT_THROW_TEXT(RuntimeException, factory.CreateTl("FakeCam"),
                      (file + "GetTLInfoList failed: the bus is closed").c_str());
    EXPECT_TRUE(log.Has(256, file + "GetTLInfoList failed: the bus is closed"));
    fakeCam.failsInGetTLInfoList = FakeFailure::None;
    fakeCam.failsInCreate = FakeFailure::Standard;
    EXPECT_THROW_TEXT(RuntimeException, factory.CreateTl("FakeCam"),
                      (file + "Create failed: the memory is full").c_str());
    fakeCam.failsInCreate = FakeFailure::Text;
    EXPECT_THROW_TEXT(RuntimeException, factory.CreateTl("FakeCam"),
                      (file + "Create failed: unknown exception").c_str());
    fakeCam.failsInCreate = FakeFailure::None;
    factory.ReleaseTl(factory.CreateTl("FakeCam"));
    EXPECT_EQ(fakeCam.destructions, 1);
}

TEST_F(TlFactoryFailure, LeavesALibraryThatThrowsOutOfTheList) {
    AddFakeCam();
    fakeCam.failsInGetTLInfoList = FakeFailure::Text;
    EXPECT_EQ(CountTls(), 0);
    EXPECT_TRUE(log.HasLineWith(256, "GetTLInfoList failed: unknown exception"));
}

TEST_F(TlFactoryFailure, LeavesALibraryThatOffersNothingOutOfTheList) {
    AddFakeCam();
    fakeCam.offersNothing = true;
    EXPECT_EQ(CountTls(), 0);
    EXPECT_TRUE(log.Lines().empty());
}

TEST_F(TlFactoryFailure, ReportsALibraryThatRefusesItsOwnOffer) {
    AddFakeCam();
    fakeCam.createsNull = true;
    EXPECT_THROW_PARTS(RuntimeException, factory.CreateTl("FakeCam"), "libtavixfakecam-1.0.0.so",
                       "Create refuses the transport layer 'Fake/FakeCam' that it offers itself");
}

TEST_F(TlFactoryFailure, LogsAFailureToDestroyAndForgetsTheTransportLayer) {
    AddFakeCam();
    fakeCam.failsInDestroy = FakeFailure::GenICam;
    factory.ReleaseTl(factory.CreateTl("FakeCam"));
    EXPECT_TRUE(log.HasLineWith(256, "Destroy failed: the bus is closed"));
    fakeCam.failsInDestroy = FakeFailure::None;
    factory.ReleaseTl(factory.CreateTl("FakeCam"));
    EXPECT_EQ(fakeCam.creations, 2);
}

TEST_F(TlFactoryFailure, ListsNothingInAnEmptyFolder) {
    DeviceInfoList devices;
    EXPECT_EQ(CountTls(), 0);
    EXPECT_EQ(factory.EnumerateDevices(devices), 0);
    EXPECT_THROW_TEXT(RuntimeException, factory.CreateFirstDevice(), "No transport layer found.");
}

} // namespace Tavix
