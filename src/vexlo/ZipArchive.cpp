// Unpacks zipped description files.
#include "vexlo/DescriptionFile.h"

#include <zip.h>

#include <algorithm>
#include <memory>

namespace vexlo {
namespace {

constexpr std::size_t kPiece = 64u << 10; ///< memory grows by what has come

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

/// Reads to the end, which makes the library compare the checksum. What the archive states of its size is not asked.
VxStatus ReadAll(zip_file_t& member, std::string& text) {
    for (;;) {
        const std::size_t done = text.size();
        text.resize(done + kPiece);
        const zip_int64_t count = ::zip_fread(&member, text.data() + done, kPiece);
        text.resize(done + static_cast<std::size_t>(std::max<zip_int64_t>(count, 0)));
        if (count < 0) return VX_E_XML_BAD_ZIP;
        if (count == 0) return VX_OK;
        if (text.size() > kLargestDescription) return VX_E_XML_TOO_LARGE;
    }
}

} // namespace

VxStatus UnzipFirst(u3v::ByteView bytes, ZipMember& found) {
    const Archive archive = OpenArchive(bytes);
    if (!archive) return VX_E_XML_BAD_ZIP;
    const Member member(::zip_fopen_index(archive.get(), 0, 0));
    if (!member) return VX_E_XML_BAD_ZIP;
    const char* name = ::zip_get_name(archive.get(), 0, 0);
    if (name != nullptr) found.name = name;
    return ReadAll(*member, found.text);
}

} // namespace vexlo
