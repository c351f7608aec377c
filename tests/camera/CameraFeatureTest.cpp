#include "camera/CameraTest.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <sstream>
#include <string_view>
#include <thread>

namespace {

using namespace cameratest;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

class FeatureOfCamera : public testing::Test {
protected:
    VirtualBus bus{R"([{"serial": "7"}])"};
    Tavix::Camera camera = Tavix::Camera::Open();
};

TEST_F(FeatureOfCamera, IsWrittenAndReadInItsType) {
    camera["ExposureTime"] = 5000.0;
    camera["Width"] = 640;
    camera["PixelFormat"] = "Mono8";
    camera["AcquisitionFrameRateEnable"] = true;
    EXPECT_EQ(camera["ExposureTime"].Float(), 5000.0);
    EXPECT_EQ(int(camera["Width"]), 640);
    EXPECT_EQ(camera["PixelFormat"].Text(), "Mono8");
    EXPECT_TRUE(camera["AcquisitionFrameRateEnable"].Bool());
}

TEST_F(FeatureOfCamera, IsComparedWithTextWrittenFromAViewAndPrinted) {
    camera["PixelFormat"] = std::string_view("Mono12 of many").substr(0, 6);
    EXPECT_TRUE(camera["PixelFormat"] == "Mono12");
    EXPECT_TRUE(camera["PixelFormat"] == std::string("Mono12"));
    EXPECT_TRUE(camera["PixelFormat"] != "Mono8");
    std::ostringstream out;
    out << camera["PixelFormat"];
    EXPECT_EQ(out.str(), "Mono12");
}

TEST(ValueThatWasRead, BecomesTheTypeThatIsAskedFor) {
    const double number = Tavix::Value(2.5);
    const std::uint8_t byte = Tavix::Value(std::int64_t(255));
    const std::string text = Tavix::Value(true);
    EXPECT_EQ(number, 2.5);
    EXPECT_EQ(byte, 255);
    EXPECT_EQ(text, Tavix::Value(true).Text());
    EXPECT_THROW(static_cast<void>(static_cast<std::uint8_t>(Tavix::Value(std::int64_t(256)))), Tavix::ValueError);
    std::ostringstream out;
    out << Tavix::Value(std::int64_t(7));
    EXPECT_EQ(out.str(), "7");
}

TEST_F(FeatureOfCamera, OfANameInOtherLettersIsThatOneAlone) {
    EXPECT_THAT(ErrorOf<Tavix::NotFound>([&] { camera["width"]; }), HasSubstr("did you mean Width?"));
}

TEST_F(FeatureOfCamera, IsFoundForANameWithSwappedLettersOrUnderscores) {
    EXPECT_THAT(ErrorOf<Tavix::NotFound>([&] { camera["Widht"]; }), HasSubstr("did you mean Width?"));
    EXPECT_THAT(ErrorOf<Tavix::NotFound>([&] { camera["Gian"]; }), HasSubstr("did you mean Gain"));
    EXPECT_THAT(ErrorOf<Tavix::NotFound>([&] { camera["exposure_time"]; }), HasSubstr("did you mean ExposureTime?"));
}

TEST_F(FeatureOfCamera, OfANameBetweenSeveralIsOneOfThem) {
    EXPECT_THAT(ErrorOf<Tavix::NotFound>([&] { camera["OffsetZ"]; }), HasSubstr("did you mean OffsetX or OffsetY?"));
}

TEST_F(FeatureOfCamera, TellsItsLimitsWithoutWhatAComputationLeftBehind) {
    EXPECT_THAT(ErrorOf<Tavix::ValueError>([&] { camera["ExposureTime"] = 1.0; }),
                HasSubstr("; it takes 10 .. 10000000 step 0.1"));
    EXPECT_THAT(ErrorOf<Tavix::ValueError>([&] { camera["ExposureTime"] = 1.0; }), Not(HasSubstr("0.1000")));
}

TEST_F(FeatureOfCamera, TakesAWholeNumberForAFloat) {
    camera["ExposureTime"] = 7000;
    const double read = camera["ExposureTime"];
    EXPECT_EQ(read, 7000.0);
}

TEST_F(FeatureOfCamera, DoesNotRoundAFloatToAWholeNumber) {
    ErrorOf<Tavix::ValueError>([&] { camera["Width"] = 640.0; });
    ErrorOf<Tavix::ValueError>([&] { camera["Width"].Text(), camera["PixelFormat"] = 3; });
}

TEST_F(FeatureOfCamera, WithANulCharacterInItsNameIsAnotherOne) {
    const std::string name("Width\0x", 7);
    EXPECT_FALSE(camera.HasFeature(name));
    EXPECT_THAT(ErrorOf<Tavix::NotFound>([&] { camera[name]; }), HasSubstr("'Width?x'"));
}

TEST_F(FeatureOfCamera, TakesNoTextThatWouldBeCutOff) {
    const std::string text("left\0right", 10);
    EXPECT_THAT(ErrorOf<Tavix::ValueError>([&] { camera["DeviceUserID"] = text; }), HasSubstr("NUL"));
    EXPECT_EQ(camera["DeviceUserID"].Text(), "");
}

TEST_F(FeatureOfCamera, ThatIsACommandSaysSoWhoeverAssignsToIt) {
    EXPECT_THAT(ErrorOf<Tavix::ValueError>([&] { camera["TriggerSoftware"] = 1; }), HasSubstr("it is a command"));
    EXPECT_THAT(ErrorOf<Tavix::ValueError>([&] { camera["TriggerSoftware"] = 1.0; }), HasSubstr("it is a command"));
    EXPECT_THAT(ErrorOf<Tavix::ValueError>([&] { camera["TriggerSoftware"] = true; }), HasSubstr("it is a command"));
    EXPECT_THAT(ErrorOf<Tavix::ValueError>([&] { camera["TriggerSoftware"] = "1"; }), HasSubstr("it is a command"));
}

TEST_F(FeatureOfCamera, NamesFeatureValueAndLimitsWhenAValueIsRefused) {
    const std::string text = ErrorOf<Tavix::ValueError>([&] { camera["Width"] = 5000; });
    EXPECT_THAT(text, HasSubstr("Width of VC-1300 (7)"));
    EXPECT_THAT(text, HasSubstr("5000"));
    EXPECT_THAT(text, HasSubstr("; it takes 16 .. 1280 step 4"));
    EXPECT_THAT(ErrorOf<Tavix::ValueError>([&] { camera["PixelFormat"] = "Mono9"; }), HasSubstr("Mono8, "));
}

TEST_F(FeatureOfCamera, SaysWhyItCannotBeWritten) {
    camera["ExposureAuto"] = "Continuous";
    Tavix::Feature exposure = camera["ExposureTime"];
    EXPECT_FALSE(exposure.IsWritable());
    EXPECT_THAT(exposure.WhyNot(), HasSubstr("ExposureIsAuto"));
    EXPECT_THAT(ErrorOf<Tavix::AccessError>([&] { exposure = 1.0; }), HasSubstr("ExposureIsAuto"));
}

TEST_F(FeatureOfCamera, IsSuggestedForAMisspeltName) {
    try {
        camera["ExposureTme"];
        FAIL();
    } catch (const Tavix::NotFound& e) {
        ASSERT_FALSE(e.Suggestions().empty());
        EXPECT_EQ(e.Suggestions().front(), "ExposureTime");
        EXPECT_EQ(e.FeatureName(), "ExposureTme");
        EXPECT_THAT(e.what(), HasSubstr("did you mean ExposureTime"));
    }
}

TEST_F(FeatureOfCamera, TellsItsLimitsUnitAndEntries) {
    EXPECT_EQ(camera["Width"].IntMin(), 16);
    EXPECT_EQ(camera["Width"].IntMax(), 1280);
    EXPECT_EQ(camera["Width"].IntIncrement(), 4);
    EXPECT_EQ(camera["ExposureTime"].Unit(), "us");
    EXPECT_EQ(camera["TriggerMode"].Type(), Tavix::FeatureType::Enumeration);
    EXPECT_THAT(camera["TriggerMode"].Entries(), ElementsAre("Off", "On"));
    ErrorOf<Tavix::ValueError>([&] { camera["TriggerMode"].Min(); });
}

TEST_F(FeatureOfCamera, IsSetToTheNearestValueThatItTakes) {
    EXPECT_EQ(camera["Width"].SetNearest(650.5), 652);
    EXPECT_EQ(camera["Width"].SetNearest(1e9), 1280);
    EXPECT_EQ(camera["ExposureTime"].SetNearest(-1), camera["ExposureTime"].Min());
}

TEST_F(FeatureOfCamera, ExecutesCommandsAndNothingElse) {
    camera["TimestampLatch"].Execute();
    EXPECT_TRUE(camera["TimestampLatch"].IsDone());
    ErrorOf<Tavix::ValueError>([&] { (void)camera["Width"].IsDone(); });
    EXPECT_GT(camera["TimestampLatchValue"].Int(), 0);
    ErrorOf<Tavix::ValueError>([&] { camera["Width"].Execute(); });
    ErrorOf<Tavix::ValueError>([&] { camera["TimestampLatch"] = "now"; });
}

TEST_F(FeatureOfCamera, CopiesTheValueOfAnother) {
    camera["Width"] = 320;
    camera["Height"] = camera["Width"];
    EXPECT_EQ(camera["Height"].Int(), 320);
}

TEST_F(FeatureOfCamera, TellsOfChangesWithoutHoldingALock) {
    int told = 0;
    Tavix::Feature width = camera["Width"];
    width.OnChange([&](const Tavix::Feature& feature) {
        ++told;
        std::thread([&] { EXPECT_EQ(feature.Int(), 320); }).join(); // would never end if a lock were held
    });
    width = 320;
    EXPECT_EQ(told, 1);
}

TEST_F(FeatureOfCamera, TellsOfNoChangeOnceTheSubscriptionHasEnded) {
    int told = 0;
    Tavix::Subscription subscription = camera["Width"].OnChange([&](const Tavix::Feature&) { ++told; });
    subscription.End();
    camera["Width"] = 320;
    EXPECT_EQ(told, 0);
}

TEST_F(FeatureOfCamera, LetsACallbackEndItselfAndThrow) {
    int told = 0;
    Tavix::Subscription subscription;
    subscription = camera["Width"].OnChange([&](const Tavix::Feature&) {
        ++told;
        subscription.End();
        throw std::runtime_error("logged, and nothing else");
    });
    camera["Width"] = 320;
    camera["Width"] = 640;
    EXPECT_EQ(told, 1);
}

TEST_F(FeatureOfCamera, IsListedWithTheOthers) {
    const std::vector<Tavix::Feature> features = camera.Features();
    EXPECT_GT(features.size(), 50U);
    for (const Tavix::Feature& feature : features)
        EXPECT_NE(feature.Type(), Tavix::FeatureType::Category) << feature.Name();
    const std::vector<std::string> names = camera.FeatureNames();
    for (const Tavix::Feature& feature : features)
        EXPECT_EQ(std::count(names.begin(), names.end(), feature.Name()), 1) << feature.Name();
    EXPECT_EQ(std::count(names.begin(), names.end(), "ImageFormatControl"), 0);
    EXPECT_TRUE(camera.HasFeature("Width"));
    EXPECT_FALSE(camera.HasFeature("Wdth"));
    EXPECT_GT(camera["ImageFormatControl"].Children().size(), 3U);
}

} // namespace
