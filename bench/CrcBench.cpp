// How fast the payload's checksum is computed, each way beside the others.

#include "u3v/Crc16.h"

#include <benchmark/benchmark.h>

#include <vector>

namespace {

using Way = std::uint16_t (*)(const std::uint8_t*, std::size_t);

void Crc(benchmark::State& state, Way way) {
    const std::vector<std::uint8_t> payload(static_cast<std::size_t>(state.range(0)), 0x5A);
    for (auto _ : state) {
        const std::uint16_t crc = way(payload.data(), payload.size());
        benchmark::DoNotOptimize(crc);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * state.range(0));
}

constexpr std::int64_t kFullHdMono8 = 1920 * 1080;

BENCHMARK_CAPTURE(Crc, byte_table, u3v::Crc16ByteTable)->Arg(kFullHdMono8);
BENCHMARK_CAPTURE(Crc, portable, u3v::Crc16Portable)->Arg(kFullHdMono8);
BENCHMARK_CAPTURE(Crc, chosen_at_run_time, u3v::Crc16)->Arg(kFullHdMono8);

} // namespace

BENCHMARK_MAIN();
