// Description files as a camera stores them.

#include "vexlo/device/DescriptionDownload.h"

#include "core/Unzip.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const bool isStatedAsZip = size > 0 && (data[size - 1] & 1) != 0;
    vexlo::CXmlFile file;
    const vexlo::VxStatus status = vexlo::UnpackDescription({data, size}, isStatedAsZip, file);
    const Tavix::Unzipped member = Tavix::UnzipFirst(data, size, vexlo::kLargestDescription);
    const bool isZip = member.verdict == Tavix::Unzipped::Verdict::Good;
    if (status != vexlo::VX_OK && isZip) __builtin_trap();
    if (isZip && member.text.size() > vexlo::kLargestDescription) __builtin_trap();
    return 0;
}
