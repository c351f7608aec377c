#include "Description.h"

#include <algorithm>
#include <cctype>
#include <stdexcept>

namespace consumer {
namespace {

std::string Lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

/// The port of that name, or the one that is not for events.
std::string PortOf(GenApi::CNodeMapRef& map, const std::string& name) {
    GenApi::NodeList_t nodes;
    map._GetNodes(nodes);
    std::string found = name;
    for (GenApi::INode* node : nodes) {
        if (node->GetName() == name.c_str()) return name;
        const bool port = node->GetPrincipalInterfaceType() == GenApi::intfIPort;
        if (port && node->GetEventID().empty()) found = node->GetName().c_str();
    }
    return found;
}

} // namespace

LocalUrl ParseLocalUrl(const std::string& url) {
    if (Lower(url.substr(0, 6)) != "local:") throw std::runtime_error("not local: " + url);
    std::string rest = url.substr(6);
    if (rest.compare(0, 3, "///") == 0) rest.erase(0, 3);
    LocalUrl parsed;
    const std::size_t query = rest.find('?');
    if (query != std::string::npos) {
        const std::string schema = rest.substr(query + 1);
        if (Lower(schema).compare(0, 14, "schemaversion=") != 0) throw std::runtime_error("odd query: " + url);
        parsed.schemaVersion = schema.substr(14);
        rest.resize(query);
    }
    const std::size_t first = rest.find(';');
    const std::size_t second = rest.find(';', first + 1);
    if (first == std::string::npos || second == std::string::npos)
        throw std::runtime_error("no two semicolons: " + url);
    parsed.name = rest.substr(0, first);
    parsed.extension = Lower(parsed.name.substr(parsed.name.rfind('.') + 1));
    std::size_t addressEnd = 0, lengthEnd = 0;
    const std::string address = rest.substr(first + 1, second - first - 1), length = rest.substr(second + 1);
    parsed.address = std::stoull(address, &addressEnd, 16);
    parsed.length = std::stoull(length, &lengthEnd, 16);
    if (addressEnd != address.size() || lengthEnd != length.size()) throw std::runtime_error("odd number: " + url);
    if (address.find('x') != std::string::npos || length.find('x') != std::string::npos)
        throw std::runtime_error("numbers bear no 0x: " + url);
    return parsed;
}

void ModulePort::Read(void* buffer, int64_t address, int64_t length) {
    std::size_t size = static_cast<std::size_t>(length);
    const GC_ERROR code = m_Library.GCReadPort(m_Port, static_cast<std::uint64_t>(address), buffer, &size);
    if (code != GC_ERR_SUCCESS)
        throw GenICam::RuntimeException(("read: " + std::to_string(code)).c_str(), __FILE__, __LINE__);
}

void ModulePort::Write(const void* buffer, int64_t address, int64_t length) {
    std::size_t size = static_cast<std::size_t>(length);
    const GC_ERROR code = m_Library.GCWritePort(m_Port, static_cast<std::uint64_t>(address), buffer, &size);
    if (code != GC_ERR_SUCCESS)
        throw GenICam::RuntimeException(("write: " + std::to_string(code)).c_str(), __FILE__, __LINE__);
}

Module::Module(Session& session, PORT_HANDLE port)
    : m_Library(session.Lib()), m_Handle(port), m_Port(session.Lib(), port) {
    m_Url = ParseLocalUrl(UrlInfo(URL_INFO_URL).Text());
    m_File.resize(m_Url.length);
    std::size_t size = m_File.size();
    session.Must(m_Library.GCReadPort(port, m_Url.address, m_File.data(), &size), "description");
    if (m_File.size() > 2 && m_File[0] == 'P' && m_File[1] == 'K')
        m_Nodes._LoadXMLFromZIPData(m_File.data(), m_File.size());
    else
        m_Nodes._LoadXMLFromString(std::string(m_File.begin(), m_File.end()).c_str());
    if (!m_Nodes._Connect(&m_Port, PortOf(m_Nodes, PortInfo(PORT_INFO_PORTNAME).Text()).c_str()))
        throw std::runtime_error("the description has no port");
}

Answer Module::UrlInfo(Command what) const {
    return Ask([&](INFO_DATATYPE* type, void* room, std::size_t* size) {
        return m_Library.GCGetPortURLInfo(m_Handle, 0, what, type, room, size);
    });
}

Answer Module::PortInfo(Command what) const {
    return Ask([&](INFO_DATATYPE* type, void* room, std::size_t* size) {
        return m_Library.GCGetPortInfo(m_Handle, what, type, room, size);
    });
}

std::int64_t Module::Integer(const char* name) {
    return GenApi::CIntegerPtr(Find(name))->GetValue();
}

std::string Module::Text(const char* name) {
    return GenApi::CValuePtr(Find(name))->ToString().c_str();
}

void Module::Set(const char* name, const char* value) {
    GenApi::CValuePtr(Find(name))->FromString(value);
}

void Module::Execute(const char* name) {
    GenApi::CCommandPtr(Find(name))->Execute();
}

} // namespace consumer
