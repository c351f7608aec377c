// How long a register read takes from the feature to the camera and back, and from the node's cache.

#include "support/BenchCamera.h"

#include <GenApi/GenApi.h>
#include <benchmark/benchmark.h>

namespace {

bench::BenchCamera& SharedCamera() {
    static bench::BenchCamera camera;
    return camera;
}

void FeatureReadOverTheBus(benchmark::State& state) {
    GenApi::CIntegerPtr width(SharedCamera().Device().GetNodeMap()->GetNode("Width"));
    for (auto _ : state)
        benchmark::DoNotOptimize(width->GetValue(/*Verify=*/false, /*IgnoreCache=*/true));
}
BENCHMARK(FeatureReadOverTheBus)->Unit(benchmark::kMicrosecond);

void FeatureReadFromTheCache(benchmark::State& state) {
    GenApi::CIntegerPtr width(SharedCamera().Device().GetNodeMap()->GetNode("Width"));
    width->GetValue();
    for (auto _ : state)
        benchmark::DoNotOptimize(width->GetValue());
}
BENCHMARK(FeatureReadFromTheCache)->Unit(benchmark::kNanosecond);

void FeatureWriteOverTheBus(benchmark::State& state) {
    GenApi::CIntegerPtr width(SharedCamera().Device().GetNodeMap()->GetNode("Width"));
    const std::int64_t value = width->GetValue();
    for (auto _ : state)
        width->SetValue(value);
}
BENCHMARK(FeatureWriteOverTheBus)->Unit(benchmark::kMicrosecond);

void Enumeration(benchmark::State& state) {
    for (auto _ : state) {
        Tavix::DeviceInfoList cameras;
        benchmark::DoNotOptimize(Tavix::CTlFactory::GetInstance().EnumerateDevices(cameras));
    }
}
BENCHMARK(Enumeration)->Unit(benchmark::kMicrosecond);

void CreateAndDestroyDevice(benchmark::State& state) {
    Tavix::DeviceInfoList cameras;
    Tavix::CTlFactory::GetInstance().EnumerateDevices(cameras);
    for (auto _ : state) {
        Tavix::ITavixDevice* device = Tavix::CTlFactory::GetInstance().CreateDevice(cameras.back());
        Tavix::CTlFactory::GetInstance().DestroyDevice(device);
    }
}
BENCHMARK(CreateAndDestroyDevice)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv) {
    bench::UseVirtualCameras(2);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
