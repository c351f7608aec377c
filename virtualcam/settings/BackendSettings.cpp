#include "virtualcam/settings/BackendSettings.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <stdexcept>

#include "virtualcam/device/Protocol.h"
#include "virtualcam/settings/RegularFile.h"
#include "virtualcam/settings/SettingsReader.h"

namespace virtualcam {
namespace {

using nlohmann::json;

constexpr unsigned kMaximumCameras = 32;
constexpr std::size_t kLargestFile = 1u << 20;
// What a fault may make longer, or repeat: enough for every host to notice, and no burden for the camera's computer.
constexpr std::uint32_t kLongest = 64u << 20;
constexpr std::uint32_t kMostPending = 1000;
constexpr const char* kTooMany = "there may be at most 32 cameras";

void CheckMost(std::uint32_t value, std::uint32_t most, const std::string& place) {
    if (value > most) throw SettingsError(place, "at most " + std::to_string(most) + " is expected");
}

ControlFaultRule ReadControlRule(const json& object, const std::string& place) {
    SettingsReader reader(object, place);
    ControlFaultRule rule;
    reader.Name("fault", kControlFaults, rule.fault);
    reader.Value("value", rule.value);
    reader.Value("skip", rule.skip);
    reader.Value("count", rule.count);
    reader.Value("command", rule.command);
    reader.Value("address", rule.address);
    reader.Value("whileStreaming", rule.whileStreaming);
    reader.Finish();
    if (rule.fault == ControlFault::Oversize) CheckMost(rule.value, kLongest, reader.PlaceOf("value"));
    if (rule.fault == ControlFault::Pending) CheckMost(rule.value, kMostPending, reader.PlaceOf("value"));
    return rule;
}

StreamFaultRule ReadStreamRule(const json& object, const std::string& place) {
    SettingsReader reader(object, place);
    StreamFaultRule rule;
    reader.Name("fault", kStreamFaults, rule.fault);
    reader.Value("value", rule.value);
    reader.Value("frame", rule.frame);
    reader.Value("stream", rule.stream);
    reader.Value("count", rule.count);
    reader.Finish();
    if (rule.fault == StreamFault::LongLeader) CheckMost(rule.value, kLongest, reader.PlaceOf("value"));
    return rule;
}

EventFaultRule ReadEventRule(const json& object, const std::string& place) {
    SettingsReader reader(object, place);
    EventFaultRule rule;
    reader.Name("fault", kEventFaults, rule.fault);
    reader.Value("value", rule.value);
    reader.Value("skip", rule.skip);
    reader.Value("count", rule.count);
    reader.Finish();
    return rule;
}

void ReadFaults(const json& object, const std::string& place, FaultScript& faults) {
    SettingsReader reader(object, place);
    reader.Value("refuseOpens", faults.refuseOpens);
    reader.Value("refuseClaims", faults.refuseClaims);
    reader.Value("refuseStreamEnable", faults.refuseStreamEnable);
    reader.Value("streamEnableStatus", faults.streamEnableStatus);
    reader.Value("haltOnStreamDisable", faults.haltOnStreamDisable);
    reader.Value("replugAfterMs", faults.replugAfterMs);
    reader.Value("unplugErrorsMs", faults.unplugErrorsMs);
    reader.Value("muteUntilClearHalt", faults.muteUntilClearHalt);
    reader.Value("dieOnSetHalt", faults.dieOnSetHalt);
    reader.ForEach("control", [&faults](const json& rule, const std::string& at) {
        faults.control.push_back(ReadControlRule(rule, at));
    });
    reader.ForEach("stream", [&faults](const json& rule, const std::string& at) {
        faults.stream.push_back(ReadStreamRule(rule, at));
    });
    reader.ForEach("events", [&faults](const json& rule, const std::string& at) {
        faults.events.push_back(ReadEventRule(rule, at));
    });
    reader.Finish();
}

void ReadRegisterFaults(const json& object, const std::string& place, RegisterFaults& faults) {
    SettingsReader reader(object, place);
    reader.Value("responseTime", faults.responseTime);
    reader.Value("maximumCommand", faults.maximumCommand);
    reader.Value("maximumAcknowledge", faults.maximumAcknowledge);
    reader.Value("zeroLeaderSize", faults.zeroLeaderSize);
    reader.Value("zeroTrailerSize", faults.zeroTrailerSize);
    reader.Value("zeroPayloadSize", faults.zeroPayloadSize);
    reader.Value("alignmentExponent", faults.alignmentExponent);
    reader.Value("lateAlignmentCheck", faults.lateAlignmentCheck);
    reader.Value("absent", faults.absent);
    reader.Value("endlessCommands", faults.endlessCommands);
    reader.Value("largestRead", faults.largestRead);
    reader.Value("streamCount", faults.streamCount);
    reader.Value("largestTransfer", faults.largestTransfer);
    reader.Value("silentAboveTransfer", faults.silentAboveTransfer);
    reader.Value("bootMs", faults.bootMs);
    reader.Value("missingOptional", faults.missingOptional);
    reader.Value("noStreamInterface", faults.noStreamInterface);
    reader.Value("singleRegisterReads", faults.singleRegisterReads);
    reader.Value("extraPayload", faults.extraPayload);
    reader.Name("manifest", kManifestFaults, faults.manifest);
    reader.Value("longDeviceInfo", faults.longDeviceInfo);
    reader.Value("stringIndexZero", faults.stringIndexZero);
    reader.Value("unreadableStrings", faults.unreadableStrings);
    reader.Value("asymmetricEndpoints", faults.asymmetricEndpoints);
    reader.Value("descriptionPath", faults.descriptionPath);
    reader.Finish();
    CheckMost(faults.extraPayload, kLongest, place + ".extraPayload");
    if (faults.alignmentExponent > 255) throw SettingsError(place + ".alignmentExponent", "0 to 255 is expected");
}

void ReadIdentity(SettingsReader& reader, CameraSettings& camera) {
    reader.Value("vendor", camera.vendor);
    reader.Value("model", camera.model);
    reader.Value("family", camera.family);
    reader.Value("deviceVersion", camera.deviceVersion);
    reader.Value("firmwareVersion", camera.firmwareVersion);
    reader.Value("manufacturerInfo", camera.manufacturerInfo);
    reader.Value("serial", camera.serial);
    reader.Value("guid", camera.guid);
    reader.Value("userName", camera.userName);
    reader.Value("productId", camera.productId);
}

void Check(const CameraSettings& camera, const std::string& place) {
    const auto isHex = [](unsigned char c) { return std::isxdigit(c) != 0; };
    if (camera.guid.size() != 12 || !std::all_of(camera.guid.begin(), camera.guid.end(), isHex))
        throw SettingsError(place + ".guid", "12 hexadecimal digits are expected, not \"" + camera.guid + "\"");
    const auto check = [&place](const char* key, std::uint32_t size) {
        if (size < 64 || size > 16384 || size % 16 != 0)
            throw SettingsError(place + "." + key,
                                "a multiple of 16 from 64 to 16384 is expected, not " + std::to_string(size));
    };
    check("sensorWidth", camera.sensorWidth);
    check("sensorHeight", camera.sensorHeight);
    if (!(camera.frameRate >= 0.1 && camera.frameRate <= 10000.0))
        throw SettingsError(place + ".frameRate", "0.1 to 10000 is expected");
    if (camera.streams < 1 || camera.streams > kMaximumStreams)
        throw SettingsError(place + ".streams", "1 to " + std::to_string(kMaximumStreams) + " is expected");
}

void ReadClock(const json& object, const std::string& place, ClockSettings& clock) {
    SettingsReader reader(object, place);
    reader.Value("driftPpm", clock.driftPpm);
    reader.Value("jumpAfterMs", clock.jumpAfterMs);
    reader.Value("jumpByMs", clock.jumpByMs);
    reader.Finish();
    if (!(clock.driftPpm >= -100000 && clock.driftPpm <= 100000))
        throw SettingsError(place + ".driftPpm", "-100000 to 100000 is expected");
}

CameraSettings ReadCamera(const json& object, const std::string& place, unsigned index) {
    CameraSettings camera = NumberedCamera(index);
    SettingsReader reader(object, place);
    ReadIdentity(reader, camera);
    reader.Value("sensorWidth", camera.sensorWidth);
    reader.Value("sensorHeight", camera.sensorHeight);
    reader.Value("frameRate", camera.frameRate);
    reader.Value("frameRateEnable", camera.frameRateEnable);
    reader.Name("speed", kSpeeds, camera.speed);
    reader.Value("streams", camera.streams);
    reader.Value("bufferedFrames", camera.bufferedFrames);
    reader.Value("queuedEvents", camera.queuedEvents);
    reader.Value("plugged", camera.plugged);
    if (const json* clock = reader.Find("clock")) ReadClock(*clock, reader.PlaceOf("clock"), camera.clock);
    if (const json* faults = reader.Find("faults")) ReadFaults(*faults, reader.PlaceOf("faults"), camera.faults);
    if (const json* registers = reader.Find("registers"))
        ReadRegisterFaults(*registers, reader.PlaceOf("registers"), camera.registers);
    reader.Finish();
    Check(camera, place);
    return camera;
}

BackendSettings Read(const std::string& text) {
    const json document = json::parse(text);
    BackendSettings settings;
    SettingsReader reader(document, "");
    std::uint64_t limit = 0;
    reader.Value("transferMemoryLimit", limit);
    settings.transferMemoryLimit = static_cast<std::size_t>(limit);
    reader.ForEach("cameras", [&settings](const json& camera, const std::string& place) {
        settings.cameras.push_back(ReadCamera(camera, place, static_cast<unsigned>(settings.cameras.size())));
    });
    reader.Finish();
    if (settings.cameras.size() > kMaximumCameras) throw SettingsError("cameras", kTooMany);
    return settings;
}

bool IsNumber(const std::string& text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](unsigned char c) { return std::isdigit(c) != 0; });
}

bool ReadNumber(const std::string& text, BackendSettings& settings, std::string& error) {
    const unsigned long count = std::stoul(text.substr(0, 9));
    if (count > kMaximumCameras) {
        error = kTooMany;
        return false;
    }
    for (unsigned i = 0; i < count; ++i)
        settings.cameras.push_back(NumberedCamera(i));
    return true;
}

} // namespace

CameraSettings NumberedCamera(unsigned index) {
    CameraSettings camera;
    char number[16];
    std::snprintf(number, sizeof number, "%08u", 40000001 + index);
    camera.serial = number;
    camera.guid = "1209" + camera.serial;
    return camera;
}

std::string ReadSettingsFile(const std::string& path) {
    try {
        return ReadRegularFile(path, kLargestFile);
    } catch (const std::runtime_error& problem) {
        throw std::runtime_error("\"" + path +
                                 "\" is neither a number of cameras nor a file that can be read: " + problem.what());
    }
}

bool ParseSettings(const std::string& text, BackendSettings& settings, std::string& error) {
    try {
        settings = Read(text);
        return true;
    } catch (const json::parse_error& problem) {
        error = "no valid JSON at byte " + std::to_string(problem.byte);
    } catch (const std::exception& problem) {
        error = problem.what();
    }
    return false;
}

bool ReadSettings(const std::string& text, BackendSettings& settings, std::string& error) {
    if (IsNumber(text)) return ReadNumber(text, settings, error);
    if (!text.empty() && text.front() == '{') return ParseSettings(text, settings, error);
    std::string content;
    try {
        content = ReadSettingsFile(text);
    } catch (const std::runtime_error& problem) {
        error = problem.what();
        return false;
    }
    if (ParseSettings(content, settings, error)) return true;
    error = text + ": " + error;
    return false;
}

} // namespace virtualcam
