// Description files as a camera stores them.

#include "vexlo/DescriptionFile.h"

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const bool isStatedAsZip = size > 0 && (data[size - 1] & 1) != 0;
    vexlo::CXmlFile file;
    const vexlo::VxStatus status = vexlo::UnpackDescription({data, size}, isStatedAsZip, file);
    const auto member = vexlo::UnzipFirst({data, size});
    if (status != vexlo::VX_OK && member) __builtin_trap();
    if (member && member->text.size() > (std::size_t{256} << 20)) __builtin_trap();
    return 0;
}
