#pragma once
// How a caller calls, and what it expects of every answer.

#include "Caller.h"

#include <algorithm>
#include <array>
#include <stdexcept>

namespace consumer {

/// Room for an answer, with a border that must not be written to.
struct AnswerRoom {
    static constexpr std::uint8_t kUntouched = 0xC7;
    std::array<std::uint8_t, 512> bytes;
    const std::size_t given;
    std::size_t size;
    explicit AnswerRoom(std::size_t room) : given(room), size(room) { bytes.fill(kUntouched); }
    void Check(const char* name, GC_ERROR code, bool lent) const {
        if (!lent) return;
        if (code == GC_ERR_SUCCESS && size > given) throw std::runtime_error(std::string(name) + " used too much room");
        if (std::any_of(bytes.begin() + static_cast<std::ptrdiff_t>(given), bytes.end(),
                        [](std::uint8_t byte) { return byte != kUntouched; }))
            throw std::runtime_error(std::string(name) + " wrote behind the room");
    }
};

inline bool IsKnown(GC_ERROR code) {
    return code == GC_ERR_SUCCESS || (code <= GC_ERR_ERROR && code >= GC_ERR_AMBIGUOUS) || code <= -10000;
}

template<class Function, class... Arguments>
GC_ERROR Caller::Call(const char* name, Function function, Arguments... arguments) {
    m_Doing = name;
    const GC_ERROR code = function(arguments...);
    ++m_Calls;
    m_Good += code == GC_ERR_SUCCESS;
    if (!IsKnown(code)) throw std::runtime_error(std::string(name) + " returned " + std::to_string(code));
    return code;
}

template<class Function, class... Arguments>
void Caller::Ask(const char* name, Function function, Arguments... arguments) {
    AnswerRoom room(Draw(3) == 0 ? Draw(16) : 256);
    INFO_DATATYPE type = 0;
    const bool lent = Draw(4) != 0;
    const Command command = static_cast<Command>(Draw(36)) - 2;
    const GC_ERROR code =
        Call(name, function, arguments..., command, Draw(8) == 0 ? nullptr : &type,
             static_cast<void*>(lent ? room.bytes.data() : nullptr), Draw(50) == 0 ? nullptr : &room.size);
    room.Check(name, code, lent);
}

template<class Function, class... Arguments>
void Caller::Open(const char* name, Booty::Kind kind, Function function, Arguments... arguments) {
    void* handle = nullptr;
    const GC_ERROR code = Call(name, function, arguments..., Draw(50) == 0 ? nullptr : &handle);
    if (code == GC_ERR_SUCCESS && handle) m_Booty.Keep(kind, handle, m_Random());
}

} // namespace consumer
