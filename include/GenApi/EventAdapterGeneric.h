#pragma once
// An event adapter for messages whose ID is known apart from their bytes.

#include <GenApi/EventAdapter.h>
#include <GenApi/Export.h>

namespace GenApi {

/// bound to a thread
class TAVIX_GENAPI_API CEventAdapterGeneric : public CEventAdapter {
public:
    explicit CEventAdapterGeneric(INodeMap* pNodeMap = nullptr);

    /// There is no ID to deliver to: always throws InvalidArgumentException.
    void DeliverMessage(const uint8_t msg[], uint32_t numBytes) override;
    /// EventID is hexadecimal text without prefix.
    void DeliverMessage(const uint8_t msg[], uint32_t numBytes, const GenICam::gcstring& EventID);
    /// An ID that nobody has is ignored.
    void DeliverMessage(const uint8_t msg[], uint32_t numBytes, uint64_t EventID);
};

} // namespace GenApi
