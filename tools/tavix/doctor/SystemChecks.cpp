#include "Examination.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <sstream>

namespace tool {
namespace {

constexpr std::uint64_t kMegabyte = 1u << 20;
constexpr std::uint64_t kUsualTransferMemory = 8 * kMegabyte; // of a camera that could not be asked
constexpr const char* kMemoryLimit = "/sys/module/usbcore/parameters/usbfs_memory_mb";

/// Compares "6.1.0-13-amd64" with "4.6" number by number.
bool IsOlder(const std::string& version, std::initializer_list<unsigned long> than) {
    const char* at = version.c_str();
    for (const unsigned long wanted : than) {
        char* end = nullptr;
        const unsigned long have = std::strtoul(at, &end, 10);
        if (have != wanted) return have < wanted;
        at = *end == '.' ? end + 1 : end;
    }
    return false;
}

std::string Megabytes(std::uint64_t bytes) {
    return std::to_string((bytes + kMegabyte - 1) / kMegabyte) + " MB";
}

std::uint64_t TransferMemoryWanted(const Patient& patient) {
    std::uint64_t wanted = 0;
    for (const UsbCamera& camera : patient.cameras) {
        const auto demand = std::find_if(patient.demands.begin(), patient.demands.end(),
                                         [&](const CameraDemand& d) { return d.port == camera.port; });
        const bool isKnown = demand != patient.demands.end() && demand->transferMemory > 0;
        wanted += isKnown ? demand->transferMemory : kUsualTransferMemory;
    }
    return wanted;
}

std::string CameraCount(std::size_t count) {
    return count == 1 ? "1 camera" : std::to_string(count) + " cameras";
}

/// The second of "Max realtime priority     0     0", which is the one in force.
std::int64_t RealTimeLimit(const SystemFiles& files) {
    std::istringstream lines(files.Text("/proc/self/limits").value_or(""));
    const std::string name = "Max realtime priority";
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind(name, 0) == 0) return std::strtoll(line.c_str() + name.size(), nullptr, 10);
    }
    return 0;
}

bool MaySetPriorities(const SystemFiles& files) {
    constexpr unsigned kCapSysNice = 23;
    std::istringstream lines(files.Text("/proc/self/status").value_or(""));
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind("CapEff:", 0) == 0) return std::strtoull(line.c_str() + 7, nullptr, 16) >> kCapSysNice & 1;
    }
    return false;
}

void ExamineNodes(const Patient& patient, Findings& findings) {
    if (patient.files.Exists("/dev/bus/usb")) return;
    findings.push_back({Severity::Problem, "device-nodes", "device nodes",
                        "there is no /dev/bus/usb, as in a container that was started without it",
                        "docker run --volume /dev/bus/usb:/dev/bus/usb --device-cgroup-rule 'c 189:* rmw' ..."});
}

void ExamineTransportLayers(const TransportLayers& layers, Findings& findings) {
    const auto tell = [&](Severity severity, const std::string& text, const char* command) {
        findings.push_back({severity, "transport-layer", "transport layer", text, command});
    };
    if (!layers.virtualCameras.empty())
        return tell(Severity::Problem, layers.virtualCameras, "unset TAVIX_VIRTUAL_CAMERAS");
    for (const std::string& text : layers.broken)
        tell(Severity::Problem, "one cannot be loaded: " + text, "unset TAVIX_TL_PATH");
    if (const std::string text = SwitchedOffText(layers); !text.empty())
        tell(Severity::Problem, text, "unset TAVIX_USE_TL");
    std::string names;
    for (const std::string& name : layers.names)
        names += (names.empty() ? "" : ", ") + name;
    if (!names.empty()) return tell(Severity::Good, names, "");
    tell(Severity::Problem,
         "none can be loaded, so no camera is found: TAVIX_TL_PATH must name the folder of libtavixusb-4.0.0.so, and "
         "TAVIX_USE_TL must not name another one",
         "unset TAVIX_TL_PATH TAVIX_USE_TL");
}

} // namespace

void ExamineKernel(const Patient& patient, Findings& findings) {
    const std::string kernel = patient.files.Text("/proc/sys/kernel/osrelease").value_or("");
    if (IsOlder(kernel, {4, 6})) {
        findings.push_back({Severity::Problem, "kernel", "kernel",
                            "Linux " + (kernel.empty() ? "of an unknown version" : kernel) +
                                " is older than 4.6; USB 3 streams are not reliable with it",
                            "sudo apt-get install linux-image-amd64"});
    } else {
        findings.push_back({Severity::Good, "kernel", "kernel", "Linux " + kernel, ""});
    }
    if (!patient.files.Exists("/sys/bus/usb/devices")) {
        findings.push_back({Severity::Problem, "usb", "USB",
                            "the kernel knows no USB: its drivers are not loaded, or this is a container or a virtual "
                            "machine without it",
                            "sudo modprobe xhci_pci"});
        return;
    }
    findings.push_back({patient.cameras.empty() ? Severity::Note : Severity::Good, "usb", "USB",
                        patient.cameras.empty() ? "no USB3 Vision camera is plugged in; try `tavix --virtual 2 list`"
                                                : CameraCount(patient.cameras.size()) + " plugged in",
                        ""});
    ExamineNodes(patient, findings);
}

void ExamineLibrary(const Patient& patient, Findings& findings) {
    if (!patient.libusbVersion.empty()) {
        const bool isOld = IsOlder(patient.libusbVersion, {1, 0, 24});
        findings.push_back(
            {isOld ? Severity::Problem : Severity::Good, "libusb", "libusb",
             patient.libusbVersion +
                 (isOld ? " is older than 1.0.24 and cannot tell a shortage of memory from a fault" : ""),
             isOld ? "sudo apt-get install --only-upgrade libusb-1.0-0" : ""});
    }
    if (patient.transportLayers) ExamineTransportLayers(*patient.transportLayers, findings);
}

void ExamineTransferMemory(const Patient& patient, Findings& findings) {
    const auto limit = patient.files.Number(kMemoryLimit);
    if (!limit) return; // no USB, which was said before
    Finding finding{Severity::Good, "transfer-memory", "transfer memory", "", ""};
    const std::uint64_t have = static_cast<std::uint64_t>(std::max<std::int64_t>(0, *limit)) * kMegabyte;
    const std::uint64_t wanted = TransferMemoryWanted(patient);
    const std::string demand = CameraCount(patient.cameras.size()) + " want " + Megabytes(wanted);
    if (*limit == 0) {
        finding.text = "without limit";
    } else if (wanted <= have / 4 * 3) { // the library leaves a quarter to others
        finding.text = Megabytes(have) + " for all USB devices" + (wanted > 0 ? ", " + demand : "");
    } else {
        finding.severity = Severity::Problem;
        finding.text = Megabytes(have) + " for all USB devices, of which three quarters are used; " + demand +
                       ". Fewer transfers wait for data then, and frames get lost. The command helps until the next "
                       "start; usbcore.usbfs_memory_mb=1000 on the kernel's command line for good";
        finding.command = kRaiseTransferMemory;
    }
    findings.push_back(std::move(finding));
}

/// Half of the limit may be mapped.
void ExamineMappedMemory(const Patient& patient, Findings& findings) {
    const std::int64_t limit = patient.files.Number(kMemoryLimit).value_or(0);
    for (const CameraDemand& demand : patient.demands) {
        if (!demand.mappedBuffers) continue;
        const std::string all = std::to_string(kUsualBuffers);
        if (*demand.mappedBuffers >= kUsualBuffers) {
            findings.push_back({Severity::Good, "mapped-memory", demand.name,
                                "the kernel maps all " + all + " buffers of a stream: images come without a copy", ""});
            continue;
        }
        const bool isLimit =
            limit > 0 && kUsualBuffers * demand.payload > kMegabyte * static_cast<std::uint64_t>(limit) / 2;
        findings.push_back({Severity::Note, "mapped-memory", demand.name,
                            "the kernel maps " + std::to_string(*demand.mappedBuffers) + " of the " + all +
                                " buffers of a stream; the others are ordinary memory, which it copies images into",
                            isLimit ? kRaiseTransferMemory : ""});
    }
}

void ExamineRealTime(const Patient& patient, Findings& findings) {
    const std::int64_t limit = RealTimeLimit(patient.files);
    if (limit > 0 || MaySetPriorities(patient.files)) {
        findings.push_back({Severity::Good, "real-time", "real-time priority",
                            limit > 0 ? "up to " + std::to_string(limit) : "any, by capability", ""});
        return;
    }
    findings.push_back({Severity::Note, "real-time", "real-time priority",
                        "not allowed, so TransferLoopThreadPriority of a stream has no effect; matters on a busy "
                        "machine only. Log in again after the command",
                        "echo \"$USER - rtprio 99\" | sudo tee /etc/security/limits.d/90-tavix.conf"});
}

Findings Examine(const Patient& patient) {
    Findings findings;
    for (const auto check : {ExamineKernel, ExamineLibrary, ExamineTransferMemory, ExamineMappedMemory, ExamineRealTime,
                             ExaminePermissions, ExamineLinks, ExamineControllers, ExamineOpenings, ExamineProducers}) {
        check(patient, findings);
    }
    return findings;
}

} // namespace tool
