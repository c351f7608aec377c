#include "TavixUsbEventAdapter.h"

#include "Failure.h"

#include <GenApi/Synch/Lock.h>

namespace Tavix {
namespace {

//  0 prefix  4 flags  6 command id  8 length  10 request id | 12 reserved  14 event id  16 timestamp  24 data
constexpr std::uint32_t kHeaderSize = 12;
constexpr std::uint32_t kShortestMessage = 24;
constexpr std::uint32_t kPrefix = 0x45563355;
constexpr std::uint16_t kEventCommand = 0x0C00;
constexpr std::uint16_t kShortestData = 12;

std::uint16_t Load16(const unsigned char* bytes) {
    return static_cast<std::uint16_t>(bytes[0] | bytes[1] << 8);
}

std::uint32_t Load32(const unsigned char* bytes) {
    return Load16(bytes) | static_cast<std::uint32_t>(Load16(bytes + 2)) << 16;
}

bool IsGood(const unsigned char* msg, std::uint32_t numBytes) {
    if (numBytes < kShortestMessage) return false;
    if (Load32(msg) != kPrefix) return false;
    if (Load16(msg + 6) != kEventCommand) return false;
    const std::uint32_t length = Load16(msg + 8);
    return length >= kShortestData && length + kHeaderSize <= numBytes;
}

} // namespace

CTavixUsbEventAdapter::CTavixUsbEventAdapter(GenApi::INodeMap* pCameraNodeMap)
    : m_pNodeMap(pCameraNodeMap), m_pAdapter(std::make_unique<GenApi::CEventAdapterGeneric>(pCameraNodeMap)) {}

void CTavixUsbEventAdapter::DeliverMessage(const unsigned char* msg, std::uint32_t numBytes) {
    if (!msg || !IsGood(msg, numBytes)) {
        Throw<GenICam::RuntimeException>(Here(), "Cannot deliver bad USB event message.");
    }
    if (!m_HasPorts) {
        Throw<GenICam::LogicalErrorException>(
            Here(), "Another event adapter of this device has the event features until it is destroyed.");
    }
    m_pAdapter->DeliverMessage(msg + kHeaderSize, numBytes - kHeaderSize, std::uint64_t{Load16(msg + 14)});
}

void CTavixUsbEventAdapter::RegainPorts() {
    if (!m_pNodeMap) return;
    const GenApi::AutoLock guard(m_pNodeMap->GetLock()); // a message may be on its way through the old ports
    m_pAdapter->AttachNodeMap(m_pNodeMap);
    m_HasPorts = true;
}

} // namespace Tavix
