#pragma once
// Little-endian loads and stores, byte by byte: fields of the wire are not aligned.

#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

namespace virtualcam {

using Bytes = std::vector<std::uint8_t>;

template<class T>
inline T Load(const std::uint8_t* from) {
    static_assert(std::is_unsigned_v<T>);
    T value = 0;
    for (std::size_t i = 0; i < sizeof(T); ++i)
        value = static_cast<T>(value | static_cast<T>(T{from[i]} << (8 * i)));
    return value;
}

template<class T>
inline void Store(std::uint8_t* to, T value) {
    static_assert(std::is_unsigned_v<T>);
    for (std::size_t i = 0; i < sizeof(T); ++i)
        to[i] = static_cast<std::uint8_t>(value >> (8 * i));
}

template<class T>
inline void Append(Bytes& to, T value) {
    to.resize(to.size() + sizeof(T));
    Store<T>(to.data() + to.size() - sizeof(T), value);
}

inline std::uint32_t FloatBits(float value) {
    std::uint32_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}
inline std::uint64_t FloatBits(double value) {
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}
inline float FromFloatBits(std::uint32_t bits) {
    float value = 0;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}
inline double FromFloatBits(std::uint64_t bits) {
    double value = 0;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

/// Copies text into a fixed field, cut to its size and filled with zeros.
inline void StoreText(std::uint8_t* to, std::size_t size, const std::string& text) {
    std::memset(to, 0, size);
    text.copy(reinterpret_cast<char*>(to), size);
}

/// Text of a fixed field: up to the first zero or the whole field.
inline std::string LoadText(const std::uint8_t* from, std::size_t size) {
    std::size_t length = 0;
    while (length < size && from[length] != 0)
        ++length;
    return std::string(reinterpret_cast<const char*>(from), length);
}

} // namespace virtualcam
