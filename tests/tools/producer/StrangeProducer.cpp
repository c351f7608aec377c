// A stranger's producer with two interfaces and a device in each. STRANGE_PRODUCER says in which call it goes wrong.
#include "gentl/GenTL.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <unistd.h>

namespace {

bool Is(const char* oddity) {
    const char* wanted = std::getenv("STRANGE_PRODUCER");
    return wanted && std::strcmp(wanted, oddity) == 0;
}

GC_ERROR Tell(const char* text, INFO_DATATYPE* type, void* buffer, size_t* size) {
    const size_t needed = std::strlen(text) + 1;
    if (type) *type = INFO_DATATYPE_STRING;
    if (buffer && *size < needed) return GC_ERR_BUFFER_TOO_SMALL;
    if (buffer) std::memcpy(buffer, text, needed);
    *size = needed;
    return GC_ERR_SUCCESS;
}

char s_System, s_Interfaces[2];

} // namespace

GC_API GCInitLib() {
    if (Is("Says")) std::puts("hello from a producer");
    if (Is("Exits")) std::exit(0);
    if (Is("ExitsAtOnce")) _exit(0);
    return GC_ERR_SUCCESS;
}
GC_API GCCloseLib() {
    if (Is("SaysAtTheEnd")) std::atexit([] { std::puts("good-bye from a producer"); });
    return GC_ERR_SUCCESS;
}
GC_API GCGetInfo(TL_INFO_CMD command, INFO_DATATYPE* type, void* buffer, size_t* size) {
    return command == TL_INFO_VENDOR ? Tell("Stranger", type, buffer, size) : GC_ERR_NOT_IMPLEMENTED;
}
GC_API GCGetLastError(GC_ERROR* code, char* text, size_t* size) {
    *code = GC_ERR_IO;
    return Tell("it is down", nullptr, text, size);
}
GC_API TLOpen(TL_HANDLE* handle) {
    *handle = &s_System;
    return Is("SystemFails") ? GC_ERR_IO : GC_ERR_SUCCESS;
}
GC_API TLClose(TL_HANDLE) {
    return GC_ERR_SUCCESS;
}
GC_API TLUpdateInterfaceList(TL_HANDLE, bool8_t*, uint64_t) {
    return GC_ERR_SUCCESS;
}
GC_API TLGetNumInterfaces(TL_HANDLE, uint32_t* count) {
    *count = Is("CountsBeyondReason") ? 0xFFFFFFFF : 2;
    return GC_ERR_SUCCESS;
}
GC_API TLGetInterfaceID(TL_HANDLE, uint32_t index, char* id, size_t* size) {
    return Tell(index == 0 ? "first" : "second", nullptr, id, size);
}
GC_API TLGetInterfaceInfo(TL_HANDLE, const char* id, INTERFACE_INFO_CMD, INFO_DATATYPE* type, void* buffer,
                          size_t* size) {
    return Tell(id, type, buffer, size);
}
GC_API TLOpenInterface(TL_HANDLE, const char* id, IF_HANDLE* handle) {
    const bool isFirst = std::strcmp(id, "first") == 0;
    if (Is("InterfaceFails") && isFirst) return GC_ERR_IO;
    *handle = &s_Interfaces[isFirst ? 0 : 1];
    return GC_ERR_SUCCESS;
}
GC_API IFClose(IF_HANDLE) {
    return GC_ERR_SUCCESS;
}
GC_API IFUpdateDeviceList(IF_HANDLE handle, bool8_t*, uint64_t) {
    return Is("SearchFails") && handle == &s_Interfaces[0] ? GC_ERR_TIMEOUT : GC_ERR_SUCCESS;
}
GC_API IFGetNumDevices(IF_HANDLE, uint32_t* count) {
    *count = 1;
    return GC_ERR_SUCCESS;
}
GC_API IFGetDeviceID(IF_HANDLE, uint32_t, char* id, size_t* size) {
    return Tell("camera", nullptr, id, size);
}
GC_API IFGetDeviceInfo(IF_HANDLE handle, const char*, DEVICE_INFO_CMD command, INFO_DATATYPE* type, void* buffer,
                       size_t* size) {
    if (Is("DeviceFails") && handle == &s_Interfaces[0] && command == DEVICE_INFO_SERIAL_NUMBER) return GC_ERR_IO;
    if (command == DEVICE_INFO_ACCESS_STATUS) return Tell("99999999999999999999", type, buffer, size);
    return command == DEVICE_INFO_VERSION ? GC_ERR_NOT_AVAILABLE : Tell("something", type, buffer, size);
}
