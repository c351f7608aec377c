#include "gentl/Info.h"

#include <cstring>

namespace gentl {

void Answer::String(const char* text) {
    Bytes(INFO_DATATYPE_STRING, text, std::strlen(text) + 1);
}

void Answer::Int32(int32_t value) {
    Bytes(INFO_DATATYPE_INT32, &value, sizeof value);
}

void Answer::Uint32(uint32_t value) {
    Bytes(INFO_DATATYPE_UINT32, &value, sizeof value);
}

void Answer::Uint64(uint64_t value) {
    Bytes(INFO_DATATYPE_UINT64, &value, sizeof value);
}

void Answer::Size(size_t value) {
    Bytes(INFO_DATATYPE_SIZET, &value, sizeof value);
}

void Answer::Bool(bool value) {
    const bool8_t byte = value ? 1 : 0;
    Bytes(INFO_DATATYPE_BOOL8, &byte, sizeof byte);
}

void Answer::Pointer(void* value) {
    Bytes(INFO_DATATYPE_PTR, &value, sizeof value);
}

void Answer::Bytes(INFO_DATATYPE type, const void* data, size_t size) {
    if (m_Buffer && *m_Size < size) {
        *m_Size = size;
        Fail(GC_ERR_BUFFER_TOO_SMALL, "the buffer is too small for the answer");
    }
    if (m_Type) *m_Type = type;
    if (m_Buffer && size != 0) std::memcpy(m_Buffer, data, size);
    *m_Size = size;
}

} // namespace gentl
