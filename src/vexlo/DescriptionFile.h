#pragma once
// The camera's description file: found in the manifest, downloaded, checked, unpacked.

#include "u3v/ByteView.h"
#include "vexlo/RegisterAccess.h"
#include "vexlo/XmlFile.h"

#include <optional>
#include <string>
#include <vector>

namespace vexlo {

/// Downloads the best description of the manifest. A hash that does not fit is a warning in the log.
[[nodiscard]] VxStatus DownloadDescription(RegisterAccess& registers, std::uint64_t manifestAddress, CXmlFile& file);

/// Turns a stored file into text: unpacks it when it is a zip, whatever the manifest says; cuts trailing zero bytes.
/// VX_E_XML_BAD_ZIP when it cannot be unpacked.
[[nodiscard]] VxStatus UnpackDescription(u3v::ByteView stored, bool statedAsZip, CXmlFile& file);

/// First member of a zip archive. Nothing when the archive is damaged, empty or unreasonably large.
struct ZipMember {
    std::string name;
    std::string text;
};
std::optional<ZipMember> UnzipFirst(u3v::ByteView archive);

} // namespace vexlo
