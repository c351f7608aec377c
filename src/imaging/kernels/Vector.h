#pragma once
// Arithmetic on as many samples as a register holds, in the compilers' own vector types.

#include "imaging/kernels/Kernels.h"

#include <type_traits>

#if defined(__x86_64__)
#include <immintrin.h>
#elif defined(__ARM_NEON)
#include <arm_neon.h>
#endif

namespace Tavix::imaging {
namespace {

#if defined(__AVX2__)
constexpr std::size_t kVectorBytes = 32;
#else
constexpr std::size_t kVectorBytes = 16;
#endif

template<class T, std::size_t Size = kVectorBytes>
struct VectorOf {
    typedef T Type __attribute__((vector_size(Size)));
};
template<class T>
using Vector = typename VectorOf<T>::Type;

template<class T>
using WideVector = Vector<Wide<T>>;

template<class T>
inline Vector<T> LoadVector(const T* from) {
    Vector<T> vector;
    __builtin_memcpy(&vector, from, sizeof vector);
    return vector;
}

template<class T>
inline void StoreVector(Vector<T> vector, T* to) {
    __builtin_memcpy(to, &vector, sizeof vector);
}

/// The first and the second of each two samples, each widened.
template<class T>
inline WideVector<T> Firsts(Vector<T> pairs) {
    return reinterpret_cast<WideVector<T>>(pairs) & ((1 << (8 * sizeof(T))) - 1);
}
template<class T>
inline WideVector<T> Seconds(Vector<T> pairs) {
    using Unsigned = Vector<std::make_unsigned_t<Wide<T>>>;
    return reinterpret_cast<WideVector<T>>(reinterpret_cast<Unsigned>(pairs) >> (8 * sizeof(T)));
}

/// The reverse of both; what they hold fits T.
template<class T>
inline Vector<T> Together(WideVector<T> firsts, WideVector<T> seconds) {
    return reinterpret_cast<Vector<T>>(firsts | (seconds << (8 * sizeof(T))));
}

template<class V>
inline V Least(V a, V b) {
    return a < b ? a : b;
}

template<class V>
inline V Greatest(V a, V b) {
    return a > b ? a : b;
}

template<class V>
inline V Distance(V a, V b) {
    return Greatest(a, b) - Least(a, b);
}

/// Each brought into T's range.
template<class T>
inline WideVector<T> Clamped(WideVector<T> wide) {
    const WideVector<T> most = WideVector<T>{} + static_cast<Wide<T>>(static_cast<T>(~T{0}));
    return Least(Greatest(wide, WideVector<T>{}), most);
}

/// The high half of each product.
inline Vector<std::int16_t> MultiplyHigh(Vector<std::int16_t> a, Vector<std::int16_t> b) {
#if defined(__AVX2__)
    return reinterpret_cast<Vector<std::int16_t>>(
        _mm256_mulhi_epi16(reinterpret_cast<__m256i>(a), reinterpret_cast<__m256i>(b)));
#elif defined(__x86_64__)
    return reinterpret_cast<Vector<std::int16_t>>(
        _mm_mulhi_epi16(reinterpret_cast<__m128i>(a), reinterpret_cast<__m128i>(b)));
#else
    using Products = VectorOf<std::int32_t, 2 * kVectorBytes>::Type;
    const Products products = __builtin_convertvector(a, Products) * __builtin_convertvector(b, Products);
    return __builtin_convertvector(products >> 16, Vector<std::int16_t>);
#endif
}

/// The first where `mask` is set.
template<class V>
inline V Pick(V mask, V whereSet, V elsewhere) {
    return (whereSet & mask) | (elsewhere & ~mask);
}

/// Half of a + b + 1.
template<class T>
inline Vector<T> Mean2(Vector<T> a, Vector<T> b) {
#if defined(__AVX2__)
    if constexpr (sizeof(T) == 1) {
        return reinterpret_cast<Vector<T>>(_mm256_avg_epu8(reinterpret_cast<__m256i>(a), reinterpret_cast<__m256i>(b)));
    } else {
        return reinterpret_cast<Vector<T>>(
            _mm256_avg_epu16(reinterpret_cast<__m256i>(a), reinterpret_cast<__m256i>(b)));
    }
#elif defined(__x86_64__)
    if constexpr (sizeof(T) == 1) {
        return reinterpret_cast<Vector<T>>(_mm_avg_epu8(reinterpret_cast<__m128i>(a), reinterpret_cast<__m128i>(b)));
    } else {
        return reinterpret_cast<Vector<T>>(_mm_avg_epu16(reinterpret_cast<__m128i>(a), reinterpret_cast<__m128i>(b)));
    }
#else
    return (a | b) - ((a ^ b) >> 1);
#endif
}

/// A quarter of a + b + c + d + 2: the mean of two means, less one where both roundings went up for nothing.
template<class T>
inline Vector<T> Mean4(Vector<T> a, Vector<T> b, Vector<T> c, Vector<T> d) {
    const Vector<T> first = Mean2<T>(a, b), second = Mean2<T>(c, d);
    const Vector<T> one = Vector<T>{} + T{1};
    return Mean2<T>(first, second) - (((a ^ b) | (c ^ d)) & (first ^ second) & one);
}

} // namespace
} // namespace Tavix::imaging
