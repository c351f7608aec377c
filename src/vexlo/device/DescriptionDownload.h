#pragma once
// The camera's description file: found in the manifest, downloaded, checked, unpacked.

#include "u3v/ByteView.h"
#include "vexlo/XmlFile.h"
#include "vexlo/control/RegisterAccess.h"

#include <string>
#include <vector>

namespace vexlo {

/// Downloads the best description of the manifest, within the deadline of `registers`. A hash that does not fit is a
/// warning in the log.
[[nodiscard]] VxStatus DownloadDescription(RegisterAccess& registers, std::uint64_t manifestAddress, CXmlFile& file);

/// Turns a stored file into text: unpacks it when it is a zip, whatever the manifest says; cuts trailing zero bytes.
/// VX_E_XML_BAD_ZIP when it cannot be unpacked, VX_E_XML_TOO_LARGE when its text is longer than any may be.
[[nodiscard]] VxStatus UnpackDescription(u3v::ByteView stored, bool statedAsZip, CXmlFile& file);

/// As stored and as text. What a camera or an archive states of a size is a claim: memory grows as bytes come.
inline constexpr std::size_t kLargestDescription = 64u << 20;

} // namespace vexlo
