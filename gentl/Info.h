#pragma once
// The pattern of every query: a type, a buffer and its size by pointer.

#include "gentl/Failure.h"

#include <cstdio>
#include <cstring>
#include <string>

namespace gentl {

/// Where an answer goes, as the consumer gave it. Without a buffer only the size is told. Bound to a thread.
class Answer {
public:
    /// INVALID_PARAMETER without a size.
    Answer(INFO_DATATYPE* type, void* buffer, size_t* size) : m_Type(type), m_Buffer(buffer), m_Size(size) {
        if (!size) Fail(GC_ERR_INVALID_PARAMETER, "the pointer to the size is null");
    }

    /// With its closing NUL.
    void String(const std::string& text) { Bytes(INFO_DATATYPE_STRING, text.c_str(), text.size() + 1); }
    void String(const char* text);
    void Int32(int32_t value) { Number(INFO_DATATYPE_INT32, static_cast<uint32_t>(value)); }
    void Uint32(uint32_t value) { Number(INFO_DATATYPE_UINT32, value); }
    void Uint64(uint64_t value) { Number(INFO_DATATYPE_UINT64, value); }
    void Size(size_t value) { Number(INFO_DATATYPE_SIZET, value); }
    void Bool(bool value) { Number(INFO_DATATYPE_BOOL8, value ? 1 : 0); }
    void Pointer(void* value) { Number(INFO_DATATYPE_PTR, reinterpret_cast<std::uintptr_t>(value)); }
    /// As many of its low bytes as the type has.
    void Number(INFO_DATATYPE type, uint64_t value);
    void Bytes(INFO_DATATYPE type, const void* data, size_t size);

private:
    INFO_DATATYPE* m_Type;
    void* m_Buffer;
    size_t* m_Size;
};

/// As URLs and events have their numbers: capitals, no prefix.
inline std::string Hexadecimal(std::uint64_t number) {
    char text[17];
    std::snprintf(text, sizeof text, "%llX", static_cast<unsigned long long>(number));
    return text;
}

/// The texts that queries and module registers both tell.
inline constexpr const char* kVendor = "Tavix";
inline constexpr const char* kModel = "USB3 Vision producer";
inline constexpr const char* kVersion = "4.0.0";
inline constexpr const char* kTechnology = "U3V";

} // namespace gentl
