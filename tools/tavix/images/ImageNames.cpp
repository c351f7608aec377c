#include "images/ImageNames.h"

#include <algorithm>
#include <cctype>
#include <cstdio>

namespace tool {
namespace {

/// For a part of a file's name.
std::string Plain(std::string name) {
    for (char& c : name) {
        const bool isPlain = std::isalnum(static_cast<unsigned char>(c)) || c == '-' || c == '.';
        if (!isPlain) c = '_';
    }
    return name;
}

/// No file is hidden.
std::string Visible(std::string name) {
    if (name.front() == '.') name.front() = '_';
    return name;
}

std::string ShortPrefix(const Tavix::CameraInfo& camera) {
    return Visible(Plain(camera.model + "_" + camera.serial));
}

std::string LongPrefix(const Tavix::CameraInfo& camera) {
    return ShortPrefix(camera) + "_" + Plain(camera.guid);
}

template<class NameOf>
bool IsAlone(const std::string& name, const std::vector<Tavix::CameraInfo>& all, NameOf nameOf) {
    return std::count_if(all.begin(), all.end(), [&](const auto& other) { return nameOf(other) == name; }) < 2;
}

} // namespace

std::string ImagePrefix(const Tavix::CameraInfo& camera, const std::vector<Tavix::CameraInfo>& all) {
    if (const std::string name = ShortPrefix(camera); IsAlone(name, all, ShortPrefix)) return name;
    const std::string name = LongPrefix(camera);
    if (IsAlone(name, all, LongPrefix)) return name;
    return name + "_" + Plain(camera.path); // where it is plugged in tells any two apart
}

std::string ImageNames::Name(std::uint64_t blockId, std::uint64_t copy, const std::string& extension) const {
    char number[24];
    std::snprintf(number, sizeof number, "%06llu", static_cast<unsigned long long>(blockId));
    return m_Prefix + "_" + number + (copy > 1 ? "-" + std::to_string(copy) : "") + extension;
}

/// Whether no image of this grab can have the name.
bool ImageNames::IsFirst(std::uint64_t blockId) {
    if (m_HasOne && blockId <= m_Highest) return false;
    m_HasOne = true;
    m_Highest = blockId;
    return true;
}

std::string ImageNames::Place(Tavix::NewFile& file, std::uint64_t blockId, const std::string& extension) {
    if (IsFirst(blockId) && m_Overwrites) {
        file.Close();
        return Wanted(blockId, extension);
    }
    while (!file.CloseAs(Name(blockId, m_Copy, extension)))
        ++m_Copy;
    return Name(blockId, m_Copy, extension);
}

} // namespace tool
