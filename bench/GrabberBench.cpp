// What the transport layer adds to a frame: RetrieveResult and QueueBuffer over a USB access library that costs
// nothing.

#include "TavixTL_USB/TavixUSB/chunk/UsbChunkParser.h"
#include "TavixTL_USB/TavixUSB/device/TavixUsbDevice.h"

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

namespace {

/// A device over the null library, streaming into one buffer that is always complete.
class Session {
public:
    Session() : m_Device(*new Tavix::CTavixUsbDevice(Tavix::CDeviceInfo())), stream(*m_Device.GetStreamGrabber(0)) {
        m_Device.Open(Tavix::DefaultAccessMode());
        stream.Open();
        stream.PrepareGrab();
        handle = stream.RegisterBuffer(m_Memory, sizeof m_Memory);
    }
    ~Session() {
        stream.FinishGrab();
        stream.DeregisterBuffer(handle);
        m_Device.Close();
        m_Device.Delete();
    }

private:
    Tavix::CTavixUsbDevice& m_Device;
    unsigned char m_Memory[64];

public:
    Tavix::IStreamGrabber& stream;
    Tavix::StreamBufferHandle handle;
};

void RetrieveResultAndQueueBuffer(benchmark::State& state) {
    Session session;
    Tavix::GrabResult result;
    session.stream.QueueBuffer(session.handle, nullptr);
    for (auto _ : state) {
        session.stream.RetrieveResult(result);
        session.stream.QueueBuffer(result.Handle(), result.Context());
    }
    if (!result.Succeeded()) state.SkipWithError("no result came");
}
BENCHMARK(RetrieveResultAndQueueBuffer)->Unit(benchmark::kNanosecond);

constexpr unsigned int kChunks = 10;

/// A description of ten chunks with a feature each.
std::string ChunkDescription() {
    std::string text = "<RegisterDescription ModelName=\"M\" VendorName=\"V\" StandardNameSpace=\"None\" "
                       "SchemaMajorVersion=\"1\" SchemaMinorVersion=\"1\" SchemaSubMinorVersion=\"0\" "
                       "MajorVersion=\"1\" MinorVersion=\"0\" SubMinorVersion=\"0\" "
                       "ProductGuid=\"00000000-0000-0000-0000-000000000001\" "
                       "VersionGuid=\"00000000-0000-0000-0000-000000000002\" "
                       "xmlns=\"http://www.genicam.org/GenApi/Version_1_1\"><Category Name=\"Root\"/>";
    for (unsigned int i = 0; i < kChunks; ++i) {
        const std::string n = std::to_string(i);
        text += "<Port Name=\"P" + n + "\"><ChunkID>0000000" + n + "</ChunkID></Port><Integer Name=\"F" + n +
                "\"><pValue>R" + n + "</pValue></Integer><IntReg Name=\"R" + n +
                "\"><Address>0</Address><Length>4</Length><AccessMode>RO</AccessMode><pPort>P" + n +
                "</pPort><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>";
    }
    return text + "</RegisterDescription>";
}

/// Ten chunks of four bytes, the first one an image.
std::vector<unsigned char> ChunkBuffer() {
    std::vector<unsigned char> bytes;
    const auto word = [&](std::size_t value) {
        for (int shift = 0; shift < 32; shift += 8)
            bytes.push_back(static_cast<unsigned char>(value >> shift));
    };
    for (unsigned int i = 0; i < kChunks; ++i) {
        const std::size_t length = i == 0 ? 640 * 480 : 4;
        bytes.resize(bytes.size() + length);
        word(i);
        word(length);
    }
    return bytes;
}

void AttachTenChunks(benchmark::State& state) {
    GenApi::CNodeMapRef map("Device");
    map._LoadXMLFromString(ChunkDescription().c_str());
    Tavix::CUsbChunkParser parser(map._Ptr);
    const std::vector<unsigned char> image = ChunkBuffer();
    GenApi::AttachStatistics_t statistics = {};
    for (auto _ : state)
        parser.AttachBuffer(image.data(), static_cast<std::int64_t>(image.size()), &statistics);
    state.counters["attached"] = statistics.NumAttachedChunks;
}
BENCHMARK(AttachTenChunks)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
