// Lists every node of a description with what our engine says of it: one line each of name, kind and value.
//
//   our_features FILE MEMORY
#include "Memory.h"

#include <GenApi/GenApi.h>

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

using GenApi::INode;

class Port final : public GenApi::CPortImpl {
public:
    explicit Port(Memory memory) : m_Memory(memory) {}
    GenApi::EAccessMode GetAccessMode() const override { return GenApi::RW; }
    void Read(void* to, int64_t address, int64_t length) override {
        ReadMemory(m_Memory, static_cast<std::uint64_t>(address), to, static_cast<std::size_t>(length));
    }
    void Write(const void*, int64_t, int64_t) override {}

private:
    const Memory m_Memory;
};

/// One line; "!" for what the engine refuses.
template<class Value>
void Print(INode* node, const char* what, Value value) {
    std::string text;
    try {
        text = value();
    } catch (const GenICam::GenericException&) {
        text = "!";
    }
    std::printf("%s\t%s\t%s\n", node->GetName().c_str(), what, text.c_str());
}

std::string Text(int64_t value) {
    return std::to_string(value);
}

std::string Text(double value) {
    char text[64];
    std::snprintf(text, sizeof text, "%.9g", value);
    return text;
}

void PrintValue(INode* node) {
    switch (node->GetPrincipalInterfaceType()) {
    case GenApi::intfIInteger: {
        GenApi::CIntegerPtr integer(node);
        Print(node, "integer", [&] { return Text(integer->GetValue()); });
        Print(node, "min", [&] { return Text(integer->GetMin()); });
        Print(node, "max", [&] { return Text(integer->GetMax()); });
        Print(node, "inc", [&] { return Text(integer->GetInc()); });
        return;
    }
    case GenApi::intfIFloat: {
        GenApi::CFloatPtr number(node);
        Print(node, "float", [&] { return Text(number->GetValue()); });
        Print(node, "min", [&] { return Text(number->GetMin()); });
        Print(node, "max", [&] { return Text(number->GetMax()); });
        return;
    }
    case GenApi::intfIBoolean:
        return Print(node, "boolean", [&] { return Text(int64_t(GenApi::CBooleanPtr(node)->GetValue())); });
    case GenApi::intfIString:
        return Print(node, "string", [&] { return std::string(GenApi::CStringPtr(node)->GetValue().c_str()); });
    case GenApi::intfIEnumeration:
        return Print(node, "enumeration",
                     [&] { return std::string(GenApi::CEnumerationPtr(node)->ToString().c_str()); });
    case GenApi::intfICommand:
        return Print(node, "command", [] { return std::string(); });
    default:
        return;
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) return EXIT_FAILURE;
    Port port(static_cast<Memory>(argv[2][0]));
    GenApi::CNodeMapRef map("Device");
    try {
        map._LoadXMLFromFile(argv[1]);
        map._Connect(&port, "Device");
    } catch (const GenICam::GenericException& error) {
        std::fprintf(stderr, "our_features: %s\n", error.GetDescription());
        return EXIT_FAILURE;
    }
    GenApi::NodeList_t nodes;
    map._GetNodes(nodes);
    for (INode* node : nodes) {
        Print(node, "available", [&] { return Text(int64_t(GenApi::IsAvailable(node))); });
        Print(node, "implemented", [&] { return Text(int64_t(GenApi::IsImplemented(node))); });
        PrintValue(node);
    }
    return EXIT_SUCCESS;
}
