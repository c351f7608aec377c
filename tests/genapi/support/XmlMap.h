#pragma once
// A node map loaded from the text of a few nodes, over memory.

#include "genapi/support/MemoryPort.h"

#include <GenApi/GenApi.h>

#include <stdexcept>
#include <string>

namespace genapi_test {

// What a register needs besides its place; the mode is RW.
inline const std::string kRegisterRest = "<Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>";

// Has the port "Device", connected to `port`, whatever the nodes are. Bound to a thread.
class XmlMap {
public:
    explicit XmlMap(const std::string& nodes, char minor = '1') {
        m_Map._LoadXMLFromString((Head(minor) + "<Port Name=\"Device\"/>" + nodes + "</RegisterDescription>").c_str());
        m_Map._Connect(&port);
    }

    static std::string Head(char minor) {
        return std::string("<RegisterDescription ModelName=\"M\" VendorName=\"V\" StandardNameSpace=\"None\" "
                           "SchemaMajorVersion=\"1\" SchemaMinorVersion=\"") +
               minor +
               "\" SchemaSubMinorVersion=\"0\" MajorVersion=\"1\" MinorVersion=\"0\" SubMinorVersion=\"0\" "
               "ProductGuid=\"P\" VersionGuid=\"G\">";
    }

    template<class Interface>
    Interface& As(const std::string& name) const {
        auto* const pInterface = dynamic_cast<Interface*>(m_Map._GetNode(name.c_str()));
        if (!pInterface) throw std::runtime_error("no such node: " + name);
        return *pInterface;
    }
    GenApi::IInteger& Integer(const std::string& name) const { return As<GenApi::IInteger>(name); }
    GenApi::IFloat& Float(const std::string& name) const { return As<GenApi::IFloat>(name); }
    GenApi::IEnumeration& Enumeration(const std::string& name) const { return As<GenApi::IEnumeration>(name); }
    GenApi::INode& Node(const std::string& name) const { return As<GenApi::INode>(name); }
    GenApi::EAccessMode Mode(const std::string& name) const { return Node(name).GetAccessMode(); }
    std::string Text(const std::string& name) const { return As<GenApi::IValue>(name).ToString().c_str(); }

    GenApi::INodeMap& Map() const { return *m_Map._Ptr; }
    std::vector<std::string> Problems() const {
        GenICam::gcstring_vector problems;
        dynamic_cast<GenApi::INodeMapDyn&>(*m_Map._Ptr).GetLoadProblems(problems);
        return {problems.begin(), problems.end()};
    }

    MemoryPort port;

private:
    GenApi::CNodeMapRef m_Map;
};

// A number that the node map holds itself.
inline std::string Held(const std::string& name, const std::string& value) {
    return "<Integer Name=\"" + name + "\"><Value>" + value + "</Value></Integer>";
}
// A register of four bytes.
inline std::string Reg(const std::string& name, const std::string& address, const std::string& more = {}) {
    return "<IntReg Name=\"" + name + "\"><Address>" + address + "</Address>" + kRegisterRest + more + "</IntReg>";
}

} // namespace genapi_test
