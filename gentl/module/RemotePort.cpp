#include "gentl/module/RemotePort.h"

#include "gentl/module/Device.h"

#include "u3v/LittleEndian.h"

#include <algorithm>
#include <array>

namespace gentl {
namespace {

constexpr std::uint64_t kMostEntries = 64;
/// What one command reads at most when neighbours are joined.
constexpr size_t kMostJoined = 1024;

/// Whatever locale the consumer has chosen.
bool IsPlain(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-';
}

/// A file name that no consumer stumbles over.
std::string FileNameOf(const std::string& model) {
    std::string name;
    for (const char c : model)
        name += IsPlain(c) ? c : '_';
    return name.empty() ? "camera" : name;
}

/// How many entries, from the first on, lie one behind the other; their bytes go to `size`.
size_t CountNeighbours(const PORT_REGISTER_STACK_ENTRY* entries, size_t count, size_t& size) {
    size = entries[0].Size;
    size_t n = 1;
    while (n < count && entries[n].Address == entries[0].Address + size && entries[n].Size <= kMostJoined - size) {
        size += entries[n].Size;
        ++n;
    }
    return n;
}

bool IsOfUserName(std::uint64_t address, size_t size) {
    const std::uint64_t begin = u3v::abrm::kUserDefinedName;
    return size != 0 && address < begin + u3v::abrm::kStringSize && address + size > begin;
}

/// As the camera has taken it. One that does not tell keeps the name that is known.
void NoteUserName(Device& device) {
    try {
        device.NoteUserName(ReadUserName(device.Vx()));
    } catch (const Failure&) {
        return;
    }
}

} // namespace

RemotePort::RemotePort(Device& device)
    : Module(Kind::RemotePort), m_Device(device.weak_from_this()), m_Model(device.Camera().Model()) {}

std::shared_ptr<Device> RemotePort::Owner() const {
    auto device = std::static_pointer_cast<Device>(m_Device.lock());
    if (!device) Fail(GC_ERR_INVALID_HANDLE, "the device is closed");
    return device;
}

void RemotePort::Read(std::uint64_t address, void* buffer, size_t& size) {
    const auto device = Owner();
    unsigned long count = size;
    const vexlo::VxStatus status = device->Vx().ReadMem(buffer, address, &count);
    size = count;
    Check(status, "The camera's registers cannot be read");
}

void RemotePort::Write(std::uint64_t address, const void* buffer, size_t& size) {
    const auto device = Owner();
    device->CheckWritable();
    Check(device->Vx().WriteMem(buffer, address, size), "The camera's registers cannot be written");
    if (IsOfUserName(address, size)) NoteUserName(*device);
}

void RemotePort::ReadStacked(PORT_REGISTER_STACK_ENTRY* entries, size_t count, size_t& done) {
    std::array<std::uint8_t, kMostJoined> joined;
    for (done = 0; done < count;) {
        size_t size = 0;
        const size_t n = entries[done].Size > kMostJoined ? 1 : CountNeighbours(entries + done, count - done, size);
        size_t got = size;
        bool isRead = false;
        if (n > 1) {
            unsigned long bytes = size;
            isRead =
                Owner()->Vx().ReadMem(joined.data(), entries[done].Address, &bytes) == vexlo::VX_OK && bytes == got;
        }
        if (!isRead) { // alone; also where a run was refused, to tell which of them it was
            size_t single = entries[done].Size;
            Read(entries[done].Address, entries[done].pBuffer, single);
            entries[done++].Size = single;
            continue;
        }
        size_t offset = 0;
        for (const size_t end = done + n; done < end; ++done) {
            std::memcpy(entries[done].pBuffer, joined.data() + offset, entries[done].Size);
            offset += entries[done].Size;
        }
    }
}

std::vector<u3v::ManifestEntry> RemotePort::ReadManifest() {
    std::array<std::uint8_t, 8> word{};
    size_t size = word.size();
    Read(u3v::abrm::kManifestTableAddress, word.data(), size);
    const std::uint64_t address = u3v::Load64(word.data());
    size = word.size();
    Read(address, word.data(), size);
    const std::uint64_t count = u3v::Load64(word.data());
    if (count > kMostEntries) return {}; // it is broken
    std::vector<u3v::ManifestEntry> entries;
    for (std::uint64_t i = 0; i < count; ++i) {
        std::array<std::uint8_t, u3v::manifest::kEntrySize> bytes{};
        size = bytes.size();
        Read(address + u3v::manifest::kCountSize + i * u3v::manifest::kEntrySize, bytes.data(), size);
        const auto entry = u3v::DecodeManifestEntry({bytes.data(), bytes.size()});
        if (entry && entry->IsCameraDescription() && entry->size != 0) entries.push_back(*entry);
    }
    return entries;
}

Port::Url RemotePort::ToUrl(const u3v::ManifestEntry& entry) const {
    Url url;
    url.fileName = FileNameOf(m_Model) + (entry.format == u3v::manifest::kFormatZip ? ".zip" : ".xml");
    url.address = entry.address;
    url.size = entry.size;
    url.schemaMajor = entry.schemaMajor;
    url.schemaMinor = entry.schemaMinor;
    url.fileMajor = entry.versionMajor;
    url.fileMinor = entry.versionMinor;
    url.fileSubMinor = entry.versionSubMinor;
    if (entry.HasHash()) url.sha1.assign(entry.sha1.begin(), entry.sha1.end());
    url.text = "local:" + url.fileName + ";" + Hexadecimal(url.address) + ";" + Hexadecimal(url.size) +
               "?SchemaVersion=" + std::to_string(url.schemaMajor) + "." + std::to_string(url.schemaMinor) + ".0";
    return url;
}

std::vector<Port::Url> RemotePort::Urls() {
    const std::vector<u3v::ManifestEntry> entries = ReadManifest();
    const u3v::ManifestEntry* const best = u3v::FindBestDescription(entries);
    std::vector<Url> urls;
    if (best) urls.push_back(ToUrl(*best));
    for (const u3v::ManifestEntry& entry : entries) {
        if (&entry != best) urls.push_back(ToUrl(entry));
    }
    return urls;
}

std::string RemotePort::Version() {
    return Owner()->Version();
}

Port::Identity RemotePort::Identify() {
    const auto device = Owner();
    const FoundCamera& camera = device->Camera();
    return {camera.id,        camera.Vendor(),   camera.Model(),
            "Device",         !device->IsLost(), !device->IsLost() && !device->IsReadOnly(),
            !device->IsLost()};
}

} // namespace gentl
