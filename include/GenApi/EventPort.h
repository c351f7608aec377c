#pragma once
// The port of event features.

#include <GenApi/Export.h>
#include <GenApi/IPort.h>

#include <memory>

namespace GenApi {

struct INode;

/// Keeps a copy of the last event's bytes; ports of one ID that an adapter fills share it. Access is NA before the
/// first event, then RO. Its state belongs to the lock of the node map it is attached to. thread-safe
class TAVIX_GENAPI_API CEventPort : virtual public IPort {
public:
    explicit CEventPort(INode* pNode = nullptr);
    virtual ~CEventPort();
    CEventPort(const CEventPort&) = delete;
    CEventPort& operator=(const CEventPort&) = delete;

    /// Becomes the implementation if the node is a Port; false when the node has no event ID.
    bool AttachNode(INode* pNode);
    /// Drops the bytes and leaves the node.
    void DetachNode();
    /// Copies the bytes; the node and all that depends on it are invalidated and their callbacks fire.
    void AttachEvent(uint8_t* pBaseAddress, int64_t Length);
    /// Drops the bytes; access becomes NA and callbacks fire.
    void DetachEvent();
    /// In bytes.
    int GetEventIDLength();
    /// IDs are compared as numbers; the bytes stand most significant first.
    bool CheckEventID(uint8_t* pEventIDBuffer, int EventIDLength);
    bool CheckEventID(uint64_t EventID);
    /// Null while it is not attached.
    INode* GetNode();

    EAccessMode GetAccessMode() const override;
    void Read(void* pBuffer, int64_t Address, int64_t Length) override;
    /// Always throws AccessException.
    void Write(const void* pBuffer, int64_t Address, int64_t Length) override;

private:
    friend class CEventAdapter;
    struct State;
    std::unique_ptr<State> m_pState;
};

} // namespace GenApi
