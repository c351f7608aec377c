#pragma once
// The node type Port: where registers meet the outside.

#include "genapi/nodes/base/Node.h"

#include <GenApi/IPort.h>

namespace genapi {

/// Passes register accesses on to the port it is connected to, unchanged. thread-safe
class PortNode final : public Node, virtual public GenApi::IPortConstruct {
public:
    using Node::Node;

    void Bind(const BoundProperty& property) override;
    GenApi::EAccessMode TargetAccess() override;

    /// Lock held. They throw AccessException when nothing is connected and pass on what the port throws.
    void ReadBytes(void* pBuffer, int64_t address, int64_t length);
    void WriteBytes(const void* pBuffer, int64_t address, int64_t length);
    /// Drops the caches behind the port and tells nobody.
    void ConnectQuietly(GenApi::IPort& port);
    /// Disconnects the port unless another one has taken its place.
    void Disconnect(const GenApi::IPort* pPort);
    void DisconnectQuietly(const GenApi::IPort* pPort);
    bool SwapsBytes() const { return m_SwapsBytes; }

    // GenApi::IPort
    void Read(void* pBuffer, int64_t Address, int64_t Length) override;
    void Write(const void* pBuffer, int64_t Address, int64_t Length) override;
    // GenApi::IPortConstruct
    void SetPortImpl(GenApi::IPort* pPort) override;
    GenApi::EYesNo GetSwapEndianess() override { return m_SwapsBytes ? GenApi::Yes : GenApi::No; }

protected:
    /// The text of a port is the ID of its chunk.
    std::string DoReadText(ReadFlags flags) override;

private:
    void DropCaches();
    GenApi::IPort& Connected(const char* operation);

    GenApi::IPort* m_pPort = nullptr; ///< borrowed, guarded by the map's lock
    Node* m_pChunkId = nullptr;
    bool m_SwapsBytes = false;
};

} // namespace genapi
