// Which registers of a camera are commands.
#include "device/CommandRegisters.h"

namespace Tavix {

namespace {

CommandHere Overlaps(GenApi::INode* pNode, int64_t address, int64_t length) {
    auto* const pRegister = dynamic_cast<GenApi::IRegister*>(pNode);
    if (!pRegister) return CommandHere::No;
    try {
        // As numbers without sign, which is what addresses are.
        const auto first = static_cast<uint64_t>(pRegister->GetAddress());
        const auto wanted = static_cast<uint64_t>(address);
        const auto size = static_cast<uint64_t>(pRegister->GetLength());
        const bool isHere = wanted - first < size || first - wanted < static_cast<uint64_t>(length);
        return isHere ? CommandHere::Yes : CommandHere::No;
    } catch (const GenICam::GenericException&) {
        return CommandHere::Unknown;
    }
}

} // namespace

CommandHere FindCommand(const GenApi::INodeMap& map, int64_t address, int64_t length) {
    GenApi::NodeList_t nodes;
    map.GetNodes(nodes);
    CommandHere found = CommandHere::No;
    for (GenApi::INode* const pNode : nodes) {
        if (pNode->GetPrincipalInterfaceType() != GenApi::intfICommand) continue;
        GenApi::NodeList_t written;
        pNode->GetChildren(written, GenApi::ctTerminalNodes);
        for (GenApi::INode* const pWritten : written) {
            const CommandHere here = Overlaps(pWritten, address, length);
            if (here == CommandHere::Yes) return here;
            if (here == CommandHere::Unknown) found = here;
        }
    }
    return found;
}

} // namespace Tavix
