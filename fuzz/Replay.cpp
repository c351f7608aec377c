// Runs a fuzz target's entry over the inputs of its corpus, so that every found input stays a test.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <exception>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

std::vector<uint8_t> FromBase64(const std::string& text) {
    static constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::vector<uint8_t> bytes;
    uint32_t bits = 0;
    int count = 0;
    for (const char character : text.substr(0, text.find('='))) {
        const char* digit = std::strchr(kDigits, character);
        if (!digit || character == '\0') throw std::runtime_error("not base64: " + text);
        bits = bits << 6 | static_cast<uint32_t>(digit - kDigits);
        count += 6;
        if (count < 8) continue;
        count -= 8;
        bytes.push_back(static_cast<uint8_t>(bits >> count));
    }
    return {bytes.begin(), bytes.end()}; // of the exact size, so that a sanitizer sees every byte read beyond it
}

// A line each: name and bytes in base64, which are missing where an input is empty.
int ReplayCorpus(const char* path) {
    std::ifstream corpus(path);
    int count = 0;
    for (std::string line; std::getline(corpus, line); ++count) {
        std::istringstream words(line);
        std::string name, text;
        words >> name >> text;
        const std::vector<uint8_t> input = FromBase64(text);
        std::printf("%s (%zu bytes)\n", name.c_str(), input.size());
        std::fflush(stdout);
        if (LLVMFuzzerTestOneInput(input.data(), input.size()) != 0) {
            std::fprintf(stderr, "failed: %s\n", name.c_str());
            return 1;
        }
    }
    std::printf("%d inputs\n", count);
    if (count == 0) std::fprintf(stderr, "no inputs in %s\n", path);
    return count == 0 ? 1 : 0;
}

} // namespace

int main(int count, char** arguments) try {
    if (count != 2) {
        std::fprintf(stderr, "usage: %s <corpus>\n", arguments[0]);
        return 2;
    }
    return ReplayCorpus(arguments[1]);
} catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
