#include "BenchCamera.h"

#include <GenApi/GenApi.h>

#include <cstdlib>
#include <stdexcept>
#include <string>

namespace bench {

void UseVirtualCameras(unsigned int count) {
    setenv("TAVIX_VIRTUAL_CAMERAS", std::to_string(count).c_str(), /*overwrite=*/0);
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
