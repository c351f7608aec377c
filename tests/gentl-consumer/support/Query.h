#pragma once
// What queries answer, and how a consumer asks.

#include "Declarations.h"

#include <cstring>
#include <string>
#include <vector>

namespace consumer {

/// What one query said.
struct Answer {
    GC_ERROR code = GC_ERR_SUCCESS;
    INFO_DATATYPE type = -1;
    std::vector<std::uint8_t> bytes;

    bool Ok() const { return code == GC_ERR_SUCCESS; }
    /// Without its closing NUL; empty when there is none.
    std::string Text() const {
        const bool closed = !bytes.empty() && bytes.back() == 0;
        return closed ? std::string(bytes.begin(), bytes.end() - 1) : std::string();
    }
    /// The number, whatever its width.
    std::uint64_t Number() const {
        std::uint64_t number = 0;
        if (bytes.size() <= sizeof number) std::memcpy(&number, bytes.data(), bytes.size());
        return number;
    }
    void* Pointer() const { return reinterpret_cast<void*>(Number()); }
};

/// Asks for the size, then for the data. `call` takes type, room and size.
template<class Call>
Answer Ask(Call call) {
    Answer answer;
    std::size_t size = 0;
    answer.code = call(&answer.type, nullptr, &size);
    if (!answer.Ok()) return answer;
    answer.bytes.resize(size);
    std::uint8_t none = 0;
    answer.type = -1;
    answer.code = call(&answer.type, size == 0 ? &none : answer.bytes.data(), &size);
    answer.bytes.resize(size);
    return answer;
}

/// The same for texts that have no type: identifiers, addresses.
template<class Call>
Answer AskText(Call call) {
    return Ask([&](INFO_DATATYPE* type, void* room, std::size_t* size) {
        *type = kString;
        return call(static_cast<char*>(room), size);
    });
}

} // namespace consumer
