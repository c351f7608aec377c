#include "layers/LayerTable.h"

#include <algorithm>
#include <set>
#include <sstream>
#include <stdexcept>

namespace layers {
namespace {

struct OutsideHeader {
    std::string_view name; // a folder if it ends in a slash
    std::string_view library;
};

constexpr OutsideHeader kOutside[] = {
    {"log4cpp/", "log4cpp"},
    {"boost/", "boost"},
    {"libusb.h", "libusb"},
    {"libusb-1.0/", "libusb"},
    {"pugixml.hpp", "pugixml"},
    {"pugiconfig.hpp", "pugixml"},
    {"zip.h", "zip"},
    {"zipconf.h", "zip"},
    {"CLI/", "cli11"},
    {"png.h", "png"},
    {"pngconf.h", "png"},
    {"jpeglib.h", "jpeg"},
    {"jerror.h", "jpeg"},
    {"tiff.h", "tiff"},
    {"tiffio.h", "tiff"},
    {"nlohmann/", "json"},
    {"openssl/", "openssl"},
    {"zlib.h", "zlib"},
    {"libudev.h", "udev"},
    {"gtest/", "gtest"},
    {"gmock/", "gtest"},
    {"benchmark/", "benchmark"},
    {"usbredirparser.h", "usbredir"},
    {"pybind11/", "pybind11"},
    {"gst/", "gst"},
    {"glib.h", "gst"},
    {"glib-object.h", "gst"},
};

// Folders of the system's own headers; its headers without a folder end in ".h", those of the language in nothing.
constexpr std::string_view kSystemFolders[] = {"sys/", "linux/", "asm/", "net/", "netinet/", "arpa/", "bits/"};

bool StartsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

bool EndsWith(std::string_view text, std::string_view end) {
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

// Whether `path` is `folder` or lies in it.
bool LiesIn(std::string_view path, std::string_view folder) {
    return StartsWith(path, folder) && (path.size() == folder.size() || path[folder.size()] == '/');
}

std::string_view IncludeNameOf(std::string_view folder) {
    for (const std::string_view root : {"include/", "src/"}) {
        if (StartsWith(folder, root)) return folder.substr(root.size());
    }
    return folder;
}

std::runtime_error Wrong(unsigned int line, const std::string& what) {
    return std::runtime_error("layer table, line " + std::to_string(line) + ": " + what);
}

Layer ParseLine(const std::string& line, unsigned int number) {
    const std::size_t colon = line.find(':');
    if (colon == std::string::npos) throw Wrong(number, "no colon");
    Layer layer;
    std::istringstream left(line.substr(0, colon)), right(line.substr(colon + 1));
    left >> layer.name;
    for (std::string word; left >> word;)
        layer.folders.push_back(word);
    for (std::string word; right >> word;)
        layer.mayInclude.push_back(word);
    if (layer.folders.empty()) throw Wrong(number, "no library with a folder");
    return layer;
}

bool IsOutsideLibrary(std::string_view name) {
    return std::any_of(std::begin(kOutside), std::end(kOutside), [&](const auto& row) { return row.library == name; });
}

template<class NameOf>
const Layer* FindLongest(const std::vector<Layer>& allLayers, std::string_view path, NameOf nameOf) {
    const Layer* found = nullptr;
    std::size_t length = 0;
    for (const Layer& layer : allLayers) {
        for (const std::string& folder : layer.folders) {
            const std::string_view name = nameOf(folder);
            if (name.size() > length && LiesIn(path, name)) {
                found = &layer;
                length = name.size();
            }
        }
    }
    return found;
}

} // namespace

LayerTable::LayerTable(std::istream& text) {
    std::set<std::string> names, folders;
    unsigned int number = 0;
    for (std::string line; std::getline(text, line);) {
        ++number;
        line.erase(std::min(line.find('#'), line.size()));
        if (line.find_first_not_of(" \t\r") == std::string::npos) continue;
        Layer layer = ParseLine(line, number);
        if (!names.insert(layer.name).second) throw Wrong(number, "'" + layer.name + "' appears twice");
        for (const std::string& folder : layer.folders) {
            if (!folders.insert(folder).second) throw Wrong(number, "'" + folder + "' appears twice");
        }
        m_Layers.push_back(std::move(layer));
    }
    for (const Layer& layer : m_Layers) {
        for (const std::string& name : layer.mayInclude) {
            if (FindByName(name) == nullptr && !IsOutsideLibrary(name))
                throw std::runtime_error("layer table: '" + layer.name + "' points at '" + name +
                                         "', which is unknown");
        }
    }
}

const Layer* LayerTable::FindByName(std::string_view name) const {
    const auto found =
        std::find_if(m_Layers.begin(), m_Layers.end(), [&](const Layer& layer) { return layer.name == name; });
    return found != m_Layers.end() ? &*found : nullptr;
}

const Layer* LayerTable::FindByPath(std::string_view path) const {
    return FindLongest(m_Layers, path, [](std::string_view folder) { return folder; });
}

const Layer* LayerTable::FindByIncludeName(std::string_view name) const {
    return FindLongest(m_Layers, name, IncludeNameOf);
}

std::vector<std::string> LayerTable::FindCircles() const {
    std::vector<std::string> circles;
    for (const Layer& start : m_Layers) {
        std::set<std::string> reached;
        std::vector<const Layer*> open{&start};
        while (!open.empty()) {
            const Layer& layer = *open.back();
            open.pop_back();
            for (const std::string& name : layer.mayInclude) {
                const Layer* next = FindByName(name);
                if (next != nullptr && reached.insert(name).second) open.push_back(next);
            }
        }
        if (reached.count(start.name) != 0) circles.push_back(start.name);
    }
    return circles;
}

std::string OutsideLibraryOf(std::string_view header) {
    for (const OutsideHeader& row : kOutside) {
        if (header == row.name || (EndsWith(row.name, "/") && StartsWith(header, row.name)))
            return std::string(row.library);
    }
    const bool hasFolder = header.find('/') != std::string_view::npos;
    if (!hasFolder) return EndsWith(header, ".h") || header.find('.') == std::string_view::npos ? "" : "?";
    const bool isSystem = std::any_of(std::begin(kSystemFolders), std::end(kSystemFolders),
                                      [&](std::string_view folder) { return StartsWith(header, folder); });
    return isSystem ? "" : "?";
}

bool MayInclude(const Layer& layer, std::string_view library) {
    return library == layer.name ||
           std::find(layer.mayInclude.begin(), layer.mayInclude.end(), library) != layer.mayInclude.end();
}

} // namespace layers
