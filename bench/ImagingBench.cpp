// Unpacking and conversion in pixels a second on one core, beside what other libraries make of the same bytes.

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include <benchmark/benchmark.h>

#include <tavix/imaging/Convert.h>

#ifdef TAVIX_BENCH_SWSCALE
extern "C" {
#include <libswscale/swscale.h>
}
#endif
#ifdef TAVIX_BENCH_OPENCV
#include <opencv2/imgproc.hpp>
#endif

using namespace Tavix::imaging;

namespace {

constexpr std::uint32_t kWidth = 2448, kHeight = 2048;

// A picture with edges and a little noise; all noise would be kind to nobody.
std::vector<std::uint8_t> Bytes(PixelFormat format) {
    std::vector<std::uint8_t> bytes(BytesOf(format, kWidth, kHeight));
    std::minstd_rand random(1);
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<std::uint8_t>(i / 97 * 40 + (random() >> 16) % 16);
    return bytes;
}

void CountPixels(benchmark::State& state) {
    state.counters["pixels"] = benchmark::Counter(static_cast<double>(kWidth) * kHeight * state.iterations(),
                                                  benchmark::Counter::kIsRate, benchmark::Counter::kIs1000);
}

void Ours(benchmark::State& state, PixelFormat from, PixelFormat to, Demosaicing quality) {
    const std::vector<std::uint8_t> bytes = Bytes(from);
    const PictureView view{bytes.data(), bytes.size(), from, kWidth, kHeight};
    Picture picture(to, kWidth, kHeight);
    for (auto _ : state) {
        Convert(view, picture.Span(), {quality});
        benchmark::ClobberMemory();
    }
    CountPixels(state);
}

void OursUnpacking(benchmark::State& state, PixelFormat from) {
    const std::vector<std::uint8_t> bytes = Bytes(from);
    const PictureView view{bytes.data(), bytes.size(), from, kWidth, kHeight};
    Picture picture(UnpackedFormat(from), kWidth, kHeight);
    for (auto _ : state) {
        Unpack(view, picture.Span());
        benchmark::ClobberMemory();
    }
    CountPixels(state);
}

// What the memory gives: as many bytes read and written as for Mono12p to Mono16.
void CopyOfTheSameBytes(benchmark::State& state) {
    const std::vector<std::uint8_t> from = Bytes(PixelFormat::Mono12p);
    std::vector<std::uint8_t> to(std::size_t{kWidth} * kHeight * 2);
    for (auto _ : state) {
        std::memcpy(to.data(), from.data(), from.size());
        std::memset(to.data() + from.size(), 1, to.size() - from.size());
        benchmark::ClobberMemory();
    }
    CountPixels(state);
}

#ifdef TAVIX_BENCH_SWSCALE

void Swscale(benchmark::State& state, PixelFormat from, AVPixelFormat theirFrom, AVPixelFormat theirTo) {
    const std::vector<std::uint8_t> bytes = Bytes(from);
    std::vector<std::uint8_t> to(std::size_t{kWidth} * kHeight * 3 + 64);
    SwsContext* context =
        sws_getContext(kWidth, kHeight, theirFrom, kWidth, kHeight, theirTo, SWS_POINT, nullptr, nullptr, nullptr);
    if (!context) return state.SkipWithError("libswscale does not convert that");
    const std::uint8_t* const sources[4] = {bytes.data()};
    const int sourceStride[4] = {static_cast<int>(bytes.size() / kHeight)}, targetStride[4] = {kWidth * 3};
    std::uint8_t* const targets[4] = {to.data()};
    for (auto _ : state) {
        sws_scale(context, sources, sourceStride, 0, kHeight, targets, targetStride);
        benchmark::ClobberMemory();
    }
    sws_freeContext(context);
    CountPixels(state);
}

#endif

#ifdef TAVIX_BENCH_OPENCV

void OpenCv(benchmark::State& state, PixelFormat from, int type, int code) {
    std::vector<std::uint8_t> bytes = Bytes(from);
    const cv::Mat source(kHeight, kWidth, type, bytes.data());
    cv::Mat target;
    for (auto _ : state) {
        cv::cvtColor(source, target, code);
        benchmark::ClobberMemory();
    }
    CountPixels(state);
}

// It does not know packed pixels, so these are unpacked for it.
void OpenCvUnpackedForIt(benchmark::State& state, int code) {
    const std::vector<std::uint8_t> bytes = Bytes(PixelFormat::Mono12p);
    const PictureView view{bytes.data(), bytes.size(), PixelFormat::Mono12p, kWidth, kHeight};
    Picture unpacked(PixelFormat::Mono8, kWidth, kHeight);
    const cv::Mat source(kHeight, kWidth, CV_8UC1, unpacked.Data());
    cv::Mat target;
    for (auto _ : state) {
        Convert(view, unpacked.Span());
        cv::cvtColor(source, target, code);
        benchmark::ClobberMemory();
    }
    CountPixels(state);
}

#endif

void AddOurs() {
    const auto add = [](const char* name, PixelFormat from, PixelFormat to, Demosaicing quality) {
        benchmark::RegisterBenchmark(name, Ours, from, to, quality);
    };
    constexpr Demosaicing kBilinear = Demosaicing::Bilinear, kEdgeAware = Demosaicing::EdgeAware;
    add("Mono12p to Mono16/ours", PixelFormat::Mono12p, PixelFormat::Mono16, kBilinear);
    add("Mono12p to Mono8/ours", PixelFormat::Mono12p, PixelFormat::Mono8, kBilinear);
    benchmark::RegisterBenchmark("Mono12p to Mono12/ours", OursUnpacking, PixelFormat::Mono12p);
    benchmark::RegisterBenchmark("Mono10p to Mono10/ours", OursUnpacking, PixelFormat::Mono10p);
    benchmark::RegisterBenchmark("Mono12Packed to Mono12/ours", OursUnpacking, PixelFormat::Mono12Packed);
    benchmark::RegisterBenchmark("Mono14p to Mono14/ours", OursUnpacking, PixelFormat::Mono14p);
    add("BayerRG8 to BGR8, bilinear/ours", PixelFormat::BayerRG8, PixelFormat::BGR8, kBilinear);
    add("BayerRG8 to BGR8, edge-aware/ours", PixelFormat::BayerRG8, PixelFormat::BGR8, kEdgeAware);
    add("BayerRG12p to BGR8, bilinear/ours", PixelFormat::BayerRG12p, PixelFormat::BGR8, kBilinear);
    add("BayerRG12p to BGR8, edge-aware/ours", PixelFormat::BayerRG12p, PixelFormat::BGR8, kEdgeAware);
    add("BayerRG12p to RGB16, edge-aware/ours", PixelFormat::BayerRG12p, PixelFormat::RGB16, kEdgeAware);
    add("YUV422_8 to RGB8/ours", PixelFormat::YUV422_8, PixelFormat::RGB8, kBilinear);
}

void AddTheirs() {
    benchmark::RegisterBenchmark("Mono12p to Mono16/copy and fill of as many bytes", CopyOfTheSameBytes);
#ifdef TAVIX_BENCH_SWSCALE
    benchmark::RegisterBenchmark("BayerRG8 to BGR8, bilinear/libswscale", Swscale, PixelFormat::BayerRG8,
                                 AV_PIX_FMT_BAYER_RGGB8, AV_PIX_FMT_BGR24);
    benchmark::RegisterBenchmark("YUV422_8 to RGB8/libswscale", Swscale, PixelFormat::YUV422_8, AV_PIX_FMT_YUYV422,
                                 AV_PIX_FMT_RGB24);
#endif
#ifdef TAVIX_BENCH_OPENCV
    // Its names are those of the second line's second and third pixel: BG where we say RG.
    cv::setNumThreads(1);
    benchmark::RegisterBenchmark("BayerRG8 to BGR8, bilinear/OpenCV", OpenCv, PixelFormat::BayerRG8, CV_8UC1,
                                 cv::COLOR_BayerBG2BGR);
    benchmark::RegisterBenchmark("BayerRG8 to BGR8, edge-aware/OpenCV", OpenCv, PixelFormat::BayerRG8, CV_8UC1,
                                 cv::COLOR_BayerBG2BGR_EA);
    benchmark::RegisterBenchmark("BayerRG12p to BGR8, bilinear/OpenCV, unpacked for it", OpenCvUnpackedForIt,
                                 cv::COLOR_BayerBG2BGR);
    benchmark::RegisterBenchmark("BayerRG12p to BGR8, edge-aware/OpenCV, unpacked for it", OpenCvUnpackedForIt,
                                 cv::COLOR_BayerBG2BGR_EA);
    benchmark::RegisterBenchmark("YUV422_8 to RGB8/OpenCV", OpenCv, PixelFormat::YUV422_8, CV_8UC2,
                                 cv::COLOR_YUV2RGB_YUYV);
#endif
}

} // namespace

int main(int count, char** arguments) {
    AddOurs();
    AddTheirs();
    benchmark::Initialize(&count, arguments);
    if (benchmark::ReportUnrecognizedArguments(count, arguments)) return 2;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
