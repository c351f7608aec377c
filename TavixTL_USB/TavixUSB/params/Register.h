#pragma once
// What the registers of the three parameter node maps have in common.

#include <GenApi/NodeMap.h>

namespace Tavix {

/// One register of a parameter node map; its address is a property identifier of the USB access library.
struct ParamsRegister {
    const char* port;
    const char* address;
    const char* length; ///< bytes
    const char* accessMode;
    const char* sign;
};

/// Every read and write goes to the port, least significant byte first.
void SetRegisterProperties(GenApi::CMapNode& node, const ParamsRegister& properties);

} // namespace Tavix
