// Unpacks zipped description files.
#include "vexlo/DescriptionFile.h"

#include <zip.h>

#include <memory>

namespace vexlo {
namespace {

constexpr zip_uint64_t kLargestText = 256u << 20;

struct Discard {
    void operator()(zip_t* archive) const { ::zip_discard(archive); }
    void operator()(zip_file_t* file) const { ::zip_fclose(file); }
};
using Archive = std::unique_ptr<zip_t, Discard>;
using Member = std::unique_ptr<zip_file_t, Discard>;

Archive OpenArchive(u3v::ByteView bytes) {
    zip_source_t* source = ::zip_source_buffer_create(bytes.data, bytes.size, /*freep=*/0, /*error=*/nullptr);
    if (source == nullptr) return nullptr;
    Archive archive(::zip_open_from_source(source, ZIP_RDONLY, /*error=*/nullptr));
    if (!archive) ::zip_source_free(source);
    return archive;
}

/// The whole member; nothing when it is damaged or longer than it says.
bool ReadAll(zip_file_t& member, std::string& text) {
    std::size_t done = 0;
    while (done < text.size()) {
        const zip_int64_t count = ::zip_fread(&member, text.data() + done, text.size() - done);
        if (count <= 0) return false;
        done += static_cast<std::size_t>(count);
    }
    char more = 0; // reading the end makes the library compare the checksum
    return ::zip_fread(&member, &more, 1) == 0;
}

} // namespace

std::optional<ZipMember> UnzipFirst(u3v::ByteView bytes) {
    const Archive archive = OpenArchive(bytes);
    if (!archive) return std::nullopt;
    zip_stat_t entry;
    if (::zip_stat_index(archive.get(), 0, 0, &entry) != 0 || (entry.valid & ZIP_STAT_SIZE) == 0) return std::nullopt;
    if (entry.size > kLargestText) return std::nullopt;
    const Member member(::zip_fopen_index(archive.get(), 0, 0));
    if (!member) return std::nullopt;
    ZipMember found;
    if ((entry.valid & ZIP_STAT_NAME) != 0 && entry.name != nullptr) found.name = entry.name;
    found.text.resize(static_cast<std::size_t>(entry.size));
    if (!ReadAll(*member, found.text)) return std::nullopt;
    return found;
}

} // namespace vexlo
