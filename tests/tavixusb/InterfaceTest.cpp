// Names and signatures that others rely on. Most of it is for the compiler: what changes here breaks programs.

#include "TavixTL_USB/TavixUSB/Failure.h"
#include "TavixTL_USB/TavixUSB/TavixUsb.h"
#include "TavixTL_USB/TavixUSB/device/TavixUsbDevice.h"
#include "TavixTL_USB/TavixUSB/discovery/TavixUsbDeviceInfoImpl.h"
#include "TavixTL_USB/TavixUSB/discovery/TavixUsbTL.h"
#include "TavixTL_USB/TavixUSB/event/TavixUsbEventGrabber.h"
#include "TavixTL_USB/TavixUSB/stream/TavixUsbStream.h"

#include "support/Camera.h"

#include "tavix/Tavix.h"
#include "tavix/TransportLayerParams.h"

#include "vexlo/Enumerator.h"
#include "vexlo/Vexlo.h"
#include "vexlo/XmlFile.h"

#include <gtest/gtest.h>

#include <type_traits>

using namespace Tavix;

namespace {

/// The function, chosen among overloads by its exact signature: it compiles or it does not.
template<class Signature, Signature kFunction>
inline constexpr bool kHas = true;
template<class Heir, class Base>
inline constexpr bool kIs = std::is_base_of_v<Base, Heir>;

// The exported functions.
static_assert(kHas<bool (*)(TlInfoList&), &GetTLInfoList>);
static_assert(kHas<ITransportLayer* (*)(const CTlInfo&), &Create>);
static_assert(kHas<void (*)(ITransportLayer*), &Destroy>);

// The transport layer and its parts.
static_assert(kIs<CUsbTlInfo, CTlInfo> && sizeof(CUsbTlInfo) == sizeof(CTlInfo));
static_assert(kHas<const CUsbTlInfo& (*)(), &GetTLInfo>);
static_assert(kHas<gcstring (*)(unsigned int), &VxStatus2Msg>);
static_assert(kIs<CTavixUsbTL, CTransportLayerBase>);
static_assert(kIs<CTransportLayerBase, ITransportLayer> && kIs<CTransportLayerBase, IXmlFileProvider>);
static_assert(kIs<CTavixUsbDevice, CTavixDevicePrivateImpl<ITavixDevice>> && kIs<CTavixUsbDevice, GenApi::CPortImpl>);
static_assert(kIs<CTavixUsbDevice, GenApi::CNodeMapRefT<GenApi::CGeneric_XMLLoaderParams>>);
static_assert(kIs<CTavixUsbDevice, ITavixDevice> && kIs<CTavixUsbDevice, ITavixDevicePrivate>);
static_assert(kIs<CTavixUsbStream, IStreamGrabber> && kIs<CTavixUsbEventGrabber, IEventGrabber>);
static_assert(std::is_constructible_v<CTavixUsbDevice, const CDeviceInfo&>);
static_assert(std::is_same_v<CVexloDevicePort, CGenericUsbPort<vexlo::CVxDevice>>);
static_assert(std::is_same_v<CStreamGrabberPort, CGenericUsbPort<vexlo::CVxStream>>);
static_assert(std::is_same_v<CEventStreamGrabberPort, CGenericUsbPort<vexlo::CVxEventStream>>);
static_assert(kIs<CVexloDevicePort, GenApi::CPortImpl>);
static_assert(kIs<Vandrel_UsbTLParams::CUsbTLParamsImpl, GenApi::CNodeMap>);
static_assert(
    kHas<Vandrel_UsbTLParams::CUsbTLParamsImpl* (*)(const gcstring&), &Vandrel_UsbTLParams::CUsbTLParamsImpl::Create>);

// Infos and lists.
static_assert(kIs<CVandrelUsbDeviceInfo, CDeviceInfo> && kIs<TavixUsbDeviceInfoImpl, CVandrelUsbDeviceInfo>);
static_assert(std::is_default_constructible_v<CVandrelUsbDeviceInfo>);
static_assert(std::is_convertible_v<const CDeviceInfo&, CVandrelUsbDeviceInfo>);
static_assert(std::is_constructible_v<TavixUsbDeviceInfoImpl, const CTlInfo&, const vexlo::DeviceDiscoveryInfo&>);
static_assert(kIs<CDeviceInfo, CInfoBase> && kIs<CTlInfo, CInfoBase>);
static_assert(std::is_same_v<DeviceInfoList, TList<CDeviceInfo>> && std::is_same_v<TlInfoList, TList<CTlInfo>>);
static_assert(sizeof(AccessModeSet) == 8 && AccessModeSet().size() == 64);
static_assert(Accessibility_Unknown == 0 && Accessibility_Ok == 1 && Accessibility_OpenedExclusively == 3);
static_assert(kHas<bool (CInfoBase::*)(const gcstring&, gcstring&) const, &CInfoBase::GetPropertyValue>);
static_assert(kHas<bool (CInfoBase::*)(const gcstring&) const, &CInfoBase::GetPropertyAvailable>);
static_assert(kHas<CInfoBase& (CInfoBase::*)(const gcstring&, const gcstring&), &CInfoBase::SetPropertyValue>);

// What the transport layer asks of the SDK's base.
static_assert(kHas<CTlFactory& (*)(), &CTlFactory::GetInstance>);
static_assert(kHas<void (CTlFactory::*)(const ITransportLayer*), &CTlFactory::ReleaseTl>);
static_assert(kHas<CConfigFileRegistry& (*)(), &CConfigFileRegistry::GetInstance>);
static_assert(kHas<const DeviceInfoList* (*)(), &GetGlobalDeviceFilterInstance>);
static_assert(kHas<GenApi::INodeMap* (*)(), &CreateDefaultTransportLayerParams>);
static_assert(kHas<void (*)(GenApi::INodeMap*), &DestroyDefaultTransportLayerParams>);
static_assert(kHas<gcstring (*)(const gcstring&), &textFileToString>);
static_assert(std::is_abstract_v<IDeviceCreationObserver> && std::is_abstract_v<INodeMapProvider>);

// What it asks of the USB access library.
using vexlo::CVxDevice;
using vexlo::CVxEventStream;
using vexlo::CVxStream;
using Status = unsigned int;
static_assert(kHas<Status (*)(), &vexlo::Init> && kHas<void (*)(), &vexlo::Exit>);
static_assert(kHas<Status (*)(), &vexlo::IsLibraryLoadable>);
static_assert(kHas<Status (*)(Status, char*, unsigned long, unsigned long*), &vexlo::GetStatusMessage>);
static_assert(kHas<Status (*)(vexlo::CEnumerator::Callee*), &vexlo::CEnumerator::Discover>);
static_assert(kHas<Status (*)(const char*, vexlo::DeviceDiscoveryInfo&), &vexlo::CEnumerator::DeviceInfoFromPath>);
static_assert(kHas<int (vexlo::CEnumerator::Callee::*)(const vexlo::DeviceDiscoveryInfo*),
                   &vexlo::CEnumerator::Callee::EnumCallback>);
static_assert(kHas<CVxDevice* (*)(vexlo::EDeviceType), &CVxDevice::CreateDevice>);
static_assert(kHas<void (*)(CVxDevice*), &CVxDevice::DestroyDevice>);
static_assert(kHas<Status (CVxDevice::*)(const vexlo::DeviceDiscoveryInfo&), &CVxDevice::Open>);
static_assert(kHas<Status (CVxDevice::*)(const vexlo::DeviceDiscoveryInfo*), &CVxDevice::Open>);
static_assert(kHas<Status (CVxDevice::*)(), &CVxDevice::Close> &&
              kHas<bool (CVxDevice::*)() const, &CVxDevice::IsOpen>);
static_assert(kHas<Status (CVxDevice::*)(void*, unsigned long, unsigned long*), &CVxDevice::ReadMem>);
static_assert(kHas<Status (CVxDevice::*)(const void*, unsigned long, unsigned long), &CVxDevice::WriteMem>);
static_assert(kHas<Status (CVxDevice::*)(vexlo::CXmlFile&), &CVxDevice::ProvideXmlFile>);
static_assert(kHas<Status (CVxDevice::*)(CVxStream**), &CVxDevice::GetStream>);
static_assert(kHas<Status (CVxDevice::*)(CVxEventStream**), &CVxDevice::GetEventStream>);
static_assert(kHas<const char* (vexlo::CXmlFile::*)() const, &vexlo::CXmlFile::GetBuffer>);
static_assert(kHas<const char* (vexlo::CXmlFile::*)() const, &vexlo::CXmlFile::GetFilename>);
static_assert(kHas<Status (*)(const vexlo::VxCallbackParams*, unsigned long*), &vexlo::VxRegisterCallback>);
static_assert(kHas<Status (*)(unsigned long), &vexlo::VxDeregisterCallback>);

template<class T>
inline constexpr bool kHasProperties =
    kHas<Status (T::*)(typename T::EPropertyValue, void*, unsigned long), &T::GetProperty>&&
        kHas<Status (T::*)(typename T::EPropertyValue, const void*, unsigned long), &T::SetProperty>;
static_assert(kHasProperties<CVxDevice> && kHasProperties<CVxStream> && kHasProperties<CVxEventStream>);

template<class T>
inline constexpr bool kIsStream = kHas<Status (T::*)(), &T::Open>&& kHas<Status (T::*)(), &T::Close>&&
    kHas<bool (T::*)() const, &T::IsOpen>&& kHas<Status (T::*)(_WaitObjectPosix_t*), &T::RegisterWaitObject>;
static_assert(kIsStream<CVxStream> && kIsStream<CVxEventStream>);
static_assert(kHas<Status (CVxStream::*)(void*, unsigned long, vexlo::BufferHandle_s**), &CVxStream::RegisterBuffer>);
static_assert(kHas<Status (CVxStream::*)(vexlo::BufferHandle_s*, void**), &CVxStream::DeregisterBuffer>);
static_assert(kHas<Status (CVxStream::*)(unsigned long, unsigned long), &CVxStream::PrepareGrab>);
static_assert(kHas<bool (CVxStream::*)() const, &CVxStream::IsPrepared>);
static_assert(kHas<Status (CVxStream::*)(), &CVxStream::FinishGrab>);
static_assert(kHas<Status (CVxStream::*)(), &CVxStream::StartStreaming>);
static_assert(kHas<Status (CVxStream::*)(), &CVxStream::CancelGrab>);
static_assert(kHas<Status (CVxStream::*)(vexlo::BufferHandle_s*, const void*), &CVxStream::QueueBuffer>);
static_assert(kHas<Status (CVxStream::*)(CVxStream::GrabResult*, unsigned long*), &CVxStream::RetrieveBuffer>);
static_assert(kHas<Status (CVxEventStream::*)(void*, unsigned long*, unsigned long*), &CVxEventStream::RetrieveEvent>);

/// An application as it is written against the SDK, with the arguments that may be left out left out.
class Application {
public:
    void Run(ITransportLayer& tl) {
        DeviceInfoList cameras, filter;
        ASSERT_EQ(1, tl.EnumerateDevices(cameras));
        filter.push_back(cameras[0]);
        ASSERT_EQ(1, tl.EnumerateDevices(cameras, filter));
        const CVandrelUsbDeviceInfo info = cameras[0];
        EXPECT_EQ("0x12ab", info.GetProductId());
        EXPECT_TRUE(tl.IsDeviceAccessible(cameras[0]));
        ITavixDevice* const device = tl.CreateDevice(cameras[0]);
        device->Open();
        Use(*device);
        device->Close();
        tl.DestroyDevice(device);
    }

private:
    void Use(ITavixDevice& device) {
        Function_Callback1<ITavixDevice*, void (*)(ITavixDevice*)> callback([](ITavixDevice*) {});
        void* const handle = device.RegisterRemovalCallback(callback);
        EXPECT_TRUE(device.DeregisterRemovalCallback(handle));
        device.DestroyChunkParser(device.CreateChunkParser());
        device.DestroyEventAdapter(device.CreateEventAdapter());
        EXPECT_EQ(1u, device.GetNumStreamGrabberChannels());
        IStreamGrabber* const stream = device.GetStreamGrabber(0);
        IEventGrabber* const events = device.GetEventGrabber();
        EXPECT_TRUE(stream && events && device.GetNodeMap() && device.GetTLNodeMap());
        EXPECT_TRUE(device.AccessMode().test(1));
    }
};

TEST(Interface, ServesAnApplication) {
    FakeVexlo& bus = FakeVexlo::Get();
    bus.Reset();
    bus.cameras = {MakeCameraRecord()};
    bus.xmlText = CameraXml();
    CTlInfo wanted;
    wanted.SetDeviceClass("VandrelUsb");
    ITransportLayer* const tl = Create(wanted);
    Application().Run(*tl);
    Destroy(tl);
    EXPECT_EQ(0, bus.liveDevices);
}

} // namespace
