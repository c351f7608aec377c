#include "BenchCamera.h"

#include <GenApi/GenApi.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

#include <unistd.h>

namespace bench {

void UseVirtualCameras(unsigned int count) {
    static const std::string path =
        std::filesystem::temp_directory_path() / ("tavix-bench-" + std::to_string(getpid()) + ".json");
    std::ofstream file(path);
    file << "{\"cameras\": [";
    for (unsigned int i = 0; i < count; ++i) {
        file << (i ? "," : "")
             << "{\"sensorWidth\": 4096, \"sensorHeight\": 3008, \"bufferedFrames\": 1000, \"serial\": \"" << i
             << "\", \"guid\": \"12090000000" << i << "\"}";
    }
    file << "]}";
    setenv("TAVIX_VIRTUAL_CAMERAS", path.c_str(), /*overwrite=*/1);
    std::atexit([] { std::remove(path.c_str()); });
}

BenchCamera::BenchCamera(unsigned int index) {
    Tavix::DeviceInfoList cameras;
    Tavix::CTlFactory::GetInstance().EnumerateDevices(cameras);
    if (cameras.size() <= index) throw std::runtime_error("no virtual camera number " + std::to_string(index));
    m_Device = Tavix::CTlFactory::GetInstance().CreateDevice(cameras[index]);
    m_Device->Open();
}

BenchCamera::~BenchCamera() {
    m_Device->Close();
    Tavix::CTlFactory::GetInstance().DestroyDevice(m_Device);
}

void BenchCamera::Set(const char* feature, const char* value) {
    GenApi::CValuePtr node(m_Device->GetNodeMap()->GetNode(feature));
    node->FromString(value);
}

std::int64_t BenchCamera::Integer(const char* feature, bool ignoreCache) {
    GenApi::CIntegerPtr node(m_Device->GetNodeMap()->GetNode(feature));
    return node->GetValue(/*Verify=*/false, ignoreCache);
}

} // namespace bench
