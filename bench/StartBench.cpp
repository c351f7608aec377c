// What an application waits for before its first image: finding cameras, creating one, opening it, grabbing. The
// description of the camera that is created is 1 MB long, or the file that is given as argument.

#include <tavix/Tavix.h>

#include <GenApi/GenApi.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <time.h>
#include <unistd.h>

namespace {

using Tavix::CTlFactory;

constexpr int kTimes = 15;

/// A description of 2,400 nodes and 1 MB with texts as real ones have them.
std::string MakeDescription() {
    std::string features, nodes;
    const std::string toolTip(430, 't');
    for (int i = 0; i < 1200; ++i) {
        const std::string number = std::to_string(i), address = std::to_string(0x10000 + 8 * i);
        features += "<pFeature>Feature" + number + "</pFeature>";
        nodes += "<Integer Name=\"Feature" + number + "\"><ToolTip>" + toolTip + "</ToolTip><pValue>Register" + number +
                 "</pValue></Integer>\n<IntReg Name=\"Register" + number + "\"><Address>" + address +
                 "</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort><Sign>Unsigned</Sign>"
                 "<Endianess>LittleEndian</Endianess></IntReg>\n";
    }
    return "<RegisterDescription ModelName=\"M\" VendorName=\"V\" StandardNameSpace=\"None\" SchemaMajorVersion=\"1\" "
           "SchemaMinorVersion=\"1\" SchemaSubMinorVersion=\"0\" MajorVersion=\"1\" MinorVersion=\"0\" "
           "SubMinorVersion=\"0\" ProductGuid=\"00000000-0000-0000-0000-000000000001\" "
           "VersionGuid=\"00000000-0000-0000-0000-000000000002\" "
           "xmlns=\"http://www.genicam.org/GenApi/Version_1_1\"><Category Name=\"Root\">" +
           features + "</Category>\n" + nodes + "<Port Name=\"Device\"/></RegisterDescription>";
}

/// Sixteen cameras: the first with its own description, the others with that of `descriptionPath`. Bound to a thread.
class Bus {
public:
    explicit Bus(std::string descriptionPath)
        : m_Folder(std::filesystem::temp_directory_path() / ("tavix-bench-start-" + std::to_string(getpid()))) {
        std::filesystem::create_directory(m_Folder);
        if (descriptionPath.empty()) {
            descriptionPath = m_Folder / "description.xml";
            std::ofstream(descriptionPath) << MakeDescription();
        }
        bytes = std::filesystem::file_size(descriptionPath);
        std::ofstream settings(m_Folder / "cameras.json");
        settings << "{\"cameras\": [{\"frameRateEnable\": false}";
        for (int i = 0; i < 15; ++i)
            settings << ", {\"serial\": \"" << i << "\", \"guid\": \"1209000000" << 10 + i
                     << "\", \"registers\": {\"descriptionPath\": \"" << descriptionPath << "\"}}";
        settings << "]}";
        setenv("TAVIX_VIRTUAL_CAMERAS", (m_Folder / "cameras.json").c_str(), /*overwrite=*/1);
    }
    ~Bus() { std::filesystem::remove_all(m_Folder); }
    Bus(const Bus&) = delete;
    Bus& operator=(const Bus&) = delete;

    std::uintmax_t bytes;

private:
    const std::filesystem::path m_Folder;
};

double Now(clockid_t clock) {
    timespec time = {};
    clock_gettime(clock, &time);
    return double(time.tv_sec) * 1e3 + double(time.tv_nsec) * 1e-6;
}

/// Prints the first, the middle and the worst time of several, and the processor time of one.
template<class Step>
void Measure(const char* what, Step step) {
    std::vector<double> times;
    const double cpu = Now(CLOCK_PROCESS_CPUTIME_ID);
    for (int i = 0; i < kTimes; ++i) {
        const double start = Now(CLOCK_MONOTONIC);
        step();
        times.push_back(Now(CLOCK_MONOTONIC) - start);
    }
    const double first = times.front(), cpuEach = (Now(CLOCK_PROCESS_CPUTIME_ID) - cpu) / kTimes;
    std::sort(times.begin(), times.end());
    std::printf("%-44s first %7.2f ms, median %7.2f ms, worst %7.2f ms, processor %7.2f ms\n", what, first,
                times[times.size() / 2], times.back(), cpuEach);
}

void ToFirstImage(Tavix::ITavixDevice& device) {
    device.Open();
    GenApi::INodeMap& features = *device.GetNodeMap();
    Tavix::IStreamGrabber& grabber = *device.GetStreamGrabber(0);
    const auto size = GenApi::CIntegerPtr(features.GetNode("PayloadSize"))->GetValue();
    std::vector<std::uint8_t> memory(static_cast<std::size_t>(size));
    grabber.Open();
    GenApi::CIntegerPtr(grabber.GetNodeMap()->GetNode("MaxBufferSize"))->SetValue(size);
    grabber.PrepareGrab();
    const Tavix::StreamBufferHandle handle = grabber.RegisterBuffer(memory.data(), memory.size());
    grabber.QueueBuffer(handle);
    GenApi::CCommandPtr(features.GetNode("AcquisitionStart"))->Execute();
    Tavix::GrabResult result;
    if (!grabber.GetWaitObject().Wait(5000) || !grabber.RetrieveResult(result) || !result.Succeeded()) {
        std::printf("no image\n");
    }
    GenApi::CCommandPtr(features.GetNode("AcquisitionStop"))->Execute();
    grabber.FinishGrab();
    grabber.DeregisterBuffer(handle);
    grabber.Close();
    device.Close();
}

} // namespace

int main(int argc, char** argv) {
    const Bus bus(argc > 1 ? argv[1] : "");
    CTlFactory& factory = CTlFactory::GetInstance();
    Tavix::ITransportLayer* const tl = factory.CreateTl("VandrelUsb");
    Tavix::DeviceInfoList cameras;
    Measure("find 16 cameras", [&] { tl->EnumerateDevices(cameras); });
    std::printf("%zu cameras, description of %ju bytes\n", cameras.size(), bus.bytes);

    Measure("create and destroy, long description", [&] { tl->DestroyDevice(tl->CreateDevice(cameras[1])); });
    Measure("create and destroy, built-in description", [&] { tl->DestroyDevice(tl->CreateDevice(cameras[0])); });
    Tavix::IXmlFileProvider* const provider = tl->GetXmlFileProvider();
    Measure("  of this: download, long description", [&] {
        Tavix::gcstring name, xml;
        provider->ProvideXmlFile(cameras[1], name, xml);
    });
    Tavix::ITavixDevice* const device = tl->CreateDevice(cameras[0]);
    Measure("open to first image, and close", [&] { ToFirstImage(*device); });
    tl->DestroyDevice(device);
    factory.ReleaseTl(tl);
    return 0;
}
