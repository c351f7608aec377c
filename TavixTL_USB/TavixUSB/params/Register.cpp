#include "params/Register.h"

namespace Tavix {

void SetRegisterProperties(GenApi::CMapNode& node, const ParamsRegister& properties) {
    node.SetProperty("Address", properties.address);
    node.SetProperty("Length", properties.length);
    node.SetProperty("AccessMode", properties.accessMode);
    node.SetProperty("pPort", properties.port);
    node.SetProperty("Cachable", "NoCache");
    node.SetProperty("Sign", properties.sign);
    node.SetProperty("Endianess", "LittleEndian"); // sic
}

} // namespace Tavix
