#include "Examination.h"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <sstream>

namespace tool {
namespace {

constexpr int kAccessListsAt = 73; // the number of udev's own file that applies uaccess
constexpr const char* kTrigger =
    "sudo udevadm control --reload && sudo udevadm trigger --subsystem-match=usb --action=add";

std::string InstallRule() {
    return std::string(
               "tavix doctor --udev-rule | sudo tee /etc/udev/rules.d/70-tavix-usb3vision.rules >/dev/null && ") +
           kTrigger;
}

/// The line of a rules file that is about USB3 Vision cameras; empty when none is.
std::string RuleIn(const std::string& text) {
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        const bool isComment = line.find_first_not_of(" \t") == line.find('#');
        const bool isVision = line.find(":ef0500:") != std::string::npos ||
                              (line.find("bInterfaceClass}==\"ef\"") != std::string::npos &&
                               line.find("bInterfaceSubClass}==\"05\"") != std::string::npos);
        if (!line.empty() && !isComment && isVision) return line;
    }
    return {};
}

struct Rule {
    std::string path, line;
};

/// The installed rule; an empty path when there is none.
Rule FindRule(const SystemFiles& files) {
    for (const std::string folder : {"/etc/udev/rules.d", "/run/udev/rules.d", "/usr/local/lib/udev/rules.d",
                                     "/usr/lib/udev/rules.d", "/lib/udev/rules.d"}) {
        for (const std::string& name : files.List(folder)) {
            const std::string path = folder + "/" + name;
            const std::string line = RuleIn(files.Text(path).value_or(""));
            if (!line.empty()) return {path, line};
        }
    }
    return {};
}

/// Whose members the rule lets in, wherever they log in; empty when it names none.
std::string GroupOf(const Rule& rule) {
    const std::string key = "GROUP=\"";
    const auto at = rule.line.find(key);
    if (at == std::string::npos) return {};
    const auto begin = at + key.size();
    return rule.line.substr(begin, rule.line.find('"', begin) - begin);
}

/// uaccess asks for the access list, which is only made for tags that are set before.
bool IsTooLate(const Rule& rule) {
    const auto name = rule.path.substr(rule.path.rfind('/') + 1);
    const bool isOpen = rule.line.find("MODE=\"0666\"") != std::string::npos;
    return !isOpen && rule.line.find("uaccess") != std::string::npos && std::atoi(name.c_str()) >= kAccessListsAt;
}

void ExamineRule(const Patient& patient, const Rule& rule, Findings& findings) {
    if (rule.path.empty()) {
        const bool allOpen =
            !patient.cameras.empty() && std::all_of(patient.cameras.begin(), patient.cameras.end(),
                                                    [&](const UsbCamera& c) { return patient.files.MayWrite(c.node); });
        findings.push_back({allOpen ? Severity::Note : Severity::Problem, "udev-rule", "udev rule",
                            allOpen ? "not installed; this user can open the cameras, others may not be able to"
                                    : "not installed, so only root can open cameras",
                            InstallRule()});
    } else if (IsTooLate(rule)) {
        findings.push_back(
            {Severity::Problem, "udev-rule", "udev rule",
             rule.path + " comes too late to give access: its number must be below " + std::to_string(kAccessListsAt),
             "sudo rm " + rule.path + " && " + InstallRule()});
    } else {
        findings.push_back({Severity::Good, "udev-rule", "udev rule", rule.path, ""});
    }
}

/// What to do for a camera that may not be opened: the end of a sentence, and a command. With a rule in place, the
/// camera was plugged in before it, or nobody sits at this machine.
std::pair<std::string, std::string> WayIn(const Rule& rule, const std::string& node) {
    if (rule.path.empty()) return {"", InstallRule()};
    const std::string seat =
        "; the udev rule gives it to who is logged in at the machine itself when a camera is plugged "
        "in";
    const std::string group = GroupOf(rule);
    if (group.empty())
        return {seat + ". The command gives it to you until then", "sudo setfacl --modify user:$USER:rw " + node};
    return {seat + ", and to the group " + group +
                ". After the command, log in again; a service needs the group as well",
            "sudo adduser $USER " + group};
}

void ExamineAccess(const Patient& patient, const UsbCamera& camera, const Rule& rule, Findings& findings) {
    if (!patient.files.Exists(camera.node)) {
        if (!patient.files.Exists("/dev/bus/usb")) return; // said before, for all
        findings.push_back({Severity::Problem, "permission", camera.name,
                            "its node " + camera.node +
                                " is missing: udev has not made it yet, or in a container only "
                                "the host has it",
                            "sudo udevadm trigger --subsystem-match=usb --action=add"});
        return;
    }
    if (patient.files.MayWrite(camera.node)) return;
    const auto [advice, command] = WayIn(rule, camera.node);
    findings.push_back({Severity::Problem, "permission", camera.name,
                        "may not be opened: no permission for " + camera.node + advice, command});
}

void ExamineDriver(const UsbCamera& camera, Findings& findings) {
    if (camera.driver.empty()) return;
    if (camera.driver == "usbfs") {
        findings.push_back({Severity::Note, "in-use", camera.name, "a program has it open; the command names it",
                            "sudo fuser --verbose " + camera.node});
        return;
    }
    findings.push_back(
        {Severity::Problem, "driver", camera.name, "the kernel driver " + camera.driver + " holds it",
         "echo " + camera.driverInterface + " | sudo tee /sys/bus/usb/drivers/" + camera.driver + "/unbind"});
}

void ExamineSuspend(const UsbCamera& camera, Findings& findings) {
    if (!camera.mayAutosuspend) return;
    findings.push_back(
        {Severity::Problem, "autosuspend", camera.name,
         "the kernel may switch it off when it is idle, and not every camera comes back from that; power "
         "savers set this",
         "echo on | sudo tee /sys/bus/usb/devices/" + camera.port + "/power/control"});
}

std::string Speed(std::int64_t megabits) {
    return megabits >= 1000 ? std::to_string(megabits / 1000) + " Gbit/s" : std::to_string(megabits) + " Mbit/s";
}

void ExamineSpeed(const UsbCamera& camera, Findings& findings) {
    constexpr std::int64_t kUsualBest = 5000;
    const std::int64_t best = camera.bestSpeed > 0 ? camera.bestSpeed : kUsualBest;
    Finding finding{Severity::Good, "link-speed", camera.name, "connected with " + Speed(camera.speed), ""};
    if (camera.speed > 0 && camera.speed < best) {
        finding.severity = camera.speed < 5000 ? Severity::Problem : Severity::Note;
        finding.text += " of " + Speed(best);
        const auto slow = std::find_if(camera.hubs.begin(), camera.hubs.end(),
                                       [&](const UsbHub& hub) { return hub.speed > 0 && hub.speed <= camera.speed; });
        finding.text += slow == camera.hubs.end() ? "; use a USB 3 port, a USB 3 cable, or a shorter one"
                                                  : "; the hub at " + slow->port + " (" + slow->name +
                                                        ") has no more: go round it, or plug it "
                                                        "into a USB 3 port with a USB 3 cable";
    }
    findings.push_back(std::move(finding));
}

void ExamineHubs(const UsbCamera& camera, Findings& findings) {
    for (const UsbHub& hub : camera.hubs) {
        const std::string what = "behind the hub at " + hub.port + " (" + hub.name + ")";
        findings.push_back({Severity::Note, "hub", camera.name,
                            hub.isBusPowered ? what + ", which has no power supply of its own; cameras often need more "
                                                      "than it can pass on"
                                             : what + ", whose bandwidth it shares",
                            ""});
    }
}

/// What a controller passes on in practice, in bytes a second.
std::uint64_t Capacity(std::int64_t busSpeed) {
    if (busSpeed >= 10000) return 800000000;
    return busSpeed >= 5000 ? 380000000 : 38000000;
}

std::string LimitCommand(const std::vector<const CameraDemand*>& demands, std::uint64_t capacity) {
    std::string command;
    const std::uint64_t each = capacity / demands.size() / 1000000 * 1000000;
    for (const CameraDemand* demand : demands) {
        command += (command.empty() ? "" : " && ") + std::string("tavix set --camera ") + demand->path +
                   " DeviceLinkThroughputLimitMode=On DeviceLinkThroughputLimit=" + std::to_string(each);
    }
    return command;
}

void ExamineController(const Patient& patient, const std::vector<const UsbCamera*>& cameras, Findings& findings) {
    const std::string about = "controller " + cameras.front()->controller;
    const std::string count = std::to_string(cameras.size()) + " cameras share it";
    const std::uint64_t capacity = Capacity(cameras.front()->busSpeed);
    std::vector<const CameraDemand*> demands;
    std::uint64_t sum = 0;
    for (const UsbCamera* camera : cameras) {
        for (const CameraDemand& demand : patient.demands) {
            if (demand.port != camera->port || demand.bytesPerSecond == 0) continue;
            demands.push_back(&demand);
            sum += demand.bytesPerSecond;
        }
    }
    const std::string rate =
        std::to_string(sum / 1000000) + " MB/s of about " + std::to_string(capacity / 1000000) + " MB/s";
    if (sum > capacity) {
        findings.push_back({Severity::Problem, "controller", about,
                            count + " and are set up to send " + rate +
                                ": frames will be incomplete. Limit them, or "
                                "spread them over controllers",
                            LimitCommand(demands, capacity)});
    } else if (demands.size() == cameras.size()) {
        findings.push_back({Severity::Good, "controller", about, count + " and send " + rate, ""});
    } else {
        findings.push_back({Severity::Note, "controller", about,
                            count + "; together they can send about " + std::to_string(capacity / 1000000) + " MB/s",
                            ""});
    }
}

} // namespace

void ExaminePermissions(const Patient& patient, Findings& findings) {
    if (!patient.files.Exists("/sys/bus/usb/devices")) return;
    const Rule rule = FindRule(patient.files);
    ExamineRule(patient, rule, findings);
    for (const UsbCamera& camera : patient.cameras) {
        ExamineAccess(patient, camera, rule, findings);
        ExamineDriver(camera, findings);
        ExamineSuspend(camera, findings);
    }
}

void ExamineLinks(const Patient& patient, Findings& findings) {
    for (const UsbCamera& camera : patient.cameras) {
        ExamineSpeed(camera, findings);
        ExamineHubs(camera, findings);
    }
}

void ExamineControllers(const Patient& patient, Findings& findings) {
    // Both buses of a controller, the one for USB 2 and the one for USB 3, have wires of their own.
    std::map<std::pair<std::string, std::int64_t>, std::vector<const UsbCamera*>> groups;
    for (const UsbCamera& camera : patient.cameras)
        groups[{camera.controller, camera.busSpeed}].push_back(&camera);
    for (const auto& [controller, cameras] : groups) {
        if (cameras.size() > 1 && !controller.first.empty()) ExamineController(patient, cameras, findings);
    }
}

void ExamineOpenings(const Patient& patient, Findings& findings) {
    for (const CameraDemand& demand : patient.demands) {
        const bool isExplained =
            !demand.failure.empty() && std::any_of(findings.begin(), findings.end(), [&](const Finding& finding) {
                const bool explains = finding.id == "permission" || finding.id == "driver" || finding.id == "in-use";
                const auto camera = std::find_if(patient.cameras.begin(), patient.cameras.end(),
                                                 [&](const UsbCamera& c) { return c.port == demand.port; });
                return explains && camera != patient.cameras.end() && finding.about == camera->name;
            });
        if (demand.failure.empty()) {
            findings.push_back({Severity::Good, "opening", demand.name,
                                "opens; an image has " + std::to_string(demand.payload) + " bytes", ""});
        } else if (!isExplained) {
            findings.push_back({Severity::Problem, "opening", demand.name, demand.failure, ""});
        }
    }
}

} // namespace tool
