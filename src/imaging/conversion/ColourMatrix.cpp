#include "imaging/conversion/ColourMatrix.h"

#include <cmath>

namespace Tavix::imaging {
namespace {

constexpr double kUnit = 8192;

/// Weights of red and blue in luma.
struct Weights {
    double red, blue;
};

Weights WeightsOf(ColourModel model) {
    switch (model) {
    case ColourModel::Ycc709:
        return {0.2126, 0.0722};
    case ColourModel::Ycc2020:
        return {0.2627, 0.0593};
    default:
        return {0.299, 0.114};
    }
}

/// What becomes of a code of 8 bits that stands, moved up, in samples of `bits`, when these get `sampleBits`.
std::int32_t Level(unsigned code, unsigned bits, unsigned sampleBits) {
    unsigned word = code << 8;
    for (unsigned filled = bits; filled < 16; filled *= 2)
        word |= word >> filled;
    return static_cast<std::int32_t>(word >> (16 - sampleBits));
}

std::int32_t Rounded(double value) {
    return static_cast<std::int32_t>(std::lround(value * kUnit));
}

} // namespace

ColourMatrix MatrixFor(ColourModel model, unsigned bits, unsigned sampleBits) {
    const double most = static_cast<double>((1U << sampleBits) - 1);
    const bool hasHeadRoom = model != ColourModel::Yuv;
    const Weights weight = WeightsOf(model);
    const double greenWeight = 1 - weight.red - weight.blue;
    const auto level = [&](unsigned code) { return Level(code, bits, sampleBits); };
    const double lumaRange = hasHeadRoom ? level(235) - level(16) : most;
    const double chromaRange = hasHeadRoom ? level(240) - level(16) : most;
    const double redV = 2 * (1 - weight.red) * most / chromaRange, blueU = 2 * (1 - weight.blue) * most / chromaRange;
    ColourMatrix matrix;
    matrix.black = hasHeadRoom ? level(16) : 0;
    matrix.middle = level(128);
    matrix.luma = Rounded(most / lumaRange);
    matrix.redV = Rounded(redV);
    matrix.blueU = Rounded(blueU);
    matrix.greenU = Rounded(blueU * weight.blue / greenWeight);
    matrix.greenV = Rounded(redV * weight.red / greenWeight);
    return matrix;
}

} // namespace Tavix::imaging
