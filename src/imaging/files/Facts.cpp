#include "imaging/files/Encoders.h"

#include <cstdio>
#include <ctime>

namespace Tavix::imaging {
namespace {

unsigned ByteAt(const std::string& text, std::size_t place) {
    return place < text.size() ? static_cast<unsigned char>(text[place]) : 0;
}

/// Bytes of the character that begins there; 0 if none does, or it is one that should not be shown.
std::size_t CharacterAt(const std::string& text, std::size_t place) {
    const unsigned first = ByteAt(text, place);
    if (first < 0x80) return first < 0x20 || first == 0x7F ? 0 : 1;
    const std::size_t length = first >= 0xF0 && first < 0xF5   ? 4
                               : first >= 0xE0 && first < 0xF0 ? 3
                               : first >= 0xC2                 ? 2
                                                               : 0;
    if (length == 0 || first >= 0xF5) return 0;
    for (std::size_t i = 1; i < length; ++i) {
        if ((ByteAt(text, place + i) & 0xC0) != 0x80) return 0;
    }
    const unsigned second = ByteAt(text, place + 1);
    const bool isControl = first == 0xC2 && second < 0xA0;
    const bool isLongForm = (first == 0xE0 && second < 0xA0) || (first == 0xF0 && second < 0x90);
    const bool isNone = (first == 0xED && second >= 0xA0) || (first == 0xF4 && second >= 0x90);
    return isControl || isLongForm || isNone ? 0 : length;
}

std::string NumberText(double value) {
    char text[40];
    std::snprintf(text, sizeof text, "%.10g", value);
    return text;
}

} // namespace

std::string Printable(const std::string& text) {
    std::string shown;
    for (std::size_t place = 0; place < text.size();) {
        const std::size_t length = CharacterAt(text, place);
        shown += length == 0 ? std::string("?") : text.substr(place, length);
        place += length == 0 ? 1 : length;
    }
    return shown;
}

std::string TimeText(std::chrono::system_clock::time_point time) {
    using namespace std::chrono;
    const auto micros = floor<microseconds>(time.time_since_epoch());
    const auto whole = floor<seconds>(micros);
    const std::time_t seconds = static_cast<std::time_t>(whole.count());
    std::tm parts{};
    if (!gmtime_r(&seconds, &parts)) return "";
    char text[80];
    std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d.%06dZ", parts.tm_year + 1900, parts.tm_mon + 1,
                  parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec, static_cast<int>((micros - whole).count()));
    return text;
}

Facts FactsOf(const PictureView& picture, const Metadata& metadata) {
    Facts facts{{"PixelFormat", NameOf(picture.format)}};
    if (!metadata.camera.empty()) facts.emplace_back("Camera", Printable(metadata.camera));
    if (metadata.time) facts.emplace_back("Time", TimeText(*metadata.time));
    if (metadata.cameraTime) facts.emplace_back("CameraTime", std::to_string(*metadata.cameraTime));
    if (metadata.exposure) facts.emplace_back("ExposureTime", NumberText(*metadata.exposure));
    if (metadata.blockId) facts.emplace_back("BlockId", std::to_string(*metadata.blockId));
    for (const auto& [name, value] : metadata.more)
        facts.emplace_back(Printable(name), Printable(value));
    return facts;
}

std::string Lines(const Facts& facts) {
    std::string lines;
    for (const auto& [name, value] : facts)
        lines += name + ": " + value + "\n";
    return lines;
}

} // namespace Tavix::imaging
