#include "producers/Walk.h"

#include "producers/Producer.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace tool {
namespace {

constexpr std::uint64_t kSearchMs = 1000;      // for interfaces, and for the devices of each
constexpr std::size_t kLongestText = 64 << 10; // a producer that wants more has lost count
constexpr std::uint32_t kMostModules = 1024;   // of a kind, likewise

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

/// In words, what a producer states in digits.
std::string AccessText(const std::string& status) {
    constexpr const char* kTexts[] = {"unknown",          "ready",          "read only", "no access", "in use",
                                      "open, read-write", "open, read only"};
    const bool isKnown =
        status.size() == 1 && status[0] >= '0' && status[0] < '0' + static_cast<int>(std::size(kTexts));
    return isKnown ? kTexts[status[0] - '0'] : status;
}

/// What a producer answers to a question.
struct Answer {
    GC_ERROR result = GC_ERR_SUCCESS;
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    std::vector<char> bytes; ///< none when it failed, or when what it says of their number cannot be
};

/// Asks `query(type, buffer, size)`.
template<class Query>
Answer Ask(Query&& query) {
    Answer answer;
    std::size_t size = 0;
    answer.result = query(&answer.type, nullptr, &size);
    if (answer.result != GC_ERR_SUCCESS || size == 0 || size > kLongestText) return answer;
    answer.bytes.resize(size);
    answer.result = query(&answer.type, answer.bytes.data(), &size);
    answer.bytes.resize(answer.result == GC_ERR_SUCCESS && size <= answer.bytes.size() ? size : 0);
    return answer;
}

/// Whether a module merely does not tell this of itself, or not now.
bool IsRefusal(GC_ERROR result) {
    switch (result) {
    case GC_ERR_NOT_IMPLEMENTED:
    case GC_ERR_NOT_AVAILABLE:
    case GC_ERR_INVALID_PARAMETER:
    case GC_ERR_INVALID_VALUE:
    case GC_ERR_NO_DATA:
    case GC_ERR_ACCESS_DENIED:
    case GC_ERR_RESOURCE_IN_USE:
    case GC_ERR_BUSY:
        return true;
    default:
        return false;
    }
}

/// Adds a failure to those of a module; one that repeats itself is told once.
void Note(std::string& failures, const std::string& failure) {
    if (failures.find(failure) == std::string::npos) failures += (failures.empty() ? "" : "; ") + failure;
}

/// Whether a call has worked; notes it otherwise.
bool Works(const Producer& gc, GC_ERROR result, const char* call, std::string& failures) {
    if (result != GC_ERR_SUCCESS) Note(failures, gc.Failure(result, call));
    return result == GC_ERR_SUCCESS;
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
ModuleInfos InfosOf(const Producer& gc, const NamedCommand (&commands)[n], const char* call, std::string& failures,
                    Query&& query) {
    ModuleInfos infos;
    for (const auto& [command, name] : commands) {
        const Answer answer =
            Ask([&, which = command](INFO_DATATYPE* t, void* b, std::size_t* s) { return query(which, t, b, s); });
        if (IsRefusal(answer.result) || !Works(gc, answer.result, call, failures)) continue;
        std::string text = ValueText(answer.type, answer.bytes);
        if (std::strcmp(name, "access") == 0) text = AccessText(text);
        if (!text.empty()) infos.emplace_back(name, std::move(text));
    }
    return infos;
}

/// `query(text, size)` of an identifier; empty and noted when there is none.
template<class Query>
std::string IdOf(const Producer& gc, const char* call, std::string& failures, Query&& query) {
    const Answer answer = Ask([&](INFO_DATATYPE*, void* b, std::size_t* s) { return query(static_cast<char*>(b), s); });
    if (!Works(gc, answer.result, call, failures)) return {};
    const std::string id = TextIn(answer.bytes);
    if (id.empty()) Note(failures, std::string(call) + " tells none");
    return id;
}

/// `query(count)` of the modules below one, as many of them as are believed; none, and noted, when it fails.
template<class Query>
std::uint32_t CountOf(const Producer& gc, const char* call, std::string& failures, Query&& query) {
    std::uint32_t count = 0;
    if (!Works(gc, query(&count), call, failures)) return 0;
    if (count <= kMostModules) return count;
    Note(failures, std::string(call) + " tells " + std::to_string(count) + ", of which the first " +
                       std::to_string(kMostModules) + " are shown");
    return kMostModules;
}

ShownDevice WalkDevice(const Producer& gc, IF_HANDLE handle, std::uint32_t index) {
    ShownDevice shown;
    shown.id = IdOf(gc, "IFGetDeviceID", shown.failure,
                    [&](char* text, std::size_t* size) { return gc.IFGetDeviceID(handle, index, text, size); });
    if (shown.id.empty()) return shown;
    shown.infos = InfosOf(gc, kDeviceInfos, "IFGetDeviceInfo", shown.failure,
                          [&](auto command, auto* type, void* value, auto* size) {
                              return gc.IFGetDeviceInfo(handle, shown.id.c_str(), command, type, value, size);
                          });
    return shown;
}

void WalkDevices(const Producer& gc, IF_HANDLE handle, ShownInterface& shown) {
    // Where the search fails there may still be those that an earlier one found.
    Works(gc, gc.IFUpdateDeviceList(handle, nullptr, kSearchMs), "IFUpdateDeviceList", shown.failure);
    const std::uint32_t count = CountOf(gc, "IFGetNumDevices", shown.failure,
                                        [&](std::uint32_t* number) { return gc.IFGetNumDevices(handle, number); });
    for (std::uint32_t i = 0; i < count; ++i)
        shown.devices.push_back(WalkDevice(gc, handle, i));
}

ShownInterface WalkInterface(const Producer& gc, TL_HANDLE tl, std::uint32_t index) {
    ShownInterface shown;
    shown.id = IdOf(gc, "TLGetInterfaceID", shown.failure,
                    [&](char* text, std::size_t* size) { return gc.TLGetInterfaceID(tl, index, text, size); });
    if (shown.id.empty()) return shown;
    shown.infos = InfosOf(gc, kInterfaceInfos, "TLGetInterfaceInfo", shown.failure,
                          [&](auto command, auto* type, void* value, auto* size) {
                              return gc.TLGetInterfaceInfo(tl, shown.id.c_str(), command, type, value, size);
                          });
    IF_HANDLE handle = nullptr;
    if (!Works(gc, gc.TLOpenInterface(tl, shown.id.c_str(), &handle), "TLOpenInterface", shown.failure)) return shown;
    WalkDevices(gc, handle, shown);
    Works(gc, gc.IFClose(handle), "IFClose", shown.failure);
    return shown;
}

void WalkInterfaces(const Producer& gc, TL_HANDLE tl, ShownSystem& shown) {
    Works(gc, gc.TLUpdateInterfaceList(tl, nullptr, kSearchMs), "TLUpdateInterfaceList", shown.failure);
    const std::uint32_t count = CountOf(gc, "TLGetNumInterfaces", shown.failure,
                                        [&](std::uint32_t* number) { return gc.TLGetNumInterfaces(tl, number); });
    for (std::uint32_t i = 0; i < count; ++i)
        shown.interfaces.push_back(WalkInterface(gc, tl, i));
}

void AddFailure(const std::string& failure, const std::string& module, std::vector<std::string>& failures) {
    if (!failure.empty()) failures.push_back(module + ": " + failure);
}

} // namespace

ShownSystem WalkProducer(const std::string& path) {
    const Producer gc(path);
    ShownSystem shown;
    shown.infos =
        InfosOf(gc, kSystemInfos, "GCGetInfo", shown.failure, [&](auto command, auto* type, void* value, auto* size) {
            return gc.GCGetInfo(command, type, value, size);
        });
    TL_HANDLE tl = nullptr;
    if (!Works(gc, gc.TLOpen(&tl), "TLOpen", shown.failure)) return shown;
    WalkInterfaces(gc, tl, shown);
    Works(gc, gc.TLClose(tl), "TLClose", shown.failure);
    return shown;
}

std::vector<std::string> FailuresIn(const ShownSystem& shown) {
    std::vector<std::string> failures;
    AddFailure(shown.failure, "system", failures);
    for (const ShownInterface& interface : shown.interfaces) {
        AddFailure(interface.failure, "interface " + interface.id, failures);
        for (const ShownDevice& device : interface.devices)
            AddFailure(device.failure, "device " + device.id, failures);
    }
    return failures;
}

} // namespace tool
