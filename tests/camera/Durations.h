#pragma once
// Durations as clocks of cameras count them.

#include <cstdint>

constexpr std::int64_t kMicrosecond = 1000, kMillisecond = 1'000'000, kSecond = 1'000'000'000; // ns
