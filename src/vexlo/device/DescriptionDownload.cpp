// The camera's description file: found in the manifest, downloaded, checked, unpacked.
#include "vexlo/device/DescriptionDownload.h"

#include "u3v/Constants.h"
#include "u3v/LittleEndian.h"
#include "u3v/ManifestTable.h"
#include "vexlo/Logging.h"

#include "core/Unzip.h"

#include <openssl/sha.h>

#include <algorithm>
#include <array>

namespace vexlo {
namespace {

constexpr std::uint64_t kMostEntries = 64;
constexpr std::size_t kPiece = 64u << 10; ///< memory grows by what has come

/// Entries up to the first one that the camera refuses.
VxStatus ReadManifest(RegisterAccess& registers, std::uint64_t address, std::vector<u3v::ManifestEntry>& entries) {
    std::uint64_t count = 0;
    VxStatus status = address == 0 ? VX_E_XML_NO_MANIFEST : registers.Read64(address, count);
    if (status != VX_OK) return status;
    if (count == 0 || count > kMostEntries) return VX_E_XML_NO_MANIFEST;
    for (std::uint64_t i = 0; i < count; ++i) {
        std::array<std::uint8_t, u3v::manifest::kEntrySize> bytes;
        std::size_t done = 0;
        const std::uint64_t offset = u3v::manifest::kCountSize + i * u3v::manifest::kEntrySize;
        status = registers.Read(address + offset, bytes.data(), bytes.size(), done);
        if (status != VX_OK) break;
        if (const auto entry = u3v::DecodeManifestEntry({bytes.data(), bytes.size()})) entries.push_back(*entry);
    }
    return entries.empty() ? status : VX_OK;
}

VxStatus Download(RegisterAccess& registers, const u3v::ManifestEntry& entry, std::vector<std::uint8_t>& stored) {
    if (entry.size > kLargestDescription) return VX_E_XML_TOO_LARGE;
    while (stored.size() < entry.size) {
        const std::size_t offset = stored.size();
        const std::size_t piece = std::min(kPiece, static_cast<std::size_t>(entry.size) - offset);
        stored.resize(offset + piece);
        std::size_t done = 0;
        const VxStatus status = registers.Read(entry.address + offset, stored.data() + offset, piece, done);
        if (status != VX_OK) return status;
    }
    return VX_OK;
}

void CheckHash(const u3v::ManifestEntry& entry, const std::vector<std::uint8_t>& stored) {
    if (!entry.HasHash()) return;
    u3v::Sha1Digest digest;
    ::SHA1(stored.data(), stored.size(), digest.data());
    if (digest != entry.sha1)
        Log(Tavix::kLogWarning, "The hash of the camera's description file does not fit; used all the same");
}

bool StartsWith(u3v::ByteView bytes, std::initializer_list<std::uint8_t> start) {
    return bytes.size >= start.size() && std::equal(start.begin(), start.end(), bytes.data);
}

bool IsZip(u3v::ByteView bytes) {
    return StartsWith(bytes, {0x50, 0x4B, 0x03, 0x04});
}
bool IsXml(u3v::ByteView bytes) {
    return StartsWith(bytes, {'<'}) || StartsWith(bytes, {0xEF, 0xBB, 0xBF, '<'});
}

void SetText(CXmlFile& file, std::string text) {
    text.erase(text.find_last_not_of('\0') + 1);
    file.SetText(std::move(text));
}

} // namespace

VxStatus DownloadDescription(RegisterAccess& registers, std::uint64_t manifestAddress, CXmlFile& file) {
    std::vector<u3v::ManifestEntry> entries;
    VxStatus status = ReadManifest(registers, manifestAddress, entries);
    if (status != VX_OK) return status;
    const u3v::ManifestEntry* best = u3v::FindBestDescription(entries);
    if (best == nullptr) return VX_E_XML_NO_FILE;
    std::vector<std::uint8_t> stored;
    status = Download(registers, *best, stored);
    if (status != VX_OK) return status;
    CheckHash(*best, stored);
    return UnpackDescription(stored, best->format == u3v::manifest::kFormatZip, file);
}

VxStatus UnpackDescription(u3v::ByteView stored, bool statedAsZip, CXmlFile& file) {
    if (IsXml(stored) || (!statedAsZip && !IsZip(stored))) {
        SetText(file, std::string(reinterpret_cast<const char*>(stored.data), stored.size));
        return VX_OK;
    }
    Tavix::Unzipped member = Tavix::UnzipFirst(stored.data, stored.size, kLargestDescription);
    if (member.verdict == Tavix::Unzipped::Verdict::TooLarge) return VX_E_XML_TOO_LARGE;
    if (member.verdict != Tavix::Unzipped::Verdict::Good) return VX_E_XML_BAD_ZIP;
    SetText(file, std::move(member.text));
    if (!member.name.empty()) file.SetFilename(std::move(member.name));
    return VX_OK;
}

} // namespace vexlo
