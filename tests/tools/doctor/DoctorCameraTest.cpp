// What the examination finds of the cameras that are plugged in.

#include "DoctorTest.h"

namespace {

using namespace doctortest;

TEST(Doctor, NamesTheNodeThatMayNotBeOpened) {
    const FakeSystem system;
    FakeCamera camera;
    camera.isOpenToAll = false;
    system.Add(camera);
    ExpectProblem(Said(system, "permission"), "no permission for /dev/bus/usb/002/009",
                  "sudo setfacl --modify user:$USER:rw /dev/bus/usb/002/009");
    system.Remove("/etc");
    ExpectProblem(Said(system, "permission"), "no permission for /dev/bus/usb/002/009", kInstallRule);
}

TEST(Doctor, NamesTheGroupThatTheRuleLetsIn) {
    const FakeSystem system;
    FakeCamera camera;
    camera.isOpenToAll = false;
    system.Add(camera);
    system.Write("/etc/udev/rules.d/70-tavix-usb3vision.rules", UdevRule());
    ExpectProblem(Said(system, "permission"),
                  "at the machine itself when a camera is plugged in, and to the group plugdev",
                  "sudo adduser $USER plugdev");
}

TEST(Doctor, MissesTheNodeOfACamera) {
    const FakeSystem system;
    system.Add({});
    system.Remove("/dev/bus/usb/002");
    ExpectProblem(Said(system, "permission"), "/dev/bus/usb/002/009 is missing",
                  "sudo udevadm trigger --subsystem-match=usb --action=add");
}

TEST(Doctor, NamesTheKernelDriverThatHoldsACamera) {
    const FakeSystem system;
    FakeCamera camera;
    camera.driver = "uvcvideo";
    system.Add(camera);
    ExpectProblem(Said(system, "driver"), "uvcvideo holds it",
                  "echo 2-1:1.0 | sudo tee /sys/bus/usb/drivers/uvcvideo/unbind");
}

TEST(Doctor, NotesThatAProgramHasACameraOpen) {
    const FakeSystem system;
    FakeCamera camera;
    camera.driver = "usbfs";
    system.Add(camera);
    EXPECT_EQ(Said(system, "in-use").severity, Severity::Note);
    EXPECT_EQ(Said(system, "in-use").command, "sudo fuser --verbose /dev/bus/usb/002/009");
    EXPECT_EQ(Said(system, "driver").id, "");
}

TEST(Doctor, TellsCamerasApartThatAreCalledAlike) {
    const FakeSystem system;
    FakeCamera camera;
    system.Add(camera);
    camera.port = "3-1";
    camera.isOpenToAll = false;
    system.Add(camera);
    Patient patient = Examined(system);
    patient.demands = {Demand("2-1", 0)};
    patient.demands[0].failure = "does not answer";
    const Findings findings = Examine(patient);
    EXPECT_EQ(Said(findings, "permission").about, "VC-1300 (1) at 3-1");
    EXPECT_EQ(Said(findings, "opening").text, "does not answer"); // which the other's permission does not explain
}

TEST(Doctor, WarnsOfAutosuspend) {
    const FakeSystem system;
    FakeCamera camera;
    camera.port = "2-1.4";
    camera.power = "auto";
    system.Add(camera);
    ExpectProblem(Said(system, "autosuspend"), "power savers set this",
                  "echo on | sudo tee /sys/bus/usb/devices/2-1.4/power/control");
}

TEST(Doctor, ComparesTheLinkWithWhatTheCameraSupports) {
    struct Case {
        int speed, supported;
        Severity severity;
        const char* text;
    };
    for (const Case& one :
         {Case{5000, 0x0C, Severity::Good, "connected with 5 Gbit/s"},
          Case{480, 0x0C, Severity::Problem, "480 Mbit/s of 5 Gbit/s; use a USB 3 port"},
          Case{5000, 0x1C, Severity::Note, "5 Gbit/s of 10 Gbit/s"}, Case{10000, 0x1C, Severity::Good, "10 Gbit/s"},
          Case{480, 0x04, Severity::Good, "480 Mbit/s"}, // a camera that knows no more
          Case{480, 0, Severity::Problem, "480 Mbit/s of 5 Gbit/s"},
          Case{12, 0x0C, Severity::Problem, "12 Mbit/s of 5 Gbit/s"}}) {
        const FakeSystem system;
        FakeCamera camera;
        camera.speed = one.speed;
        camera.supported = one.supported;
        system.Add(camera);
        EXPECT_EQ(Said(system, "link-speed").severity, one.severity) << one.text;
        EXPECT_THAT(Said(system, "link-speed").text, HasSubstr(one.text));
    }
}

TEST(Doctor, SurvivesDescriptorsCutAnywhere) {
    const FakeSystem system;
    system.Add({});
    const std::string path = "/sys/bus/usb/devices/2-1/descriptors";
    const std::string whole = *SystemFiles(system.Root()).Text(path);
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        system.Write(path, whole.substr(0, length));
        const auto cameras = FindUsbCameras(SystemFiles(system.Root()));
        ASSERT_EQ(cameras.size(), 1u);
        EXPECT_EQ(cameras[0].bestSpeed, length == whole.size() ? 5000 : 0) << length;
    }
}

TEST(Doctor, NamesTheHubThatMakesALinkSlow) {
    const FakeSystem system;
    system.AddHub("1-1", 480);
    FakeCamera camera;
    camera.port = "1-1.4";
    camera.speed = 480;
    system.Add(camera);
    EXPECT_EQ(Said(system, "link-speed").severity, Severity::Problem);
    EXPECT_THAT(Said(system, "link-speed").text, HasSubstr("the hub at 1-1 (Four Ports) has no more"));
}

TEST(Doctor, BlamesNoHubThatIsFasterThanTheLink) {
    const FakeSystem system;
    system.AddHub("1-1", 480);
    FakeCamera camera;
    camera.port = "1-1.4";
    camera.speed = 12;
    system.Add(camera);
    EXPECT_THAT(Said(system, "link-speed").text, HasSubstr("12 Mbit/s of 5 Gbit/s; use a USB 3 port"));
}

TEST(Doctor, NotesTheHubsAboveACamera) {
    const FakeSystem system;
    system.AddHub("2-1", 5000);
    system.AddHub("2-1.4", 5000, "80");
    FakeCamera camera;
    camera.port = "2-1.4.3";
    system.Add(camera);
    Findings hubs;
    for (const Finding& finding : Examine(Examined(system))) {
        if (finding.id == "hub") hubs.push_back(finding);
    }
    ASSERT_EQ(hubs.size(), 2u);
    EXPECT_THAT(hubs[0].text, HasSubstr("behind the hub at 2-1 (Four Ports), whose bandwidth it shares"));
    EXPECT_THAT(hubs[1].text, HasSubstr("2-1.4 (Four Ports), which has no power supply of its own"));
}

/// Two cameras at ports 2-1 and 2-2.
FakeSystem& WithTwoCameras(FakeSystem& system) {
    FakeCamera second;
    second.port = "2-2";
    second.serial = "2";
    system.Add({});
    system.Add(second);
    return system;
}

TEST(Doctor, AddsUpWhatTheCamerasOfAControllerSend) {
    FakeSystem system;
    Patient patient = Examined(WithTwoCameras(system));
    patient.demands = {Demand("2-1", 1000000, 150000000), Demand("2-2", 1000000, 200000000)};
    EXPECT_EQ(Said(Examine(patient), "controller").severity, Severity::Good);
    EXPECT_THAT(Said(Examine(patient), "controller").text,
                HasSubstr("2 cameras share it and send 350 MB/s of about 380"));

    patient.demands[1].bytesPerSecond = 300000000;
    ExpectProblem(
        Said(Examine(patient), "controller"), "set up to send 450 MB/s of about 380 MB/s",
        "tavix set --camera libusb:2-1#0 DeviceLinkThroughputLimitMode=On DeviceLinkThroughputLimit=190000000 && "
        "tavix set --camera libusb:2-2#0 DeviceLinkThroughputLimitMode=On DeviceLinkThroughputLimit=190000000");
    EXPECT_EQ(Said(Examine(patient), "controller").about, "controller 0000:00:14.0");
}

TEST(Doctor, OnlyNotesASharedControllerWhenItCannotAskTheCameras) {
    FakeSystem system;
    EXPECT_EQ(Said(WithTwoCameras(system), "controller").severity, Severity::Note);
}

TEST(Doctor, SaysNothingOfControllersWithOneCameraEach) {
    FakeSystem system;
    system.AddBus("usb4", 5000, "0000:02:00.0");
    FakeCamera other;
    other.port = "4-1";
    system.Add({});
    system.Add(other);
    EXPECT_EQ(Said(system, "controller").id, "");
}

TEST(Doctor, TellsWhyACameraDoesNotOpenUnlessItIsClear) {
    FakeSystem system;
    system.Add({});
    Patient patient = Examined(system);
    patient.demands = {Demand("2-1", 0)};
    patient.demands[0].failure = "cannot open VC-1300 (1): it does not answer";
    ExpectProblem(Said(Examine(patient), "opening"), "it does not answer", "");

    FakeSystem closed;
    FakeCamera camera;
    camera.isOpenToAll = false;
    closed.Add(camera);
    Patient other = Examined(closed);
    other.demands = patient.demands;
    EXPECT_EQ(Said(Examine(other), "opening").id, "");
    EXPECT_EQ(Said(Examine(other), "permission").severity, Severity::Problem);
}

} // namespace
