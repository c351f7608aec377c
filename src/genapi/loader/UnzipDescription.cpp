#include "genapi/loader/Loader.h"

#include <Base/GCException.h>

#include <zip.h>

#include <algorithm>
#include <cstring>
#include <memory>

namespace genapi {

namespace {

constexpr std::size_t kEndRecordSize = 22;
constexpr std::size_t kChunkSize = std::size_t{64} << 10;

struct ArchiveCloser {
    void operator()(zip_t* archive) const { zip_discard(archive); }
};
struct MemberCloser {
    void operator()(zip_file_t* member) const { zip_fclose(member); }
};
using Archive = std::unique_ptr<zip_t, ArchiveCloser>;
using Member = std::unique_ptr<zip_file_t, MemberCloser>;

[[noreturn]] void Refuse(const std::string& reason) {
    throw RUNTIME_EXCEPTION("Cannot unzip the description: %hs", reason.c_str());
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

Archive OpenArchive(const void* data, std::size_t size) {
    zip_error_t error;
    zip_error_init(&error);
    zip_source_t* const source =
        zip_source_buffer_create(data, ArchiveSize(static_cast<const char*>(data), size), /*freep=*/0, &error);
    zip_t* archive = source == nullptr ? nullptr : zip_open_from_source(source, ZIP_RDONLY, &error);
    if (archive == nullptr) {
        const std::string reason = zip_error_strerror(&error);
        if (source != nullptr) zip_source_free(source);
        zip_error_fini(&error);
        Refuse(reason);
    }
    zip_error_fini(&error);
    return Archive(archive);
}

// The first member that is no folder.
zip_uint64_t FirstMember(zip_t* archive) {
    const zip_int64_t count = zip_get_num_entries(archive, 0);
    for (zip_int64_t i = 0; i < count; ++i) {
        const char* const name = zip_get_name(archive, static_cast<zip_uint64_t>(i), ZIP_FL_ENC_RAW);
        if (name == nullptr || *name == '\0' || name[std::strlen(name) - 1] != '/') return static_cast<zip_uint64_t>(i);
    }
    Refuse("the archive holds no file");
}

std::string ReadAll(zip_file_t* member) {
    std::string text;
    for (;;) {
        const std::size_t before = text.size();
        text.resize(before + kChunkSize);
        const zip_int64_t count = zip_fread(member, text.data() + before, kChunkSize);
        if (count < 0) Refuse(zip_file_strerror(member));
        text.resize(before + static_cast<std::size_t>(count));
        if (count == 0) break;
        if (text.size() > kMaxDescriptionSize) Refuse("the description is too large");
    }
    return text;
}

} // namespace

std::string UnzipDescription(const void* data, std::size_t size) {
    if (data == nullptr || size == 0) Refuse("no data");
    const Archive archive = OpenArchive(data, size);
    const zip_uint64_t index = FirstMember(archive.get());
    zip_stat_t properties;
    zip_stat_init(&properties);
    if (zip_stat_index(archive.get(), index, 0, &properties) != 0) Refuse(zip_strerror(archive.get()));
    const bool isTooLarge = (properties.valid & ZIP_STAT_SIZE) != 0 && properties.size > kMaxDescriptionSize;
    if (isTooLarge) Refuse("the description is too large");
    const bool isKnown = (properties.valid & ZIP_STAT_COMP_METHOD) == 0 || properties.comp_method == ZIP_CM_STORE ||
                         properties.comp_method == ZIP_CM_DEFLATE;
    if (!isKnown) Refuse("the description is neither stored nor deflated");
    const Member member(zip_fopen_index(archive.get(), index, 0));
    if (!member) Refuse(zip_strerror(archive.get()));
    return ReadAll(member.get());
}

} // namespace genapi
