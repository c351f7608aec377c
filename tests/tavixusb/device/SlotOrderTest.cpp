// The order of virtual operations, which binaries built earlier rely on.

#include "TavixTL_USB/TavixUSB/device/TavixUsbDevice.h"
#include "TavixTL_USB/TavixUSB/discovery/TavixUsbTL.h"

#include <gmock/gmock.h>

#include <cstring>

using namespace Tavix;
using testing::ElementsAreArray;

namespace {

using Slots = std::vector<std::size_t>;

/// The place of a virtual operation in the table of its class; a pointer to it holds the offset plus one.
template<class Member>
std::size_t SlotOf(Member member) {
    static_assert(sizeof member == 2 * sizeof(std::size_t));
    std::size_t words[2];
    std::memcpy(words, &member, sizeof words);
    EXPECT_EQ(1u, words[0] % sizeof(void*)) << "not virtual";
    return words[0] / sizeof(void*);
}

/// Chooses among overloads, and asks for the exact signature.
template<class Result, class Class, class... Arguments>
std::size_t SlotOfOverload(Result (Class::*member)(Arguments...)) {
    return SlotOf(member);
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
        return {SlotOf(&Hooks::InternalEnumerateDevices),
                SlotOf(&Hooks::InternalCreateDevice),
                SlotOf(&Hooks::InternalCreateDeviceInfo),
                SlotOf(&Hooks::InternalIsSubset),
                SlotOf(&Hooks::InternalGetDeviceClass),
                SlotOf(&Hooks::InternalNeedsTlSpecificDeviceDiscovery),
                SlotOf(&Hooks::InternalDoTlSpecificDeviceDiscovery),
                SlotOf(&Hooks::InternalGetNodeMap),
                SlotOf(&Hooks::InternalEnumerateInterfaces),
                SlotOf(&Hooks::InternalIsDeviceAccessible),
                SlotOf(&Hooks::CanProvideXmlFile),
                SlotOf(&Hooks::ProvideXmlFile)};
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
        SlotOf(&Tl::DestroyDevice),
        SlotOf(&Tl::IsDeviceAccessible),
        SlotOf(&Tl::GetTlInfo),
        SlotOf(&Tl::CreateDeviceInfo),
        SlotOf(&Tl::GetNodeMap),
        SlotOf(&Tl::EnumerateInterfaces)};
    EXPECT_THAT(beforeDestructor, ElementsAreArray(CountFrom(0, 13)));
    const Slots afterDestructor = {
        SlotOf(&Tl::Release),          SlotOf(&Tl::Delete),           SlotOf(&Tl::GetXmlFileProvider),
        SlotOf(&Tl::IsTLEnabled),      SlotOf(&Tl::CreateDeviceImpl), SlotOf(&Tl::SetDeviceCreationObserver),
        SlotOf(&Tl::DestroyAllDevices)};
    EXPECT_THAT(afterDestructor, ElementsAreArray(CountFrom(15, 7))); // a destructor has two slots
}

TEST(SlotOrder, OfTheHooksOfATransportLayer) {
    EXPECT_THAT(Hooks::Get(), ElementsAreArray(CountFrom(22, 12)));
}

TEST(SlotOrder, OfADevice) {
    using Device = CTavixUsbDevice;
    const Slots beforeDestructor = {SlotOf(&Device::CreateNodemapFromFile),
                                    SlotOf(&Device::CreateNodemapFromString),
                                    SlotOf(&Device::ExtractChunkDataNodeMapFromFile),
                                    SlotOf(&Device::ExtractChunkDataNodeMapFromString),
                                    SlotOf(&Device::GetChunkDataNodeMapSupported),
                                    SlotOf(&Device::ChunkDataXmlDescriptionAvailable),
                                    SlotOf(&Device::Delete),
                                    SlotOf(&Device::CreateChunkNodeMap)};
    EXPECT_THAT(beforeDestructor, ElementsAreArray(CountFrom(0, 8)));
    const Slots afterDestructor = {SlotOf(&Device::Open),
                                   SlotOf(&Device::Close),
                                   SlotOf(&Device::IsOpen),
                                   SlotOf(&Device::GetDeviceInfo),
                                   SlotOf(&Device::GetNumStreamGrabberChannels),
                                   SlotOf(&Device::GetStreamGrabber),
                                   SlotOf(&Device::GetEventGrabber),
                                   SlotOf(&Device::GetNodeMap),
                                   SlotOf(&Device::GetTLNodeMap),
                                   SlotOf(&Device::CreateChunkParser),
                                   SlotOf(&Device::DestroyChunkParser),
                                   SlotOf(&Device::CreateSelfReliantChunkParser),
                                   SlotOf(&Device::DestroySelfReliantChunkParser),
                                   SlotOf(&Device::CreateEventAdapter),
                                   SlotOf(&Device::DestroyEventAdapter),
                                   SlotOf(&Device::RegisterRemovalCallback),
                                   SlotOf(&Device::DeregisterRemovalCallback),
                                   SlotOf(&Device::AccessMode),
                                   SlotOf(&Device::GetAccessMode),
                                   SlotOf(&Device::Read),
                                   SlotOf(&Device::Write)};
    EXPECT_THAT(afterDestructor, ElementsAreArray(CountFrom(10, 21)));
}

} // namespace
