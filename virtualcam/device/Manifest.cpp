#include "virtualcam/device/Manifest.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <memory>
#include <stdexcept>

#include <openssl/sha.h>
#include <zip.h>

#include "virtualcam/device/EmbeddedDescription.h"
#include "virtualcam/device/Protocol.h"
#include "virtualcam/settings/RegularFile.h"

namespace virtualcam {
namespace {

constexpr std::size_t kCountSize = 8;
constexpr std::size_t kEntrySize = 64;
constexpr std::size_t kHashSize = 20;
constexpr std::uint32_t kFileVersion = 0x01000000;
constexpr std::uint32_t kOlderFileVersion = 0x00090000;
constexpr std::uint32_t kSchemaAndType = 0x01010000;        // schema 1.1, a camera's description, plain
constexpr std::uint32_t kForeignSchemaAndType = 0x02000000; // a schema that nobody knows yet
constexpr std::uint32_t kZipFlag = 0x0400;
constexpr std::size_t kLargestDescription = 64u << 20;
constexpr std::time_t kArchived = 1577836800; // 2020-01-01
constexpr std::size_t kTrailingZeros = 100;
constexpr std::size_t kExtraSize = 64; // counted by an entry of too large a size

struct DescriptionFile {
    Bytes bytes;
    std::uint32_t version = kFileVersion;
    std::uint32_t type = kSchemaAndType;
    std::array<std::uint8_t, kHashSize> hash{};
};

void Hash(DescriptionFile& file) {
    SHA1(file.bytes.data(), file.bytes.size(), file.hash.data());
}

// Packs the text as the single member of an archive.
Bytes Zip(const std::string& text, bool stored) {
    zip_error_t error;
    zip_error_init(&error);
    zip_source_t* target = zip_source_buffer_create(nullptr, 0, 0, &error);
    if (!target) throw std::runtime_error("no memory for an archive");
    const std::unique_ptr<zip_source_t, decltype(&zip_source_free)> keep(target, &zip_source_free);
    zip_t* archive = zip_open_from_source(target, ZIP_TRUNCATE, &error);
    if (!archive) throw std::runtime_error("cannot begin an archive");
    zip_source_keep(target); // the archive takes a reference of its own
    zip_source_t* member = zip_source_buffer(archive, text.data(), text.size(), 0);
    const zip_int64_t index = member ? zip_file_add(archive, "VirtualCamera.xml", member, ZIP_FL_ENC_UTF_8) : -1;
    // The same text makes the same archive, whenever it is made.
    const bool dated = index >= 0 && zip_file_set_mtime(archive, static_cast<zip_uint64_t>(index), kArchived, 0) == 0;
    const bool set = dated && zip_set_file_compression(archive, static_cast<zip_uint64_t>(index),
                                                       stored ? ZIP_CM_STORE : ZIP_CM_DEFLATE, 9) == 0;
    if (!set || zip_close(archive) != 0) {
        zip_discard(archive);
        throw std::runtime_error("cannot write an archive");
    }
    zip_stat_t stat;
    if (zip_source_stat(target, &stat) != 0 || zip_source_open(target) != 0)
        throw std::runtime_error("lost an archive");
    Bytes bytes(stat.size);
    const zip_int64_t read = zip_source_read(target, bytes.data(), bytes.size());
    zip_source_close(target);
    if (read != static_cast<zip_int64_t>(bytes.size())) throw std::runtime_error("cannot read an archive");
    return bytes;
}

DescriptionFile PlainFile(const std::string& text) {
    DescriptionFile file;
    file.bytes.assign(text.begin(), text.end());
    Hash(file);
    return file;
}

DescriptionFile ZippedFile(const std::string& text, bool stored) {
    DescriptionFile file;
    file.bytes = Zip(text, stored);
    file.type |= kZipFlag;
    Hash(file);
    return file;
}

std::string WithoutRoot(std::string text) {
    const std::string root = "Name=\"Root\"";
    for (std::size_t at = text.find(root); at != std::string::npos; at = text.find(root))
        text.replace(at, root.size(), "Name=\"Trunk\"");
    return text;
}

std::string ReadFile(const std::string& path) {
    try {
        return ReadRegularFile(path, kLargestDescription);
    } catch (const std::runtime_error& problem) {
        throw std::runtime_error("cannot read the description file " + path + ": " + problem.what());
    }
}

DescriptionFile RightFile(ManifestFault fault, const std::string& text) {
    if (fault == ManifestFault::PlainXml) return PlainFile(text);
    if (fault == ManifestFault::TrailingZeros) return PlainFile(text + std::string(kTrailingZeros, '\0'));
    if (fault == ManifestFault::WrongZipFlag) {
        DescriptionFile plain = PlainFile(text);
        plain.type |= kZipFlag;
        return plain;
    }
    if (fault == ManifestFault::NoRoot) return ZippedFile(WithoutRoot(text), /*stored=*/false);
    DescriptionFile file = ZippedFile(text, fault == ManifestFault::StoredZip);
    if (fault == ManifestFault::WrongHash) file.hash[0] = static_cast<std::uint8_t>(file.hash[0] ^ 0xFF);
    if (fault == ManifestFault::ZeroHash) file.hash.fill(0);
    if (fault == ManifestFault::WrongFormatFlag) file.type &= ~kZipFlag;
    if (fault == ManifestFault::CorruptZip) {
        for (std::size_t i = file.bytes.size() / 4; i < file.bytes.size() / 2; ++i)
            file.bytes[i] = static_cast<std::uint8_t>(file.bytes[i] ^ 0x5A);
        Hash(file);
    }
    return file;
}

std::vector<DescriptionFile> AllFiles(ManifestFault fault, const std::string& text) {
    std::vector<DescriptionFile> files;
    if (fault == ManifestFault::NoEntries) return files;
    if (fault == ManifestFault::SeveralEntries) {
        DescriptionFile older = PlainFile(WithoutRoot(text));
        older.version = kOlderFileVersion;
        DescriptionFile foreign = PlainFile("<Unknown/>");
        foreign.type = kForeignSchemaAndType;
        files = {older, foreign};
    }
    files.push_back(RightFile(fault, text));
    return files;
}

} // namespace

std::string BuiltInDescription() {
    return std::string(reinterpret_cast<const char*>(kEmbeddedDescription), kEmbeddedDescriptionSize);
}

Manifest BuildManifest(ManifestFault fault, const std::string& descriptionPath) {
    const std::vector<DescriptionFile> files =
        AllFiles(fault, descriptionPath.empty() ? BuiltInDescription() : ReadFile(descriptionPath));
    Manifest manifest;
    manifest.table.resize(kCountSize + kEntrySize * std::max<std::size_t>(files.size(), 1));
    Store<std::uint64_t>(manifest.table.data(), fault == ManifestFault::HugeCount ? 0x7FFFFFFFFFFFFFFF : files.size());
    const std::size_t extra = fault == ManifestFault::LargerSize ? kExtraSize : 0;
    std::uint8_t* entry = manifest.table.data() + kCountSize;
    for (const DescriptionFile& file : files) {
        Store<std::uint32_t>(entry, file.version);
        Store<std::uint32_t>(entry + 4, file.type);
        Store<std::uint64_t>(entry + 8, memory::kDescription + manifest.files.size());
        Store<std::uint64_t>(entry + 16, file.bytes.size() + extra);
        std::copy(file.hash.begin(), file.hash.end(), entry + 24);
        manifest.files.insert(manifest.files.end(), file.bytes.begin(), file.bytes.end());
        manifest.files.resize((manifest.files.size() + extra + 63) / 64 * 64);
        entry += kEntrySize;
    }
    if (manifest.files.empty()) manifest.files.resize(64);
    return manifest;
}

} // namespace virtualcam
