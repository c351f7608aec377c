// Which registers of a camera are commands.
#include "device/CommandRegisters.h"

#include <algorithm>

namespace Tavix {

namespace {

bool Overlaps(GenApi::INode* pNode, int64_t address, int64_t length) {
    auto* const pRegister = dynamic_cast<GenApi::IRegister*>(pNode);
    if (!pRegister) return false;
    try {
        // As numbers without sign, which is what addresses are.
        const auto first = static_cast<uint64_t>(pRegister->GetAddress());
        const auto wanted = static_cast<uint64_t>(address);
        const auto size = static_cast<uint64_t>(pRegister->GetLength());
        return wanted - first < size || first - wanted < static_cast<uint64_t>(length);
    } catch (const GenICam::GenericException&) {
        return true;
    }
}

} // namespace

bool IsCommandRegister(const GenApi::INodeMap& map, int64_t address, int64_t length) {
    GenApi::NodeList_t nodes;
    map.GetNodes(nodes);
    return std::any_of(nodes.begin(), nodes.end(), [&](GenApi::INode* pNode) {
        if (pNode->GetPrincipalInterfaceType() != GenApi::intfICommand) return false;
        GenApi::NodeList_t written;
        pNode->GetChildren(written, GenApi::ctTerminalNodes);
        return std::any_of(written.begin(), written.end(),
                           [&](GenApi::INode* pWritten) { return Overlaps(pWritten, address, length); });
    });
}

} // namespace Tavix
