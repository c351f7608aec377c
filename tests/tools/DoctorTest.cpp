// The examination of a system, case by case.

#include "FakeSystem.h"
#include "tools/tavix/doctor/Examination.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace tool;
using testing::HasSubstr;
using tooltest::FakeCamera;
using tooltest::FakeSystem;

Patient Examined(const FakeSystem& system) {
    return Patient{SystemFiles(system.Root())};
}

CameraDemand Demand(const std::string& port, std::uint64_t payload, std::uint64_t rate = 0) {
    CameraDemand demand;
    demand.name = "VC-1300 (1)";
    demand.path = "libusb:" + port + "#0";
    demand.port = port;
    demand.payload = payload;
    demand.transferMemory = std::max<std::uint64_t>(2 * payload, 8u << 20);
    demand.bytesPerSecond = rate;
    return demand;
}

/// What a check says; a finding without an id when it says nothing.
Finding Said(const Findings& findings, const std::string& id) {
    for (const Finding& finding : findings) {
        if (finding.id == id) return finding;
    }
    return {};
}

Finding Said(const FakeSystem& system, const std::string& id) {
    return Said(Examine(Examined(system)), id);
}

void ExpectProblem(const Finding& finding, const std::string& text, const std::string& command) {
    EXPECT_EQ(finding.severity, Severity::Problem) << finding.id << " " << finding.text;
    EXPECT_THAT(finding.text, HasSubstr(text));
    EXPECT_EQ(finding.command, command);
}

TEST(Doctor, FindsNothingWrongWithAMachineThatIsWell) {
    FakeSystem system;
    system.Add({});
    Patient patient = Examined(system);
    patient.libusbVersion = "1.0.26";
    patient.transportLayers = tool::TransportLayers{{"USB"}, {}, {}};
    patient.demands = {Demand("2-1", 1310720)};
    for (const Finding& finding : Examine(patient)) {
        EXPECT_EQ(finding.severity, Severity::Good) << finding.id << ": " << finding.text;
        EXPECT_EQ(finding.command, "");
    }
}

TEST(Doctor, NamesACameraByItsStringsOrByItsPort) {
    FakeSystem system;
    system.Add({});
    EXPECT_EQ(Said(system, "link-speed").about, "VC-1300 (1)");
    FakeCamera silent;
    silent.product = silent.serial = "";
    FakeSystem other;
    other.Add(silent);
    EXPECT_EQ(Said(other, "link-speed").about, "camera at 2-1");
}

TEST(Doctor, NoticesThatNoCameraIsThere) {
    const FakeSystem system;
    EXPECT_EQ(Said(system, "usb").severity, Severity::Note);
    EXPECT_THAT(Said(system, "usb").text, HasSubstr("no USB3 Vision camera"));
}

TEST(Doctor, MissesUsbInTheKernel) {
    const FakeSystem system;
    system.Remove("/sys/bus");
    ExpectProblem(Said(system, "usb"), "knows no USB", "sudo modprobe xhci_pci");
}

TEST(Doctor, MissesTheDeviceNodesOfAContainer) {
    const FakeSystem system;
    system.Add({});
    system.Remove("/dev");
    ExpectProblem(Said(system, "device-nodes"), "container",
                  "docker run --volume /dev/bus/usb:/dev/bus/usb --device-cgroup-rule 'c 189:* rmw' ...");
    EXPECT_EQ(Said(system, "permission").id, "") << "said once is enough";
}

TEST(Doctor, CallsAnOldKernelOld) {
    const FakeSystem system;
    system.Write("/proc/sys/kernel/osrelease", "4.4.0-210-generic");
    ExpectProblem(Said(system, "kernel"), "4.4.0-210-generic is older than 4.6",
                  "sudo apt-get install linux-image-amd64");
    for (const char* release : {"4.6.0", "4.19.0-26", "5.4", "6.18.44-fc", "10.0"}) {
        system.Write("/proc/sys/kernel/osrelease", release);
        EXPECT_EQ(Said(system, "kernel").severity, Severity::Good) << release;
    }
}

TEST(Doctor, CallsAnOldLibusbOld) {
    const FakeSystem system;
    Patient patient = Examined(system);
    patient.libusbVersion = "1.0.23";
    ExpectProblem(Said(Examine(patient), "libusb"), "older than 1.0.24",
                  "sudo apt-get install --only-upgrade libusb-1.0-0");
    patient.libusbVersion = "1.0.24";
    EXPECT_EQ(Said(Examine(patient), "libusb").severity, Severity::Good);
}

TEST(Doctor, NamesTransportLayersThatAreBrokenOrSwitchedOff) {
    const FakeSystem system;
    Patient patient = Examined(system);
    patient.transportLayers = tool::TransportLayers{{"USB"}, {}, {"'/a/libtavixusb-4.0.0.so': invalid ELF header"}};
    ExpectProblem(Said(Examine(patient), "transport-layer"), "/a/libtavixusb-4.0.0.so", "unset TAVIX_TL_PATH");
    patient.transportLayers = tool::TransportLayers{{"USB"}, {"USB"}, {}};
    ExpectProblem(Said(Examine(patient), "transport-layer"), "TAVIX_USE_TL is '', which switches USB off",
                  "unset TAVIX_USE_TL");
}

TEST(Doctor, MissesTheTransportLayer) {
    const FakeSystem system;
    Patient patient = Examined(system);
    patient.transportLayers.emplace();
    ExpectProblem(Said(Examine(patient), "transport-layer"), "none can be loaded", "unset TAVIX_TL_PATH TAVIX_USE_TL");
}

TEST(Doctor, BlamesTheVariableAndNoTransportLayerForWrongVirtualCameras) {
    const FakeSystem system;
    Patient patient = Examined(system);
    patient.transportLayers = tool::TransportLayers{{}, {}, {"it does not load"}, "TAVIX_VIRTUAL_CAMERAS: wrong"};
    std::vector<Finding> said;
    for (const Finding& finding : Examine(patient))
        if (finding.id == "transport-layer") said.push_back(finding);
    ASSERT_EQ(said.size(), 1u);
    ExpectProblem(said.front(), "TAVIX_VIRTUAL_CAMERAS: wrong", "unset TAVIX_VIRTUAL_CAMERAS");
}

TEST(Doctor, TellsStrangersProducersFromOurs) {
    const FakeSystem system;
    Patient patient = Examined(system);
    patient.producers = tool::GentlProducers{
        "/l/tavix-gentl/libtavixgentl.cti",
        {{"/o/other.cti", false, "crashes with signal 11"}, {"/l/tavix-gentl/libtavixgentl.cti", true, ""}}};
    std::vector<Finding> said;
    for (const Finding& finding : Examine(patient))
        if (finding.id == "gentl-producer") said.push_back(finding);
    ASSERT_EQ(said.size(), 3U);
    EXPECT_EQ(said[0].severity, Severity::Note) << "not ours to mend";
    EXPECT_EQ(said[0].text, "/o/other.cti does not work: crashes with signal 11");
    EXPECT_EQ(said[0].command, "tavix gentl '/o/other.cti'");
    EXPECT_EQ(said[1].severity, Severity::Good);
    EXPECT_EQ(said[2].severity, Severity::Note);
    EXPECT_EQ(said[2].text, "programs that take the first producer get /o/other.cti, not "
                            "/l/tavix-gentl/libtavixgentl.cti");
    patient.producers->checks = {{"/l/tavix-gentl/libtavixgentl.cti", true, "does not come back within 10 s"}};
    ExpectProblem(Said(Examine(patient), "gentl-producer"), "does not come back within 10 s",
                  "tavix gentl '/l/tavix-gentl/libtavixgentl.cti'");
}

TEST(Doctor, MissesNoProducerThatIsNotInstalled) {
    const FakeSystem system;
    Patient patient = Examined(system);
    patient.producers.emplace();
    for (const Finding& finding : Examine(patient))
        EXPECT_NE(finding.id, "gentl-producer") << finding.text;
}

constexpr const char* kRaise = "echo 1000 | sudo tee /sys/module/usbcore/parameters/usbfs_memory_mb";

TEST(Doctor, TellsHowManyBuffersTheKernelMaps) {
    FakeSystem system;
    system.Write("/sys/module/usbcore/parameters/usbfs_memory_mb", "16");
    system.Add({});
    Patient patient = Examined(system);
    patient.demands = {Demand("2-1", 2u << 20)};
    EXPECT_EQ(Said(Examine(patient), "mapped-memory").id, "") << "it was not asked";
    patient.demands[0].mappedBuffers = 4;
    const Finding some = Said(Examine(patient), "mapped-memory");
    EXPECT_EQ(some.severity, Severity::Note);
    EXPECT_THAT(some.text, HasSubstr("4 of the 8 buffers"));
    EXPECT_EQ(some.command, kRaise);
    patient.demands[0].mappedBuffers = 8;
    EXPECT_EQ(Said(Examine(patient), "mapped-memory").severity, Severity::Good);
}

TEST(Doctor, RaisesNoLimitThatIsNotWhyNothingIsMapped) {
    FakeSystem system;
    system.Write("/sys/module/usbcore/parameters/usbfs_memory_mb", "1000");
    system.Add({});
    Patient patient = Examined(system);
    patient.demands = {Demand("2-1", 2u << 20)};
    patient.demands[0].mappedBuffers = 0;
    EXPECT_THAT(Said(Examine(patient), "mapped-memory").text, HasSubstr("0 of the 8 buffers"));
    EXPECT_EQ(Said(Examine(patient), "mapped-memory").command, "");
}

TEST(Doctor, ComparesTransferMemoryWithWhatTheCamerasWant) {
    FakeSystem system;
    system.Write("/sys/module/usbcore/parameters/usbfs_memory_mb", "16");
    system.Add({});
    Patient patient = Examined(system);
    patient.demands = {Demand("2-1", 6u << 20)}; // two images are 12 MB: just what three quarters are
    EXPECT_EQ(Said(Examine(patient), "transfer-memory").severity, Severity::Good);
    patient.demands = {Demand("2-1", 7u << 20)};
    ExpectProblem(Said(Examine(patient), "transfer-memory"), "16 MB for all USB devices", kRaise);
    EXPECT_THAT(Said(Examine(patient), "transfer-memory").text, HasSubstr("1 camera want 14 MB"));
}

TEST(Doctor, SumsUpWhatAllCamerasWantAndTakesTheUsualForThoseItCannotAsk) {
    FakeSystem system;
    system.Write("/sys/module/usbcore/parameters/usbfs_memory_mb", "16");
    FakeCamera second;
    second.port = "2-2";
    system.Add({});
    system.Add(second);
    ExpectProblem(Said(system, "transfer-memory"), "2 cameras want 16 MB", kRaise);
}

TEST(Doctor, KnowsThatNoLimitIsNone) {
    FakeSystem system;
    system.Write("/sys/module/usbcore/parameters/usbfs_memory_mb", "0");
    system.Add({});
    EXPECT_EQ(Said(system, "transfer-memory").text, "without limit");
    EXPECT_EQ(Said(system, "transfer-memory").severity, Severity::Good);
}

TEST(Doctor, NotesThatPrioritiesMayNotBeRaised) {
    const FakeSystem system;
    system.Write("/proc/self/limits", "Max realtime priority     0                    0\n");
    const Finding finding = Said(system, "real-time");
    EXPECT_EQ(finding.severity, Severity::Note);
    EXPECT_EQ(finding.command, "echo \"$USER - rtprio 99\" | sudo tee /etc/security/limits.d/90-tavix.conf");
    system.Write("/proc/self/status", "Name:\ttavix\nCapEff:\t0000000000800000\n");
    EXPECT_EQ(Said(system, "real-time").severity, Severity::Good) << "the capability stands above the limit";
    system.Write("/proc/self/status", "CapEff:\t000001ffff7fffff\n");
    EXPECT_EQ(Said(system, "real-time").severity, Severity::Note) << "all others are of no use";
}

constexpr const char* kInstallRule =
    "tavix doctor --udev-rule | sudo tee /etc/udev/rules.d/70-tavix-usb3vision.rules >/dev/null && "
    "sudo udevadm control --reload && sudo udevadm trigger --subsystem-match=usb --action=add";

TEST(Doctor, MissesTheUdevRule) {
    const FakeSystem system;
    system.Remove("/etc");
    ExpectProblem(Said(system, "udev-rule"), "only root can open", kInstallRule);
}

TEST(Doctor, OnlyNotesTheMissingRuleWhereTheCamerasOpen) {
    const FakeSystem system;
    system.Remove("/etc");
    system.Add({});
    EXPECT_EQ(Said(system, "udev-rule").severity, Severity::Note);
}

TEST(Doctor, FindsTheRuleWhereverItIsAndWhateverItsName) {
    for (const char* path : {"/usr/lib/udev/rules.d/70-tavix-usb3vision.rules", "/lib/udev/rules.d/40-x.rules",
                             "/run/udev/rules.d/69.rules", "/usr/local/lib/udev/rules.d/60-cameras.rules"}) {
        const FakeSystem system;
        system.Remove("/etc");
        system.Write(path, UdevRule());
        EXPECT_EQ(Said(system, "udev-rule").severity, Severity::Good) << path;
        EXPECT_EQ(Said(system, "udev-rule").text, path);
    }
}

TEST(Doctor, TakesNoCommentForARule) {
    const FakeSystem system;
    system.Write("/etc/udev/rules.d/70-tavix-usb3vision.rules", "# ENV{ID_USB_INTERFACES}==\"*:ef0500:*\"\n");
    EXPECT_EQ(Said(system, "udev-rule").severity, Severity::Problem);
}

TEST(Doctor, CallsARuleTooLateThatComesAfterTheAccessLists) {
    const FakeSystem system;
    system.Remove("/etc");
    system.Write("/etc/udev/rules.d/99-cameras.rules", UdevRule());
    ExpectProblem(Said(system, "udev-rule"), "its number must be below 73",
                  std::string("sudo rm /etc/udev/rules.d/99-cameras.rules && ") + kInstallRule);
}

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
