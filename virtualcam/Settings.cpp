#include "virtualcam/Settings.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include <nlohmann/json.hpp>

#include "virtualcam/FaultScript.h"

namespace virtualcam {
namespace {

using nlohmann::json;

constexpr unsigned kMaximumCameras = 32;

template<class E>
struct Named {
    const char* name;
    E value;
};

constexpr Named<usb::Speed> kSpeeds[] = {
    {"High", usb::Speed::High}, {"Super", usb::Speed::Super}, {"SuperPlus", usb::Speed::SuperPlus}};

constexpr Named<ControlFault> kControlFaults[] = {{"NoAnswer", ControlFault::NoAnswer},
                                                  {"Late", ControlFault::Late},
                                                  {"StaleId", ControlFault::StaleId},
                                                  {"Duplicate", ControlFault::Duplicate},
                                                  {"WrongPrefix", ControlFault::WrongPrefix},
                                                  {"Truncated", ControlFault::Truncated},
                                                  {"WrongRequestId", ControlFault::WrongRequestId},
                                                  {"WrongCommandId", ControlFault::WrongCommandId},
                                                  {"Pending", ControlFault::Pending},
                                                  {"PendingThenNothing", ControlFault::PendingThenNothing},
                                                  {"Busy", ControlFault::Busy},
                                                  {"Status", ControlFault::Status},
                                                  {"MissingScd", ControlFault::MissingScd},
                                                  {"StallIn", ControlFault::StallIn},
                                                  {"StallOut", ControlFault::StallOut},
                                                  {"ZeroWritten", ControlFault::ZeroWritten},
                                                  {"ZeroLength", ControlFault::ZeroLength},
                                                  {"Oversize", ControlFault::Oversize},
                                                  {"Deaf", ControlFault::Deaf},
                                                  {"Unplug", ControlFault::Unplug}};

constexpr Named<StreamFault> kStreamFaults[] = {{"LostLeader", StreamFault::LostLeader},
                                                {"LostTrailer", StreamFault::LostTrailer},
                                                {"Swapped", StreamFault::Swapped},
                                                {"LeaderMagic", StreamFault::LeaderMagic},
                                                {"TrailerMagic", StreamFault::TrailerMagic},
                                                {"Truncated", StreamFault::Truncated},
                                                {"IdGap", StreamFault::IdGap},
                                                {"IdMismatch", StreamFault::IdMismatch},
                                                {"Discarded", StreamFault::Discarded},
                                                {"Overrun", StreamFault::Overrun},
                                                {"Overflow", StreamFault::Overflow},
                                                {"Stall", StreamFault::Stall},
                                                {"LineError", StreamFault::LineError},
                                                {"Unplug", StreamFault::Unplug},
                                                {"ZeroValidSize", StreamFault::ZeroValidSize},
                                                {"ShortHeight", StreamFault::ShortHeight},
                                                {"LessLines", StreamFault::LessLines},
                                                {"EmptyLeader", StreamFault::EmptyLeader},
                                                {"EmptyTrailer", StreamFault::EmptyTrailer},
                                                {"LongLeader", StreamFault::LongLeader},
                                                {"PayloadType", StreamFault::PayloadType},
                                                {"LeftOver", StreamFault::LeftOver},
                                                {"Padding", StreamFault::Padding}};

constexpr Named<ManifestFault> kManifestFaults[] = {{"None", ManifestFault::None},
                                                    {"PlainXml", ManifestFault::PlainXml},
                                                    {"WrongHash", ManifestFault::WrongHash},
                                                    {"ZeroHash", ManifestFault::ZeroHash},
                                                    {"WrongFormatFlag", ManifestFault::WrongFormatFlag},
                                                    {"WrongZipFlag", ManifestFault::WrongZipFlag},
                                                    {"TrailingZeros", ManifestFault::TrailingZeros},
                                                    {"CorruptZip", ManifestFault::CorruptZip},
                                                    {"StoredZip", ManifestFault::StoredZip},
                                                    {"NoRoot", ManifestFault::NoRoot},
                                                    {"SeveralEntries", ManifestFault::SeveralEntries},
                                                    {"NoEntries", ManifestFault::NoEntries},
                                                    {"HugeCount", ManifestFault::HugeCount}};

template<class E, std::size_t N>
E ByName(const Named<E> (&table)[N], const json& name) {
    for (const Named<E>& row : table)
        if (name == row.name) return row.value;
    throw std::runtime_error("unknown name " + name.dump());
}

// Reads one object; a key that nobody asked for is a mistake worth telling.
class Reader {
public:
    explicit Reader(const json& object) : m_Object(object) {
        if (!object.is_object()) throw std::runtime_error("an object is expected instead of " + object.dump());
    }
    const json* Find(const char* key) {
        m_Known.push_back(key);
        const auto found = m_Object.find(key);
        return found == m_Object.end() ? nullptr : &*found;
    }
    template<class T>
    void Value(const char* key, T& value) {
        if (const json* found = Find(key)) value = found->get<T>();
    }
    template<class T>
    void Optional(const char* key, std::optional<T>& value) {
        if (const json* found = Find(key)) value = found->get<T>();
    }
    template<class E, std::size_t N>
    void Name(const char* key, const Named<E> (&table)[N], E& value) {
        if (const json* found = Find(key)) value = ByName(table, *found);
    }
    void Finish() const {
        for (const auto& item : m_Object.items())
            if (std::find(m_Known.begin(), m_Known.end(), item.key()) == m_Known.end())
                throw std::runtime_error("unknown key \"" + item.key() + "\"");
    }

private:
    const json& m_Object;
    std::vector<std::string> m_Known;
};

ControlFaultRule ReadControlRule(const json& object) {
    Reader reader(object);
    ControlFaultRule rule;
    reader.Name("fault", kControlFaults, rule.fault);
    reader.Value("value", rule.value);
    reader.Value("skip", rule.skip);
    reader.Value("count", rule.count);
    reader.Optional("command", rule.command);
    reader.Optional("address", rule.address);
    reader.Finish();
    return rule;
}

StreamFaultRule ReadStreamRule(const json& object) {
    Reader reader(object);
    StreamFaultRule rule;
    reader.Name("fault", kStreamFaults, rule.fault);
    reader.Value("value", rule.value);
    reader.Value("frame", rule.frame);
    reader.Value("count", rule.count);
    reader.Finish();
    return rule;
}

void ReadFaults(const json& object, FaultScript& faults) {
    Reader reader(object);
    reader.Value("refuseOpens", faults.refuseOpens);
    reader.Value("refuseClaims", faults.refuseClaims);
    reader.Value("refuseStreamEnable", faults.refuseStreamEnable);
    reader.Value("streamEnableStatus", faults.streamEnableStatus);
    reader.Value("haltOnStreamDisable", faults.haltOnStreamDisable);
    reader.Value("muteUntilClearHalt", faults.muteUntilClearHalt);
    reader.Value("dieOnSetHalt", faults.dieOnSetHalt);
    reader.Value("replugAfterMs", faults.replugAfterMs);
    if (const json* rules = reader.Find("control"))
        for (const json& rule : *rules)
            faults.control.push_back(ReadControlRule(rule));
    if (const json* rules = reader.Find("stream"))
        for (const json& rule : *rules)
            faults.stream.push_back(ReadStreamRule(rule));
    reader.Finish();
}

void ReadRegisterFaults(const json& object, RegisterFaults& faults) {
    Reader reader(object);
    reader.Optional("responseTime", faults.responseTime);
    reader.Optional("maximumCommand", faults.maximumCommand);
    reader.Optional("maximumAcknowledge", faults.maximumAcknowledge);
    reader.Optional("largestRead", faults.largestRead);
    reader.Optional("streamCount", faults.streamCount);
    reader.Value("largestTransfer", faults.largestTransfer);
    reader.Value("bootMs", faults.bootMs);
    reader.Value("missingOptional", faults.missingOptional);
    reader.Value("noStreamInterface", faults.noStreamInterface);
    reader.Value("zeroLeaderSize", faults.zeroLeaderSize);
    reader.Value("zeroTrailerSize", faults.zeroTrailerSize);
    reader.Value("zeroPayloadSize", faults.zeroPayloadSize);
    reader.Value("alignmentExponent", faults.alignmentExponent);
    reader.Value("lateAlignmentCheck", faults.lateAlignmentCheck);
    reader.Name("manifest", kManifestFaults, faults.manifest);
    reader.Value("longDeviceInfo", faults.longDeviceInfo);
    reader.Value("unreadableStrings", faults.unreadableStrings);
    reader.Value("asymmetricEndpoints", faults.asymmetricEndpoints);
    reader.Value("descriptionPath", faults.descriptionPath);
    reader.Finish();
}

void ReadIdentity(Reader& reader, CameraSettings& camera) {
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

CameraSettings ReadCamera(const json& object, unsigned index) {
    CameraSettings camera = NumberedCamera(index);
    Reader reader(object);
    ReadIdentity(reader, camera);
    reader.Value("sensorWidth", camera.sensorWidth);
    reader.Value("sensorHeight", camera.sensorHeight);
    reader.Value("frameRate", camera.frameRate);
    reader.Value("frameRateEnable", camera.frameRateEnable);
    reader.Name("speed", kSpeeds, camera.speed);
    reader.Value("bufferedFrames", camera.bufferedFrames);
    reader.Value("queuedEvents", camera.queuedEvents);
    reader.Value("plugged", camera.plugged);
    if (const json* faults = reader.Find("faults")) ReadFaults(*faults, camera.faults);
    if (const json* registers = reader.Find("registers")) ReadRegisterFaults(*registers, camera.registers);
    reader.Finish();
    return camera;
}

void Check(const CameraSettings& camera) {
    const auto isHex = [](unsigned char c) { return std::isxdigit(c) != 0; };
    if (camera.guid.size() != 12 || !std::all_of(camera.guid.begin(), camera.guid.end(), isHex))
        throw std::runtime_error("\"guid\" must have 12 hexadecimal digits");
    const auto fits = [](std::uint32_t size) { return size >= 64 && size <= 16384 && size % 16 == 0; };
    if (!fits(camera.sensorWidth) || !fits(camera.sensorHeight))
        throw std::runtime_error("sensor sizes must be multiples of 16 from 64 to 16384");
    if (!(camera.frameRate >= 0.1 && camera.frameRate <= 10000.0))
        throw std::runtime_error("\"frameRate\" must be from 0.1 to 10000");
    if (camera.registers.alignmentExponent > 255) throw std::runtime_error("\"alignmentExponent\" must be below 256");
}

bool IsNumber(const std::string& text) {
    return !text.empty() && text.size() < 4 &&
           std::all_of(text.begin(), text.end(), [](unsigned char c) { return std::isdigit(c) != 0; });
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

bool ParseSettings(const std::string& text, BackendSettings& settings, std::string& error) {
    try {
        const json document = json::parse(text);
        Reader reader(document);
        reader.Value("transferMemoryLimit", settings.transferMemoryLimit);
        if (const json* cameras = reader.Find("cameras"))
            for (const json& camera : *cameras)
                settings.cameras.push_back(ReadCamera(camera, static_cast<unsigned>(settings.cameras.size())));
        reader.Finish();
        if (settings.cameras.size() > kMaximumCameras) throw std::runtime_error("too many cameras");
        for (const CameraSettings& camera : settings.cameras)
            Check(camera);
        return true;
    } catch (const std::exception& problem) {
        error = problem.what();
        return false;
    }
}

bool ReadSettings(const std::string& text, BackendSettings& settings, std::string& error) {
    if (IsNumber(text)) {
        const unsigned long count = std::stoul(text);
        if (count > kMaximumCameras) {
            error = "too many cameras";
            return false;
        }
        for (unsigned i = 0; i < count; ++i)
            settings.cameras.push_back(NumberedCamera(i));
        return true;
    }
    std::ifstream stream(text, std::ios::binary);
    if (!stream) {
        error = "cannot read the settings file \"" + text + "\"";
        return false;
    }
    return ParseSettings(std::string(std::istreambuf_iterator<char>(stream), {}), settings, error);
}

} // namespace virtualcam
