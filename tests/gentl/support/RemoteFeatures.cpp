#include "gentl/support/RemoteFeatures.h"

#include <cstdlib>
#include <fstream>
#include <stdexcept>

#include <sys/mman.h>
#include <unistd.h>

namespace consumer {
namespace {

void Expect(GC_ERROR code, const char* what) {
    if (code != GC_ERR_SUCCESS) throw std::runtime_error(std::string(what) + ": " + std::to_string(code));
}

} // namespace

void PortOf::Read(void* buffer, int64_t address, int64_t length) {
    size_t size = static_cast<size_t>(length);
    Expect(m_Producer.GCReadPort(m_Handle, static_cast<uint64_t>(address), buffer, &size), "GCReadPort");
}

void PortOf::Write(const void* buffer, int64_t address, int64_t length) {
    size_t size = static_cast<size_t>(length);
    Expect(m_Producer.GCWritePort(m_Handle, static_cast<uint64_t>(address), buffer, &size), "GCWritePort");
}

Features::Features(Producer& producer, PORT_HANDLE handle) : m_Port(producer, handle) {
    url = TextOf([&](char* text, size_t* size) { return producer.GCGetPortURL(handle, text, size); });
    if (url.rfind("local:", 0) != 0) throw std::runtime_error("no local description: " + url);
    const std::size_t first = url.find(';'), second = url.find(';', first + 1);
    const uint64_t address = std::strtoull(url.c_str() + first + 1, nullptr, 16);
    size_t size = std::strtoull(url.c_str() + second + 1, nullptr, 16);
    std::string bytes(size, '\0');
    Expect(producer.GCReadPort(handle, address, bytes.data(), &size), "reading the description");
    if (bytes.compare(0, 2, "PK") == 0) {
        // In memory: the machine may have no folder to write to.
        const int file = ::memfd_create("description", MFD_CLOEXEC);
        if (file < 0) throw std::runtime_error("no file for the description");
        const std::string name = "/proc/self/fd/" + std::to_string(file);
        std::ofstream(name, std::ios::binary) << bytes;
        map._LoadXMLFromZIPFile(name.c_str());
        ::close(file);
    } else {
        map._LoadXMLFromString(bytes.c_str());
    }
    const std::string port = TextOf([&](char* text, size_t* length) {
        return producer.GCGetPortInfo(handle, PORT_INFO_PORTNAME, nullptr, text, length);
    });
    if (!map._Connect(&m_Port, port.c_str())) throw std::runtime_error("the description has no port " + port);
}

} // namespace consumer
