#include "camera/CameraTest.h"

#include <gmock/gmock.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace cameratest;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr char kCamera[] = R"([{"serial": "7"}])";

std::string TemporaryPath() {
    char path[] = "/tmp/tavix-settings-XXXXXX";
    close(mkstemp(path));
    return path;
}

TEST(CameraSettings, BringACameraBackToWhatItWas) {
    VirtualBus bus(kCamera);
    Tavix::Camera camera = Tavix::Camera::Open();
    camera["Width"] = 640;
    camera["OffsetX"] = 320;
    camera["ExposureTime"] = 5000.0;
    const Tavix::Settings settings = camera.ReadSettings();
    camera["OffsetX"] = 0;
    camera["Width"] = 1280;
    camera["ExposureTime"] = 100.0;
    EXPECT_THAT(camera.Apply(settings), IsEmpty());
    EXPECT_EQ(camera["Width"].Int(), 640);
    EXPECT_EQ(camera["OffsetX"].Int(), 320);
    EXPECT_THAT(camera.ReadSettings().Compare(settings), IsEmpty());
}

TEST(CameraSettings, AreNotReadFromAFolderOrAnotherKindOfFile) {
    EXPECT_THAT(ErrorOf<Tavix::Error>([] { Tavix::Settings::FromFile("/tmp"); }), HasSubstr("cannot read /tmp"));
    const std::string text = "\x7f"
                             "ELF\xff" +
                             std::string(1000, '\0');
    const std::string told = ErrorOf<Tavix::Error>([&] { Tavix::Settings::FromText(text); });
    EXPECT_THAT(told, HasSubstr("'?ELF???"));
    EXPECT_LT(told.size(), 200U);
}

TEST(CameraSettings, TellWhatCouldNotBeRead) {
    VirtualBus bus(R"([{"serial": "7", "faults": {"control": [{"fault": "Status", "value": 32774, "count": 0,
                        "command": 2048, "address": 1056832}]}}])"); // where it keeps the exposure time
    Tavix::Camera camera = Tavix::Camera::Open();
    std::vector<Tavix::RefusedSetting> unread;
    const Tavix::Settings settings = camera.ReadSettings(&unread);
    ASSERT_EQ(unread.size(), 1U);
    EXPECT_EQ(unread[0].name, "ExposureTime");
    EXPECT_NE(unread[0].reason, "");
    EXPECT_GT(settings.Lines().size(), 80U);
}

TEST(CameraSettings, AreAppliedAgainAsLongAsMoreOfThemSucceed) {
    VirtualBus bus(kCamera);
    Tavix::Camera camera = Tavix::Camera::Open();
    Tavix::Settings settings;
    settings.Add("OffsetX", "320"); // refused until there is room for it
    settings.Add("Width", "640");
    EXPECT_THAT(camera.Apply(settings), IsEmpty());
    EXPECT_EQ(camera["OffsetX"].Int(), 320);
}

TEST(CameraSettings, TellWhatWasRefusedAndWhy) {
    VirtualBus bus(kCamera);
    Tavix::Camera camera = Tavix::Camera::Open();
    Tavix::Settings settings;
    settings.Add("Width", "640");
    settings.Add("Height", "99999");
    settings.Add("Nonsense", "1");
    const auto refused = camera.Apply(settings);
    ASSERT_EQ(refused.size(), 2U);
    EXPECT_EQ(refused[0].name, "Height");
    EXPECT_EQ(refused[0].value, "99999");
    EXPECT_THAT(refused[0].reason, HasSubstr("it takes"));
    EXPECT_THAT(refused[1].reason, HasSubstr("no feature 'Nonsense'"));
    EXPECT_EQ(camera["Width"].Int(), 640);
}

TEST(CameraSettings, AreTheSameFromAFile) {
    const std::string path = TemporaryPath();
    Tavix::Settings settings;
    settings.Add("DeviceUserID", "two\nlines \\ and a slash");
    settings.Add("Width", "640");
    settings.Save(path);
    const Tavix::Settings read = Tavix::Settings::FromFile(path);
    std::remove(path.c_str());
    ASSERT_EQ(read.Lines().size(), 2U);
    EXPECT_EQ(read.Lines()[0].value, "two\nlines \\ and a slash");
    EXPECT_THAT(read.Compare(settings), IsEmpty());
}

TEST(CameraSettings, FollowNoLinkThatSomebodyPlantedBesideTheirFile) {
    const std::string path = TemporaryPath(), victim = TemporaryPath();
    std::ofstream(victim) << "whole";
    ASSERT_EQ(symlink(victim.c_str(), (path + ".part").c_str()), 0);
    Tavix::Settings settings;
    settings.Add("Width", "640");
    settings.Save(path);
    EXPECT_EQ(Tavix::Settings::FromFile(path).Lines().size(), 1U);
    std::string kept;
    std::ifstream(victim) >> kept;
    EXPECT_EQ(kept, "whole");
    for (const std::string& file : {path, victim, path + ".part"})
        std::remove(file.c_str());
}

TEST(CameraSettings, GoIntoAPipeInsteadOfReplacingIt) {
    const std::string path = TemporaryPath() + ".pipe";
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    const int reader = open(path.c_str(), O_RDONLY | O_NONBLOCK);
    ASSERT_GE(reader, 0);
    Tavix::Settings().Save(path);
    EXPECT_TRUE(std::filesystem::is_fifo(path));
    close(reader);
    std::remove(path.c_str());
}

TEST(CameraSettings, CompareByPlaceAndNotByLine) {
    const auto left = Tavix::Settings::FromText("# a comment\nWidth\t640\nGainSelector\tRed\nGain\t1\n"
                                                "GainSelector\tBlue\nGain\t2\n");
    const auto right = Tavix::Settings::FromText("GainSelector\tBlue\nGain\t3\nGainSelector\tRed\nGain\t1\nWidth\t640\n"
                                                 "Height\t480\n");
    const auto differences = left.Compare(right);
    ASSERT_EQ(differences.size(), 3U);
    EXPECT_EQ(differences[0].name, "GainSelector");
    EXPECT_EQ(differences[1].name, "Gain[GainSelector=Blue]");
    EXPECT_EQ(differences[1].left, "2");
    EXPECT_EQ(differences[1].right, "3");
    EXPECT_EQ(differences[2].name, "Height");
    EXPECT_EQ(differences[2].left, "");
}

TEST(CameraSettings, RefuseTextThatIsNone) {
    EXPECT_THAT(ErrorOf<Tavix::Error>([] { Tavix::Settings::FromText("Width 640\n"); }), HasSubstr("'Width 640'"));
    ErrorOf<Tavix::Error>([] { Tavix::Settings::FromFile("/nowhere/at/all"); });
    ErrorOf<Tavix::Error>([] { Tavix::Settings().Save("/nowhere/at/all"); });
}

} // namespace
