// The order of virtual operations, which binaries built earlier rely on.

#include "TavixTL_USB/TavixUSB/device/TavixUsbDevice.h"
#include "TavixTL_USB/TavixUSB/discovery/TavixUsbTL.h"
#include "tests/tavixusb/support/Slot.h"

#include <gmock/gmock.h>

using namespace Tavix;
using support::Slot;
using testing::ElementsAreArray;

namespace {

using Slots = std::vector<std::size_t>;

/// Chooses among overloads, and asks for the exact signature.
template<class Result, class Class, class... Arguments>
std::size_t SlotOfOverload(Result (Class::*member)(Arguments...)) {
    return Slot(member);
}

Slots CountFrom(std::size_t first, std::size_t count) {
    Slots slots;
    for (std::size_t slot = first; slots.size() < count; ++slot)
        slots.push_back(slot);
    return slots;
}

/// The hooks are for heirs.
struct Hooks : CTransportLayerBase {
    static Slots Get() {
        return {Slot(&Hooks::InternalEnumerateDevices),
                Slot(&Hooks::InternalCreateDevice),
                Slot(&Hooks::InternalCreateDeviceInfo),
                Slot(&Hooks::InternalIsSubset),
                Slot(&Hooks::InternalGetDeviceClass),
                Slot(&Hooks::InternalNeedsTlSpecificDeviceDiscovery),
                Slot(&Hooks::InternalDoTlSpecificDeviceDiscovery),
                Slot(&Hooks::InternalGetNodeMap),
                Slot(&Hooks::InternalEnumerateInterfaces),
                Slot(&Hooks::InternalIsDeviceAccessible),
                Slot(&Hooks::CanProvideXmlFile),
                Slot(&Hooks::ProvideXmlFile)};
    }
};

TEST(SlotOrder, OfATransportLayer) {
    using Tl = ITransportLayer;
    const Slots beforeDestructor = {
        SlotOfOverload<int, Tl, DeviceInfoList&, bool>(&Tl::EnumerateDevices),
        SlotOfOverload<int, Tl, DeviceInfoList&, const DeviceInfoList&, bool>(&Tl::EnumerateDevices),
        SlotOfOverload<ITavixDevice*, Tl, const CDeviceInfo&>(&Tl::CreateDevice),
        SlotOfOverload<ITavixDevice*, Tl, const CDeviceInfo&>(&Tl::CreateFirstDevice),
        SlotOfOverload<ITavixDevice*, Tl, const CDeviceInfo&, const gcstring_vector&>(&Tl::CreateDevice),
        SlotOfOverload<ITavixDevice*, Tl, const CDeviceInfo&, const gcstring_vector&>(&Tl::CreateFirstDevice),
        SlotOfOverload<ITavixDevice*, Tl, const gcstring&>(&Tl::CreateDevice),
        Slot(&Tl::DestroyDevice),
        Slot(&Tl::IsDeviceAccessible),
        Slot(&Tl::GetTlInfo),
        Slot(&Tl::CreateDeviceInfo),
        Slot(&Tl::GetNodeMap),
        Slot(&Tl::EnumerateInterfaces)};
    EXPECT_THAT(beforeDestructor, ElementsAreArray(CountFrom(0, 13)));
    const Slots afterDestructor = {
        Slot(&Tl::Release),          Slot(&Tl::Delete),           Slot(&Tl::GetXmlFileProvider),
        Slot(&Tl::IsTLEnabled),      Slot(&Tl::CreateDeviceImpl), Slot(&Tl::SetDeviceCreationObserver),
        Slot(&Tl::DestroyAllDevices)};
    EXPECT_THAT(afterDestructor, ElementsAreArray(CountFrom(15, 7))); // a destructor has two slots
}

TEST(SlotOrder, OfTheHooksOfATransportLayer) {
    EXPECT_THAT(Hooks::Get(), ElementsAreArray(CountFrom(22, 12)));
}

TEST(SlotOrder, OfADevice) {
    using Device = CTavixUsbDevice;
    const Slots beforeDestructor = {Slot(&Device::CreateNodemapFromFile),
                                    Slot(&Device::CreateNodemapFromString),
                                    Slot(&Device::ExtractChunkDataNodeMapFromFile),
                                    Slot(&Device::ExtractChunkDataNodeMapFromString),
                                    Slot(&Device::GetChunkDataNodeMapSupported),
                                    Slot(&Device::ChunkDataXmlDescriptionAvailable),
                                    Slot(&Device::Delete),
                                    Slot(&Device::CreateChunkNodeMap)};
    EXPECT_THAT(beforeDestructor, ElementsAreArray(CountFrom(0, 8)));
    const Slots afterDestructor = {Slot(&Device::Open),
                                   Slot(&Device::Close),
                                   Slot(&Device::IsOpen),
                                   Slot(&Device::GetDeviceInfo),
                                   Slot(&Device::GetNumStreamGrabberChannels),
                                   Slot(&Device::GetStreamGrabber),
                                   Slot(&Device::GetEventGrabber),
                                   Slot(&Device::GetNodeMap),
                                   Slot(&Device::GetTLNodeMap),
                                   Slot(&Device::CreateChunkParser),
                                   Slot(&Device::DestroyChunkParser),
                                   Slot(&Device::CreateSelfReliantChunkParser),
                                   Slot(&Device::DestroySelfReliantChunkParser),
                                   Slot(&Device::CreateEventAdapter),
                                   Slot(&Device::DestroyEventAdapter),
                                   Slot(&Device::RegisterRemovalCallback),
                                   Slot(&Device::DeregisterRemovalCallback),
                                   Slot(&Device::AccessMode),
                                   Slot(&Device::GetAccessMode),
                                   Slot(&Device::Read),
                                   Slot(&Device::Write)};
    EXPECT_THAT(afterDestructor, ElementsAreArray(CountFrom(10, 21)));
}

} // namespace
