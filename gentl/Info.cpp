#include "gentl/Info.h"

#include <cstring>

namespace gentl {

void Answer::String(const char* text) {
    Bytes(INFO_DATATYPE_STRING, text, std::strlen(text) + 1);
}

[[gnu::hot]] void Answer::Number(INFO_DATATYPE type, uint64_t value) {
    switch (type) {
    case INFO_DATATYPE_BOOL8: {
        const auto byte = static_cast<bool8_t>(value);
        return Bytes(type, &byte, sizeof byte);
    }
    case INFO_DATATYPE_INT32:
    case INFO_DATATYPE_UINT32: {
        const auto word = static_cast<uint32_t>(value);
        return Bytes(type, &word, sizeof word);
    }
    default:
        return Bytes(type, &value, sizeof value);
    }
}

[[gnu::hot]] void Answer::Bytes(INFO_DATATYPE type, const void* data, size_t size) {
    if (m_Buffer && *m_Size < size) {
        *m_Size = size;
        Fail(GC_ERR_BUFFER_TOO_SMALL, "the buffer is too small for the answer");
    }
    if (m_Type) *m_Type = type;
    if (m_Buffer && size != 0) std::memcpy(m_Buffer, data, size);
    *m_Size = size;
}

} // namespace gentl
