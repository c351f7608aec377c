// The functions of system, interface and device.

#include "gentl/Library.h"
#include "gentl/module/Device.h"
#include "gentl/module/Interface.h"
#include "gentl/module/RemotePort.h"
#include "gentl/stream/Stream.h"

using namespace gentl;

namespace {

/// An ID as the consumer gave it.
std::string IdOf(const char* id) {
    return &Needed(id);
}

template<class T>
GC_ERROR Close(void* handle) {
    return Call([&] {
        const Held<T> module(handle);
        {
            const Tavix::MutexLock tree(TreeMutex());
            module->CheckOpen(); // another thread may have been faster
            module->Leave();
        }
        module->End();
    });
}

} // namespace

GC_ERROR TLOpen(TL_HANDLE* phTL) {
    return Call([&] {
        TL_HANDLE& handle = Needed(phTL);
        handle = OpenSystem()->Handle();
    });
}

GC_ERROR TLClose(TL_HANDLE hTL) {
    return Call([&] { CloseSystem(*Held<System>(hTL)); });
}

GC_ERROR TLGetInfo(TL_HANDLE hTL, TL_INFO_CMD iInfoCmd, INFO_DATATYPE* piType, void* pBuffer, size_t* piSize) {
    return Call([&] {
        (void)Held<System>(hTL);
        Answer answer(piType, pBuffer, piSize);
        System::Info(iInfoCmd, answer);
    });
}

GC_ERROR TLUpdateInterfaceList(TL_HANDLE hTL, bool8_t* pbChanged, uint64_t) {
    return Call([&] {
        const bool changed = Held<System>(hTL)->UpdateInterfaces();
        if (pbChanged) *pbChanged = changed ? 1 : 0;
    });
}

GC_ERROR TLGetNumInterfaces(TL_HANDLE hTL, uint32_t* piNumIfaces) {
    return Call([&] {
        const Held<System> system(hTL);
        Needed(piNumIfaces) = static_cast<uint32_t>(system->CountInterfaces());
    });
}

GC_ERROR TLGetInterfaceID(TL_HANDLE hTL, uint32_t iIndex, char* sID, size_t* piSize) {
    return Call([&] {
        const Held<System> system(hTL);
        Answer answer(nullptr, sID, piSize);
        answer.String(system->InterfaceAt(iIndex).id);
    });
}

GC_ERROR TLGetInterfaceInfo(TL_HANDLE hTL, const char* sIfaceID, INTERFACE_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                            void* pBuffer, size_t* piSize) {
    return Call([&] {
        const Held<System> system(hTL);
        const std::string id = IdOf(sIfaceID);
        Answer answer(piType, pBuffer, piSize);
        Interface::Info(system->FindInterface(id), iInfoCmd, answer);
    });
}

GC_ERROR TLOpenInterface(TL_HANDLE hTL, const char* sIfaceID, IF_HANDLE* phIface) {
    return Call([&] {
        const Held<System> system(hTL);
        const std::string id = IdOf(sIfaceID);
        IF_HANDLE& handle = Needed(phIface);
        handle = system->OpenInterface(id)->Handle();
    });
}

GC_ERROR IFClose(IF_HANDLE hIface) {
    return Close<Interface>(hIface);
}

GC_ERROR IFGetInfo(IF_HANDLE hIface, INTERFACE_INFO_CMD iInfoCmd, INFO_DATATYPE* piType, void* pBuffer,
                   size_t* piSize) {
    return Call([&] {
        const Held<Interface> interface(hIface);
        Answer answer(piType, pBuffer, piSize);
        interface->Info(iInfoCmd, answer);
    });
}

GC_ERROR IFUpdateDeviceList(IF_HANDLE hIface, bool8_t* pbChanged, uint64_t) {
    return Call([&] {
        const bool changed = Held<Interface>(hIface)->UpdateDevices();
        if (pbChanged) *pbChanged = changed ? 1 : 0;
    });
}

GC_ERROR IFGetNumDevices(IF_HANDLE hIface, uint32_t* piNumDevices) {
    return Call([&] {
        const Held<Interface> interface(hIface);
        Needed(piNumDevices) = static_cast<uint32_t>(interface->CountDevices());
    });
}

GC_ERROR IFGetDeviceID(IF_HANDLE hIface, uint32_t iIndex, char* sID, size_t* piSize) {
    return Call([&] {
        const Held<Interface> interface(hIface);
        Answer answer(nullptr, sID, piSize);
        answer.String(interface->DeviceAt(iIndex).id);
    });
}

GC_ERROR IFGetDeviceInfo(IF_HANDLE hIface, const char* sDeviceID, DEVICE_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                         void* pBuffer, size_t* piSize) {
    return Call([&] {
        const Held<Interface> interface(hIface);
        const std::string id = IdOf(sDeviceID);
        Answer answer(piType, pBuffer, piSize);
        interface->DeviceInfo(interface->FindDevice(id), iInfoCmd, answer);
    });
}

GC_ERROR IFOpenDevice(IF_HANDLE hIface, const char* sDeviceID, DEVICE_ACCESS_FLAGS iOpenFlags, DEV_HANDLE* phDevice) {
    return Call([&] {
        const Held<Interface> interface(hIface);
        const std::string id = IdOf(sDeviceID);
        DEV_HANDLE& handle = Needed(phDevice);
        if (iOpenFlags < DEVICE_ACCESS_READONLY || iOpenFlags > DEVICE_ACCESS_EXCLUSIVE)
            Fail(GC_ERR_INVALID_PARAMETER, "a device is opened to read only, to control, or exclusively");
        handle = interface->OpenDevice(id, iOpenFlags)->Handle();
    });
}

GC_ERROR IFGetParentTL(IF_HANDLE hIface, TL_HANDLE* phSystem) {
    return Call([&] {
        const Held<Interface> interface(hIface);
        Needed(phSystem) = interface->Parent()->Handle();
    });
}

GC_ERROR DevClose(DEV_HANDLE hDevice) {
    return Close<Device>(hDevice);
}

GC_ERROR DevGetInfo(DEV_HANDLE hDevice, DEVICE_INFO_CMD iInfoCmd, INFO_DATATYPE* piType, void* pBuffer,
                    size_t* piSize) {
    return Call([&] {
        const Held<Device> device(hDevice);
        Answer answer(piType, pBuffer, piSize);
        device->Info(iInfoCmd, answer);
    });
}

GC_ERROR DevGetPort(DEV_HANDLE hDevice, PORT_HANDLE* phRemoteDevice) {
    return Call([&] {
        const Held<Device> device(hDevice);
        Needed(phRemoteDevice) = device->Remote()->Handle();
    });
}

GC_ERROR DevGetNumDataStreams(DEV_HANDLE hDevice, uint32_t* piNumDataStreams) {
    return Call([&] {
        const Held<Device> device(hDevice);
        Needed(piNumDataStreams) = device->CountStreams();
    });
}

GC_ERROR DevGetDataStreamID(DEV_HANDLE hDevice, uint32_t iIndex, char* sDataStreamID, size_t* piSize) {
    return Call([&] {
        const Held<Device> device(hDevice);
        Answer answer(nullptr, sDataStreamID, piSize);
        if (iIndex >= device->CountStreams()) Fail(GC_ERR_INVALID_INDEX, "there is no stream of that number");
        answer.String(Device::kStreamId);
    });
}

GC_ERROR DevOpenDataStream(DEV_HANDLE hDevice, const char* sDataStreamID, DS_HANDLE* phDataStream) {
    return Call([&] {
        const Held<Device> device(hDevice);
        const std::string id = IdOf(sDataStreamID);
        DS_HANDLE& handle = Needed(phDataStream);
        handle = device->OpenStream(id)->Handle();
    });
}

GC_ERROR DevGetParentIF(DEV_HANDLE hDevice, IF_HANDLE* phIface) {
    return Call([&] {
        const Held<Device> device(hDevice);
        Needed(phIface) = device->Parent()->Handle();
    });
}

GC_ERROR DSClose(DS_HANDLE hDataStream) {
    return Close<Stream>(hDataStream);
}

GC_ERROR DSGetParentDev(DS_HANDLE hDataStream, DEV_HANDLE* phDevice) {
    return Call([&] {
        const Held<Stream> stream(hDataStream);
        Needed(phDevice) = stream->Parent()->Handle();
    });
}
