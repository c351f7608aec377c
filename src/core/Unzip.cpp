#include "core/Unzip.h"

#include <zip.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <optional>

namespace Tavix {

namespace {

constexpr std::size_t kEndRecordSize = 22;
constexpr std::size_t kPiece = std::size_t{64} << 10; // memory grows by what has come

struct Discard {
    void operator()(zip_t* archive) const { zip_discard(archive); }
    void operator()(zip_file_t* member) const { zip_fclose(member); }
};
using Archive = std::unique_ptr<zip_t, Discard>;
using Member = std::unique_ptr<zip_file_t, Discard>;

Unzipped Refused(std::string reason, Unzipped::Verdict verdict = Unzipped::Verdict::Bad) {
    return {verdict, {}, {}, std::move(reason)};
}

// Downloads are padded. The size up to the end of the last end record; all of it when there is none.
std::size_t ArchiveSize(const char* data, std::size_t size) {
    for (std::size_t end = size; end >= kEndRecordSize;) {
        const void* const found = memrchr(data, 'P', end - kEndRecordSize + 1);
        if (found == nullptr) return size;
        const auto at = static_cast<std::size_t>(static_cast<const char*>(found) - data);
        if (std::memcmp(data + at, "PK\5\6", 4) == 0) {
            const std::size_t comment = static_cast<unsigned char>(data[at + 20]) +
                                        (std::size_t{static_cast<unsigned char>(data[at + 21])} << 8U);
            return std::min(size, at + kEndRecordSize + comment);
        }
        end = at + kEndRecordSize - 1;
    }
    return size;
}

// Null with the reason when it is no archive.
Archive OpenArchive(const void* data, std::size_t size, std::string& reason) {
    zip_error_t error;
    zip_error_init(&error);
    zip_source_t* const source =
        zip_source_buffer_create(data, ArchiveSize(static_cast<const char*>(data), size), /*freep=*/0, &error);
    Archive archive(source == nullptr ? nullptr : zip_open_from_source(source, ZIP_RDONLY, &error));
    if (!archive) {
        reason = zip_error_strerror(&error);
        if (source != nullptr) zip_source_free(source);
    }
    zip_error_fini(&error);
    return archive;
}

bool IsFolder(const char* name) {
    return name != nullptr && *name != '\0' && name[std::strlen(name) - 1] == '/';
}

std::optional<zip_uint64_t> FirstFile(zip_t* archive) {
    const auto count = static_cast<zip_uint64_t>(std::max<zip_int64_t>(zip_get_num_entries(archive, 0), 0));
    for (zip_uint64_t i = 0; i < count; ++i) {
        if (!IsFolder(zip_get_name(archive, i, ZIP_FL_ENC_RAW))) return i;
    }
    return std::nullopt;
}

bool HasOrdinaryMethod(const zip_stat_t& member) {
    return (member.valid & ZIP_STAT_COMP_METHOD) == 0 || member.comp_method == ZIP_CM_STORE ||
           member.comp_method == ZIP_CM_DEFLATE;
}

// To the end, which makes the library compare the checksum.
Unzipped ReadAll(zip_file_t* member, std::size_t limit) {
    Unzipped file;
    for (;;) {
        const std::size_t before = file.text.size();
        file.text.resize(before + kPiece);
        const zip_int64_t count = zip_fread(member, file.text.data() + before, kPiece);
        if (count < 0) return Refused(zip_file_strerror(member));
        file.text.resize(before + static_cast<std::size_t>(count));
        if (count == 0) break;
        if (file.text.size() > limit) return Refused("the file is too large", Unzipped::Verdict::TooLarge);
    }
    file.verdict = Unzipped::Verdict::Good;
    return file;
}

} // namespace

Unzipped UnzipFirst(const void* data, std::size_t size, std::size_t limit) {
    if (data == nullptr || size == 0) return Refused("no data");
    std::string reason;
    const Archive archive = OpenArchive(data, size, reason);
    if (!archive) return Refused(std::move(reason));
    const std::optional<zip_uint64_t> index = FirstFile(archive.get());
    if (!index) return Refused("the archive holds no file");
    zip_stat_t stated;
    zip_stat_init(&stated);
    if (zip_stat_index(archive.get(), *index, 0, &stated) != 0) return Refused(zip_strerror(archive.get()));
    if (!HasOrdinaryMethod(stated)) return Refused("the file is neither stored nor deflated");
    const Member member(zip_fopen_index(archive.get(), *index, 0));
    if (!member) return Refused(zip_strerror(archive.get()));
    Unzipped file = ReadAll(member.get(), limit);
    if (const char* const name = zip_get_name(archive.get(), *index, 0)) file.name = name;
    return file;
}

} // namespace Tavix
