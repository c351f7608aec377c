// The examination of a system, case by case.

#include "DoctorTest.h"

namespace {

using namespace doctortest;

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

} // namespace
