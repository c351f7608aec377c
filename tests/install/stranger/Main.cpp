// A program that knows nothing but the installed package: lists cameras and reads one feature of the first.
#include <tavix/Tavix.h>

#include <GenApi/GenApi.h>

#include <cstdio>

int main() {
    auto& factory = Tavix::CTlFactory::GetInstance();
    Tavix::DeviceInfoList cameras;
    std::printf("%d cameras\n", factory.EnumerateDevices(cameras));
    if (cameras.empty()) return 1;
    Tavix::ITavixDevice* camera = factory.CreateDevice(cameras.front());
    camera->Open();
    GenApi::CIntegerPtr width(camera->GetNodeMap()->GetNode("Width"));
    std::printf("Width %lld\n", static_cast<long long>(width->GetValue()));
    camera->Close();
    factory.DestroyDevice(camera);
    return 0;
}
