#pragma once
// Each function that takes a handle, callable with any handle while all else that it is given is good.

#include "Session.h"

#include <functional>
#include <vector>

namespace consumer {

/// What a function wants for its handle.
enum class Kind { System, Interface, Device, Stream, Port, Source, Event };

/// What calls may need besides the handle; the handles are those of a session at work.
struct Things {
    BUFFER_HANDLE buffer = nullptr;
    std::string interfaceId, deviceId, streamId;
};

struct Call {
    const char* name;
    Kind kind;
    std::function<GC_ERROR(Library&, void* handle, const Things&)> run;
};

/// All of them; those that close or change something are among them.
const std::vector<Call>& AllCalls();

} // namespace consumer
