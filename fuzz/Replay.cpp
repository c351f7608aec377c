// Runs a fuzz target's entry over the files of its corpus, so that every found input stays a test.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

bool Replay(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    if (!stream) return false;
    const std::vector<char> bytes{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    // A copy of the exact size, so that a sanitizer sees every byte read beyond it.
    const std::vector<uint8_t> input(bytes.begin(), bytes.end());
    std::printf("%s (%zu bytes)\n", file.filename().c_str(), input.size());
    std::fflush(stdout);
    return LLVMFuzzerTestOneInput(input.data(), input.size()) == 0;
}

int ReplayFolder(const char* folder) {
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (!entry.is_regular_file()) continue;
        if (!Replay(entry.path())) {
            std::fprintf(stderr, "failed: %s\n", entry.path().c_str());
            return 1;
        }
        ++count;
    }
    std::printf("%d inputs\n", count);
    if (count == 0) std::fprintf(stderr, "no inputs in %s\n", folder);
    return count == 0 ? 1 : 0;
}

} // namespace

int main(int count, char** arguments) try {
    if (count != 2) {
        std::fprintf(stderr, "usage: %s <corpus folder>\n", arguments[0]);
        return 2;
    }
    return ReplayFolder(arguments[1]);
} catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
