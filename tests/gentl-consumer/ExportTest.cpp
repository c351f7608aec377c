// What the file offers to the dynamic linker, and how it behaves as a guest of a process.
#include "gentl-consumer/support/Session.h"

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <elf.h>
#include <link.h>

#include <filesystem>
#include <fstream>
#include <set>

namespace {

using namespace consumer;

/// Names of all symbols that the file defines for others.
std::set<std::string> ExportedNames(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::vector<char> bytes(std::filesystem::file_size(path));
    file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    const auto* header = reinterpret_cast<const ElfW(Ehdr)*>(bytes.data());
    const auto* sections = reinterpret_cast<const ElfW(Shdr)*>(bytes.data() + header->e_shoff);
    std::set<std::string> names;
    for (unsigned i = 0; i < header->e_shnum; ++i) {
        if (sections[i].sh_type != SHT_DYNSYM) continue;
        const char* texts = bytes.data() + sections[sections[i].sh_link].sh_offset;
        const auto* symbols = reinterpret_cast<const ElfW(Sym)*>(bytes.data() + sections[i].sh_offset);
        const std::size_t firstGlobal = sections[i].sh_info;
        for (std::size_t k = firstGlobal; k < sections[i].sh_size / sizeof *symbols; ++k)
            if (symbols[k].st_shndx != SHN_UNDEF) names.insert(texts + symbols[k].st_name);
    }
    return names;
}

TEST(Exports, AreAllFunctionsOfTheInterface) {
    const Library library;
    EXPECT_EQ(library.Missing(), std::vector<std::string>());
}

TEST(Exports, AreNothingButTheFunctions) {
    std::set<std::string> wanted;
#define CONSUMER_NAME(name, parameters) wanted.insert(#name);
    CONSUMER_FUNCTIONS(CONSUMER_NAME)
#undef CONSUMER_NAME
    EXPECT_EQ(ExportedNames(Library::Path()), wanted);
}

TEST(Exports, ComeFromAFileWithTheSuffixCti) {
    const std::string path = Library::Path();
    EXPECT_EQ(path.substr(path.size() - 4), ".cti");
}

} // namespace
