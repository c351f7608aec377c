// What the USB descriptors tell of a camera: its interfaces, endpoints and strings.
#include "u3v/CameraFunction.h"

#include "u3v/LittleEndian.h"

namespace u3v {
namespace {

using namespace descriptor;

/// Steps through descriptors; ends at one that is shorter than its head or longer than what is left. Bound to a thread.
class DescriptorWalk {
public:
    explicit DescriptorWalk(ByteView bytes) : m_Rest(bytes) {}

    std::optional<ByteView> Next() {
        if (m_Rest.size < 2 || m_Rest.data[0] < 2 || m_Rest.data[0] > m_Rest.size) return std::nullopt;
        const ByteView found = m_Rest.First(m_Rest.data[0]);
        m_Rest = m_Rest.From(found.size);
        return found;
    }

private:
    ByteView m_Rest;
};

struct Association {
    std::uint8_t first = 0;
    std::uint8_t count = 0;
    bool Contains(std::uint8_t number) const { return number >= first && number - first < count; }
};

/// One interface with what belongs to it.
struct Interface {
    std::uint8_t number = 0;
    std::uint8_t protocol = 0;
    bool isVision = false; ///< of our class and subclass, in its default setting
    std::vector<Endpoint> bulk;
    std::optional<DeviceInfo> info;
    std::optional<Association> association; ///< the one that stands directly before this interface
};

std::optional<Association> DecodeAssociation(ByteView bytes) {
    if (bytes.size < kInterfaceAssociationSize || bytes.data[4] != kClassMiscellaneous ||
        bytes.data[5] != kSubclassUsb3Vision || bytes.data[6] != kProtocolControl)
        return std::nullopt;
    return Association{bytes.data[2], bytes.data[3]};
}

Interface DecodeInterface(ByteView bytes) {
    Interface decoded;
    if (bytes.size < kInterfaceSize) return decoded;
    decoded.number = bytes.data[2];
    decoded.protocol = bytes.data[7];
    decoded.isVision =
        bytes.data[3] == 0 && bytes.data[5] == kClassMiscellaneous && bytes.data[6] == kSubclassUsb3Vision;
    return decoded;
}

void AddEndpoint(ByteView bytes, Interface& owner) {
    if (bytes.size < kEndpointSize || (bytes.data[3] & kAttributesTransferTypeMask) != kAttributesBulk) return;
    const std::uint16_t packetSize = Load16(bytes.data + 4) & 0x7FF;
    if (packetSize != 0) owner.bulk.push_back({bytes.data[2], packetSize});
}

/// Sorts the descriptors of a configuration by interface.
std::vector<Interface> CollectInterfaces(ByteView configuration) {
    std::vector<Interface> interfaces;
    std::optional<Association> association;
    DescriptorWalk walk(configuration);
    while (const auto bytes = walk.Next()) {
        const std::uint8_t type = bytes->data[1];
        if (type == kTypeInterfaceAssociation) {
            association = DecodeAssociation(*bytes);
        } else if (type == kTypeInterface) {
            interfaces.push_back(DecodeInterface(*bytes));
            interfaces.back().association = association;
            association.reset();
        } else if (interfaces.empty()) {
            continue;
        } else if (type == kTypeEndpoint) {
            AddEndpoint(*bytes, interfaces.back());
        } else if (type == kTypeClassInterface && !interfaces.back().info) {
            interfaces.back().info = DecodeDeviceInfo(*bytes);
        }
    }
    return interfaces;
}

std::optional<Endpoint> FindEndpoint(const Interface& owner, std::uint8_t direction) {
    for (const Endpoint& endpoint : owner.bulk)
        if ((endpoint.address & kEndpointIn) == direction) return endpoint;
    return std::nullopt;
}

std::optional<CameraFunction> StartFunction(const Interface& control) {
    if (!control.isVision || control.protocol != kProtocolControl || !control.info) return std::nullopt;
    const auto in = FindEndpoint(control, kEndpointIn);
    const auto out = FindEndpoint(control, 0);
    if (!in || !out) return std::nullopt;
    CameraFunction function;
    function.controlInterface = control.number;
    function.controlIn = *in;
    function.controlOut = *out;
    function.info = *control.info;
    return function;
}

void AddDataInterface(const Interface& candidate, CameraFunction& function) {
    const auto in = FindEndpoint(candidate, kEndpointIn);
    if (!candidate.isVision || !in) return;
    const DataInterface found{candidate.number, *in};
    if (candidate.protocol == kProtocolStream) function.streams.push_back(found);
    if (candidate.protocol == kProtocolEvent && !function.event) function.event = found;
}

} // namespace

std::optional<DeviceIdentity> DecodeDeviceDescriptor(ByteView bytes) {
    if (bytes.size < kDeviceSize || bytes.data[0] < kDeviceSize || bytes.data[1] != kTypeDevice) return std::nullopt;
    DeviceIdentity identity;
    identity.usbVersion = Load16(bytes.data + 2);
    identity.vendorId = Load16(bytes.data + 8);
    identity.productId = Load16(bytes.data + 10);
    identity.manufacturerIndex = bytes.data[14];
    identity.productIndex = bytes.data[15];
    identity.serialNumberIndex = bytes.data[16];
    return identity;
}

std::optional<DeviceInfo> DecodeDeviceInfo(ByteView bytes) {
    if (bytes.size < kDeviceInfoSize || bytes.data[0] < kDeviceInfoSize) return std::nullopt;
    if (bytes.data[1] != kTypeClassInterface || bytes.data[2] != kDeviceInfoSubtype) return std::nullopt;
    DeviceInfo info;
    info.genCpVersion = Load32(bytes.data + kInfoGenCpVersionOffset);
    info.u3vVersion = Load32(bytes.data + kInfoU3vVersionOffset);
    info.guidIndex = bytes.data[kInfoGuidOffset];
    info.vendorNameIndex = bytes.data[kInfoVendorNameOffset];
    info.modelNameIndex = bytes.data[kInfoModelNameOffset];
    info.familyNameIndex = bytes.data[kInfoFamilyNameOffset];
    info.deviceVersionIndex = bytes.data[kInfoDeviceVersionOffset];
    info.manufacturerInfoIndex = bytes.data[kInfoManufacturerInfoOffset];
    info.serialNumberIndex = bytes.data[kInfoSerialNumberOffset];
    info.userDefinedNameIndex = bytes.data[kInfoUserDefinedNameOffset];
    info.speedSupport = bytes.data[kInfoSpeedSupportOffset];
    return info;
}

std::vector<CameraFunction> FindCameraFunctions(ByteView configuration) {
    std::vector<CameraFunction> functions;
    if (configuration.size < kConfigurationSize || configuration.data[1] != kTypeConfiguration) return functions;
    const std::vector<Interface> interfaces = CollectInterfaces(configuration);
    for (const Interface& control : interfaces) {
        auto function = StartFunction(control);
        if (!function) continue;
        function->configurationValue = configuration.data[5];
        for (const Interface& candidate : interfaces)
            if (!control.association || control.association->Contains(candidate.number))
                AddDataInterface(candidate, *function);
        functions.push_back(std::move(*function));
    }
    return functions;
}

} // namespace u3v
