// How long real descriptions take to load and to read whole, and how the load grows with the size of a made one.
// Real ones come from the folder that TAVIX_CAMERA_XML_DIR names.

#include "support/MemoryPort.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <malloc.h>

namespace {

std::string ReadFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

/// A description of `registers` integer features, each with a register, a formula as its limit and an invalidator.
std::string MadeDescription(int registers) {
    std::string xml =
        R"(<RegisterDescription ModelName="Made" VendorName="Bench" StandardNameSpace="None" SchemaMajorVersion="1")"
        R"( SchemaMinorVersion="1" SchemaSubMinorVersion="0" MajorVersion="1" MinorVersion="0" SubMinorVersion="0")"
        R"( ProductGuid="00000000-0000-0000-0000-000000000001" VersionGuid="00000000-0000-0000-0000-000000000002")"
        R"( xmlns="http://www.genicam.org/GenApi/Version_1_1"><Category Name="Root">)";
    for (int i = 0; i < registers; ++i)
        xml += "<pFeature>Feature" + std::to_string(i) + "</pFeature>";
    xml += "</Category><Port Name=\"Device\"/>";
    for (int i = 0; i < registers; ++i) {
        const std::string n = std::to_string(i);
        xml += "<Integer Name=\"Feature" + n + "\"><ToolTip>A feature</ToolTip><pValue>Register" + n +
               "</pValue><pMax>Limit" + n + "</pMax></Integer><IntReg Name=\"Register" + n + "\"><Address>" +
               std::to_string(4 * i) +
               "</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort><pInvalidator>Feature" +
               std::to_string(i / 2) +
               "</pInvalidator><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>" +
               "<IntSwissKnife Name=\"Limit" + n + "\"><pVariable Name=\"X\">Register" + std::to_string(i / 2) +
               "</pVariable><Formula>X * 2 + 1000</Formula></IntSwissKnife>";
    }
    return xml + "</RegisterDescription>";
}

void Load(benchmark::State& state, const std::string& xml) {
    const GenICam::gcstring text(xml.c_str());
    for (auto _ : state) {
        GenApi::CNodeMapRef map("Device");
        map._LoadXMLFromString(text);
        const GenApi::INodeMap* loaded = map._Ptr;
        benchmark::DoNotOptimize(loaded);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * xml.size()));
}

double ProcessorMicroseconds() {
    return static_cast<double>(std::clock()) * 1e6 / CLOCKS_PER_SEC;
}

/// The processor time a node takes in maps of growing size, and its ratio to that in the smallest: 1 is linear. The
/// sizes take turns, so that what else the machine does meets all of them.
void LoadRatios(benchmark::State& state) {
    struct Size {
        int nodes;
        const char* name;
        GenICam::gcstring text;
        double best = 1e30;
    };
    std::vector<Size> sizes = {
        {1000, "us_per_node_1000", {}}, {10000, "us_per_node_10000", {}}, {50000, "us_per_node_50000", {}}};
    for (Size& size : sizes)
        size.text = MadeDescription(size.nodes / 3).c_str();
    for (auto _ : state) {
        for (Size& size : sizes) {
            // As many nodes a turn for each size.
            const int repeats = sizes.back().nodes / size.nodes;
            const double before = ProcessorMicroseconds();
            for (int i = 0; i < repeats; ++i) {
                GenApi::CNodeMapRef map("Device");
                map._LoadXMLFromString(size.text);
            }
            size.best = std::min(size.best, (ProcessorMicroseconds() - before) / (repeats * size.nodes));
        }
    }
    for (const Size& size : sizes)
        state.counters[size.name] = size.best;
    state.counters["ratio_10000"] = sizes[1].best / sizes[0].best;
    state.counters["ratio_50000"] = sizes[2].best / sizes[0].best;
}

void ReadAll(benchmark::State& state, const std::string& xml) {
    GenApi::CNodeMapRef map("Device");
    map._LoadXMLFromString(xml.c_str());
    bench::MemoryPort port;
    map._Connect(&port);
    GenApi::NodeList_t nodes;
    map._GetNodes(nodes);
    std::uint64_t values = 0;
    for (auto _ : state) {
        map._InvalidateNodes();
        values = 0;
        for (GenApi::INode* node : nodes) {
            auto* value = dynamic_cast<GenApi::IValue*>(node);
            if (!value || !node->IsFeature() || node->GetPrincipalInterfaceType() == GenApi::intfICategory) continue;
            try {
                if (GenApi::IsReadable(node->GetAccessMode())) benchmark::DoNotOptimize(value->ToString());
                ++values;
            } catch (const GenICam::GenericException&) {
                // Memory full of zeros is no camera: some formulas divide by what they read.
            }
        }
    }
    state.counters["features"] = static_cast<double>(values);
    state.counters["port_reads"] = static_cast<double>(port.reads) / static_cast<double>(state.iterations());
}

void Memory(benchmark::State& state, const std::string& xml) {
    const GenICam::gcstring text(xml.c_str());
    std::size_t bytes = 0;
    for (auto _ : state) {
        const std::size_t before = mallinfo2().uordblks;
        GenApi::CNodeMapRef map("Device");
        map._LoadXMLFromString(text);
        bytes = mallinfo2().uordblks - before;
    }
    state.counters["MiB"] = static_cast<double>(bytes) / (1 << 20);
}

void RegisterDescriptions(const char* folder) {
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().extension() != ".xml") continue;
        const std::string name = entry.path().stem().string(), xml = ReadFile(entry.path());
        benchmark::RegisterBenchmark(("Load/" + name).c_str(), Load, xml)->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(("ReadAll/" + name).c_str(), ReadAll, xml)->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(("Memory/" + name).c_str(), Memory, xml)->Unit(benchmark::kMillisecond);
    }
}

} // namespace

int main(int argc, char** argv) {
    for (const int nodes : {1000, 10000, 50000}) {
        benchmark::RegisterBenchmark(("LoadMade/" + std::to_string(nodes)).c_str(), Load, MadeDescription(nodes / 3))
            ->Unit(benchmark::kMillisecond);
    }
    benchmark::RegisterBenchmark("LoadMade/ratios", LoadRatios)->Unit(benchmark::kMillisecond)->Iterations(10);
    if (const char* folder = std::getenv("TAVIX_CAMERA_XML_DIR")) {
        RegisterDescriptions(folder);
    } else {
        std::fprintf(stderr, "TAVIX_CAMERA_XML_DIR is not set: only made descriptions are measured\n");
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
