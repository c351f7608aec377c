// A program that knows nothing but the installed package: lists cameras and reads what the first tells of itself,
// before it is opened and then as a feature.
#include <tavix/Tavix.h>
#include <tavix/usb/VandrelUsbDeviceInfo.h>

#include <GenApi/GenApi.h>

#include <cstdio>

int main() {
    auto& factory = Tavix::CTlFactory::GetInstance();
    Tavix::DeviceInfoList cameras;
    std::printf("%d cameras\n", factory.EnumerateDevices(cameras));
    if (cameras.empty()) return 1;
    const Tavix::CVandrelUsbDeviceInfo info(cameras.front());
    std::printf("GUID %s\n", info.GetDeviceGUID().c_str());
    Tavix::ITavixDevice* camera = factory.CreateDevice(cameras.front());
    camera->Open();
    GenApi::CIntegerPtr width(camera->GetNodeMap()->GetNode("Width"));
    std::printf("Width %lld\n", static_cast<long long>(width->GetValue()));
    camera->Close();
    factory.DestroyDevice(camera);
    return 0;
}
