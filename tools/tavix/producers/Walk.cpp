#include "producers/Walk.h"

#include "producers/Producer.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <optional>

namespace tool {
namespace {

constexpr std::uint64_t kSearchMs = 1000;      // for interfaces, and for the devices of each
constexpr std::size_t kLongestText = 64 << 10; // a producer that wants more has lost count

struct NamedCommand {
    std::int32_t command;
    const char* name;
};

constexpr NamedCommand kSystemInfos[] = {
    {TL_INFO_ID, "id"},
    {TL_INFO_VENDOR, "vendor"},
    {TL_INFO_MODEL, "model"},
    {TL_INFO_VERSION, "version"},
    {TL_INFO_TLTYPE, "type"},
    {TL_INFO_NAME, "name"},
    {TL_INFO_PATHNAME, "path"},
    {TL_INFO_DISPLAYNAME, "display name"},
    {TL_INFO_GENTL_VER_MAJOR, "GenTL major version"},
    {TL_INFO_GENTL_VER_MINOR, "GenTL minor version"},
};
constexpr NamedCommand kInterfaceInfos[] = {
    {INTERFACE_INFO_DISPLAYNAME, "display name"},
    {INTERFACE_INFO_TLTYPE, "type"},
};
constexpr NamedCommand kDeviceInfos[] = {
    {DEVICE_INFO_VENDOR, "vendor"},
    {DEVICE_INFO_MODEL, "model"},
    {DEVICE_INFO_SERIAL_NUMBER, "serial number"},
    {DEVICE_INFO_USER_DEFINED_NAME, "user-defined name"},
    {DEVICE_INFO_DISPLAYNAME, "display name"},
    {DEVICE_INFO_VERSION, "version"},
    {DEVICE_INFO_TLTYPE, "type"},
    {DEVICE_INFO_ACCESS_STATUS, "access"},
    {DEVICE_INFO_TIMESTAMP_FREQUENCY, "timestamp frequency"},
};

std::string AccessText(std::int32_t status) {
    constexpr const char* kTexts[] = {"unknown",          "ready",          "read only", "no access", "in use",
                                      "open, read-write", "open, read only"};
    const bool isKnown = status >= 0 && static_cast<std::size_t>(status) < std::size(kTexts);
    return isKnown ? kTexts[status] : std::to_string(status);
}

/// What `query(type, buffer, size)` answers with; nothing when it refuses.
template<class Query>
std::optional<std::vector<char>> Answer(Query&& query, INFO_DATATYPE& type) {
    std::size_t size = 0;
    if (query(&type, nullptr, &size) != GC_ERR_SUCCESS || size == 0 || size > kLongestText) return {};
    std::vector<char> bytes(size);
    if (query(&type, bytes.data(), &size) != GC_ERR_SUCCESS || size > bytes.size()) return {};
    bytes.resize(size);
    return bytes;
}

/// Up to the first NUL, which a producer may have forgotten.
std::string TextIn(const std::vector<char>& bytes) {
    return std::string(bytes.begin(), std::find(bytes.begin(), bytes.end(), '\0'));
}

template<class T>
std::string NumberIn(const std::vector<char>& bytes) {
    T value{};
    if (bytes.size() < sizeof value) return {};
    std::memcpy(&value, bytes.data(), sizeof value);
    return std::to_string(value);
}

std::string ValueText(INFO_DATATYPE type, const std::vector<char>& bytes) {
    switch (type) {
    case INFO_DATATYPE_STRING:
        return TextIn(bytes);
    case INFO_DATATYPE_INT32:
        return NumberIn<std::int32_t>(bytes);
    case INFO_DATATYPE_UINT32:
        return NumberIn<std::uint32_t>(bytes);
    case INFO_DATATYPE_INT64:
        return NumberIn<std::int64_t>(bytes);
    case INFO_DATATYPE_UINT64:
        return NumberIn<std::uint64_t>(bytes);
    default:
        return {};
    }
}

/// `query(command, type, buffer, size)` for each of a table.
template<std::size_t n, class Query>
ModuleInfos InfosOf(const NamedCommand (&commands)[n], Query&& query) {
    ModuleInfos infos;
    for (const auto& [command, name] : commands) {
        INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
        const auto bytes = Answer(
            [&, which = command](INFO_DATATYPE* t, void* b, std::size_t* s) { return query(which, t, b, s); }, type);
        if (!bytes) continue;
        std::string text = ValueText(type, *bytes);
        if (std::strcmp(name, "access") == 0 && !text.empty()) text = AccessText(std::stoi(text));
        if (!text.empty()) infos.emplace_back(name, std::move(text));
    }
    return infos;
}

/// `query(text, size)` of an identifier.
template<class Query>
std::optional<std::string> IdOf(Query&& query) {
    INFO_DATATYPE unused = INFO_DATATYPE_STRING;
    const auto bytes =
        Answer([&](INFO_DATATYPE*, void* b, std::size_t* s) { return query(static_cast<char*>(b), s); }, unused);
    return bytes ? std::optional<std::string>(TextIn(*bytes)) : std::nullopt;
}

void WalkDevices(const Producer& gc, IF_HANDLE handle, ShownInterface& shown) {
    gc.Require(gc.IFUpdateDeviceList(handle, nullptr, kSearchMs), "IFUpdateDeviceList");
    std::uint32_t count = 0;
    gc.Require(gc.IFGetNumDevices(handle, &count), "IFGetNumDevices");
    for (std::uint32_t i = 0; i < count; ++i) {
        const auto id = IdOf([&](char* text, std::size_t* size) { return gc.IFGetDeviceID(handle, i, text, size); });
        if (!id) continue;
        shown.devices.push_back({*id, InfosOf(kDeviceInfos, [&](auto command, auto* type, void* value, auto* size) {
                                     return gc.IFGetDeviceInfo(handle, id->c_str(), command, type, value, size);
                                 })});
    }
}

ShownInterface WalkInterface(const Producer& gc, TL_HANDLE tl, const std::string& id) {
    ShownInterface shown;
    shown.id = id;
    shown.infos = InfosOf(kInterfaceInfos, [&](auto command, auto* type, void* value, auto* size) {
        return gc.TLGetInterfaceInfo(tl, id.c_str(), command, type, value, size);
    });
    IF_HANDLE handle = nullptr;
    gc.Require(gc.TLOpenInterface(tl, id.c_str(), &handle), "TLOpenInterface");
    WalkDevices(gc, handle, shown);
    gc.IFClose(handle);
    return shown;
}

} // namespace

ShownSystem WalkProducer(const std::string& path) {
    const Producer gc(path);
    ShownSystem shown;
    shown.infos = InfosOf(kSystemInfos, [&](auto command, auto* type, void* value, auto* size) {
        return gc.GCGetInfo(command, type, value, size);
    });
    TL_HANDLE tl = nullptr;
    gc.Require(gc.TLOpen(&tl), "TLOpen");
    gc.Require(gc.TLUpdateInterfaceList(tl, nullptr, kSearchMs), "TLUpdateInterfaceList");
    std::uint32_t count = 0;
    gc.Require(gc.TLGetNumInterfaces(tl, &count), "TLGetNumInterfaces");
    for (std::uint32_t i = 0; i < count; ++i) {
        const auto id = IdOf([&](char* text, std::size_t* size) { return gc.TLGetInterfaceID(tl, i, text, size); });
        if (id) shown.interfaces.push_back(WalkInterface(gc, tl, *id));
    }
    gc.TLClose(tl);
    return shown;
}

} // namespace tool
