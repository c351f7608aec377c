#include "virtualcam/firmware/control/ChunkControl.h"

#include <array>

namespace virtualcam {
namespace {

constexpr std::uint32_t kCount = static_cast<std::uint32_t>(Chunk::Count);

struct ChunkKind {
    std::uint32_t id;
    std::uint32_t size; // 0: the image's
};

// The description file's chunk ports have the same ids.
constexpr std::array<ChunkKind, kCount> kKinds{{{0x5A4D0001, 0},
                                                {0x5A4D0002, 8},
                                                {0x5A4D0003, 8},
                                                {0x5A4D0004, 8},
                                                {0x5A4D0005, 8},
                                                {0x5A4D0006, 4},
                                                {0x5A4D0007, 4},
                                                {0x5A4D00FF, 4}}};

std::size_t Padded(std::size_t size) {
    return (size + 3) / 4 * 4;
}

void AppendTag(Bytes& to, Chunk chunk, std::size_t length) {
    Append<std::uint32_t>(to, kKinds[static_cast<std::size_t>(chunk)].id);
    Append<std::uint32_t>(to, static_cast<std::uint32_t>(length));
}

void AppendValue(Bytes& to, Chunk chunk, const ChunkValues& values) {
    switch (chunk) {
    case Chunk::Timestamp:
        Append(to, values.timestamp);
        break;
    case Chunk::FrameId:
        Append(to, values.frameId);
        break;
    case Chunk::ExposureTime:
        Append(to, FloatBits(values.exposureTime));
        break;
    case Chunk::Gain:
        Append(to, FloatBits(values.gain));
        break;
    case Chunk::CounterValue:
        Append(to, values.counterValue);
        break;
    case Chunk::LineStatusAll:
        Append(to, values.lineStatusAll);
        break;
    default:
        Append<std::uint32_t>(to, 0);
        break;
    }
}

// Eight tables let eight bytes be taken in one step.
using CrcTables = std::array<std::array<std::uint16_t, 256>, 8>;

CrcTables MakeCrcTables() {
    CrcTables tables{};
    for (std::uint32_t i = 0; i < 256; ++i) {
        std::uint32_t crc = i << 8;
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc & 0x8000) != 0 ? (crc << 1) ^ 0x1021 : crc << 1;
        tables[0][i] = static_cast<std::uint16_t>(crc);
    }
    for (std::size_t k = 1; k < tables.size(); ++k)
        for (std::uint32_t i = 0; i < 256; ++i) {
            const std::uint16_t before = tables[k - 1][i];
            tables[k][i] = static_cast<std::uint16_t>((before << 8) ^ tables[0][before >> 8]);
        }
    return tables;
}

} // namespace

std::uint16_t Crc16(std::uint16_t crc, const std::uint8_t* data, std::size_t length) {
    static const CrcTables tables = MakeCrcTables();
    for (; length >= 8; data += 8, length -= 8)
        crc = static_cast<std::uint16_t>(tables[7][data[0] ^ (crc >> 8)] ^ tables[6][data[1] ^ (crc & 0xFF)] ^
                                         tables[5][data[2]] ^ tables[4][data[3]] ^ tables[3][data[4]] ^
                                         tables[2][data[5]] ^ tables[1][data[6]] ^ tables[0][data[7]]);
    for (; length != 0; ++data, --length)
        crc = static_cast<std::uint16_t>((crc << 8) ^ tables[0][(crc >> 8) ^ *data]);
    return crc;
}

std::size_t ChunkPlan::PayloadBytes(std::size_t imageBytes) const {
    if (!active) return imageBytes;
    std::size_t total = Padded(imageBytes) + kChunkTagSize;
    for (std::uint32_t i = 1; i < kCount; ++i)
        if (Has(static_cast<Chunk>(i))) total += kKinds[i].size + kChunkTagSize;
    return total;
}

Bytes ChunkPlan::Tail(std::size_t imageBytes, const ChunkValues& values) const {
    Bytes tail;
    if (!active) return tail;
    tail.resize(Padded(imageBytes) - imageBytes);
    AppendTag(tail, Chunk::Image, Padded(imageBytes));
    for (std::uint32_t i = 1; i < kCount; ++i) {
        const Chunk chunk = static_cast<Chunk>(i);
        if (!Has(chunk)) continue;
        AppendValue(tail, chunk, values);
        AppendTag(tail, chunk, kKinds[i].size);
    }
    return tail;
}

ChunkControl::ChunkControl(const FeatureMaker& make, const std::function<void()>& changed)
    : m_Registers(make.Registers()) {
    make.Lockable(make.Switch(reg::kChunkModeActive)).written = changed;
    make.Range(reg::kChunkSelector, static_cast<std::uint32_t>(Chunk::Timestamp), 0, kCount - 1);
    for (std::uint32_t i = 0; i < kCount; ++i) {
        Register& enable = make.Choice(reg::kChunkEnable + 4 * i, i == 0 ? 1 : 0,
                                       i == 0 ? std::vector<std::uint32_t>{1} : std::vector<std::uint32_t>{0, 1});
        make.Lockable(enable).written = changed;
    }
}

ChunkPlan ChunkControl::Plan() const {
    ChunkPlan plan;
    plan.active = m_Registers.Get<std::uint32_t>(reg::kChunkModeActive) != 0;
    for (std::uint32_t i = 0; i < kCount; ++i)
        plan.enabled |= m_Registers.Get<std::uint32_t>(reg::kChunkEnable + 4 * i) << i;
    return plan;
}

} // namespace virtualcam
