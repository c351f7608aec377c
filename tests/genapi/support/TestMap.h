#pragma once
// A node map of a few lines: nodes by type, name and properties.

#include "genapi/support/MemoryPort.h"

#include <GenApi/GenApi.h>

#include <deque>
#include <string>
#include <vector>

namespace genapi_test {

struct Property {
    const char* name;
    std::string value;
    std::string attribute;
};

// Has the port "Device", connected to `port`. Bound to a thread while nodes are added.
class TestMap : public GenApi::CNodeMap {
public:
    TestMap() { RegisterNode(m_Handles.emplace_back(), "Port", "Device"); }

    TestMap& Add(const char* type, const char* name, const std::vector<Property>& properties = {}) {
        AnyNode& handle = m_Handles.emplace_back();
        RegisterNode(handle, type, name);
        for (const Property& property : properties) {
            handle.SetProperty(property.name, property.value, property.attribute);
        }
        return *this;
    }
    // A register of 4 bytes on the port "Device"; later properties win.
    TestMap& AddRegister(const char* type, const char* name, const char* address,
                         const std::vector<Property>& properties = {}) {
        std::vector<Property> all = {
            {"pPort", "Device", ""}, {"Address", address, ""}, {"Length", "4", ""}, {"AccessMode", "RW", ""}};
        all.insert(all.end(), properties.begin(), properties.end());
        return Add(type, name, all);
    }
    TestMap& Ready() {
        FinalConstruct();
        Connect(&port);
        return *this;
    }

    template<class Interface>
    Interface& As(const char* name) const {
        Interface* const pInterface = dynamic_cast<Interface*>(GetNode(name));
        if (!pInterface) throw std::runtime_error(std::string("no such node: ") + name);
        return *pInterface;
    }
    GenApi::IInteger& Integer(const char* name) const { return As<GenApi::IInteger>(name); }
    GenApi::IFloat& Float(const char* name) const { return As<GenApi::IFloat>(name); }
    GenApi::IValue& Value(const char* name) const { return As<GenApi::IValue>(name); }
    GenApi::INode& Node(const char* name) const { return As<GenApi::INode>(name); }
    GenApi::EAccessMode Mode(const char* name) const { return Node(name).GetAccessMode(); }

    MemoryPort port;

private:
    class AnyNode : public GenApi::CMapNode {
    protected:
        bool Take(GenApi::INode*) override { return true; }
    };
    std::deque<AnyNode> m_Handles;
};

} // namespace genapi_test
