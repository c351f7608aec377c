// Node maps of arbitrary descriptions over arbitrary memory: whatever an application may ask of a node ends in an
// answer or in an exception of the library, within bounded time.

#include <Base/GCException.h>
#include <GenApi/GenApi.h>
#include <GenApi/Why.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace {

// Gives bytes that differ from address to address and takes all writes. bound to a thread
class NoisePort final : public GenApi::CPortImpl {
public:
    GenApi::EAccessMode GetAccessMode() const override { return GenApi::RW; }
    void Read(void* pBuffer, int64_t Address, int64_t Length) override {
        for (int64_t i = 0; i < Length; ++i) {
            const uint64_t place = static_cast<uint64_t>(Address) + static_cast<uint64_t>(i);
            static_cast<uint8_t*>(pBuffer)[i] = static_cast<uint8_t>(place * 2654435761u >> 13);
        }
    }
    void Write(const void*, int64_t, int64_t) override {}
};

// Runs one question. Anything but an exception of the library is a fault.
template<class Question>
void Ask(Question question) {
    try {
        question();
    } catch (const GenICam::GenericException&) {
        return;
    }
}

void AskNode(GenApi::INode& node) {
    Ask([&] { node.GetAccessMode(); });
    Ask([&] { GenApi::ExplainAccess(&node); });
    Ask([&] { node.GetPollingTime(), node.GetCachingMode(), node.GetDisplayName(); });
    GenApi::NodeList_t nodes;
    for (int type = GenApi::ctParentNodes; type <= GenApi::ctTerminalNodes; ++type) {
        Ask([&] { node.GetChildren(nodes, static_cast<GenApi::ELinkType>(type)); });
    }
    GenICam::gcstring_vector names;
    node.GetPropertyNames(names);
    GenICam::gcstring value;
    GenICam::gcstring attribute;
    for (const GenICam::gcstring& name : names)
        node.GetProperty(name, value, attribute);
}

void AskInteger(GenApi::IInteger& integer) {
    Ask([&] { integer.GetMin(), integer.GetMax(), integer.GetInc(); });
    Ask([&] { integer.SetValue(integer.GetMax()); });
    Ask([&] { integer.SetValue(1, /*Verify=*/false); });
    Ask([&] { integer.GetValue(/*Verify=*/true, /*IgnoreCache=*/true); });
}

void AskFloat(GenApi::IFloat& real) {
    Ask([&] { real.GetMin(), real.GetMax(), real.HasInc(), real.GetUnit(), real.GetDisplayPrecision(); });
    Ask([&] { real.SetValue(real.GetMin()); });
    Ask([&] { real.SetValue(0.5, /*Verify=*/false); });
}

void AskValue(GenApi::IValue& value) {
    Ask([&] { value.ToString(); });
    Ask([&] { value.FromString(value.ToString(), /*Verify=*/false); });
    Ask([&] { value.FromString("1"); });
    Ask([&] { value.IsValueCacheValid(); });
}

void AskRest(GenApi::INode& node) {
    if (GenApi::CEnumerationPtr pEnumeration = &node; pEnumeration.IsValid()) {
        GenApi::StringList_t symbolics;
        Ask([&] { pEnumeration->GetSymbolics(symbolics); });
        Ask([&] { pEnumeration->GetCurrentEntry(); });
    }
    if (GenApi::CCommandPtr pCommand = &node; pCommand.IsValid()) {
        Ask([&] { pCommand->Execute(/*Verify=*/false); });
        Ask([&] { pCommand->IsDone(); });
    }
    if (GenApi::CRegisterPtr pRegister = &node; pRegister.IsValid()) {
        uint8_t bytes[16] = {};
        Ask([&] { pRegister->GetAddress(), pRegister->GetLength(); });
        Ask([&] { pRegister->Get(bytes, sizeof bytes); });
        Ask([&] { pRegister->Set(bytes, 4); });
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    NoisePort port;
    GenApi::CNodeMapRef map;
    try {
        map._LoadXMLFromString(text);
    } catch (const GenICam::RuntimeException&) {
        return 0;
    }
    GenApi::NodeList_t nodes;
    map._GetNodes(nodes);
    if (nodes.size() > 100) return 0; // more of the same takes long and shows nothing new
    for (GenApi::INode* const pNode : nodes) {
        if (auto* const pPort = dynamic_cast<GenApi::IPortConstruct*>(pNode)) pPort->SetPortImpl(&port);
    }
    for (GenApi::INode* const pNode : nodes) {
        GenApi::Register(pNode, [](GenApi::INode* pChanged) { pChanged->GetName(); });
        AskNode(*pNode);
        if (GenApi::CIntegerPtr pInteger = pNode; pInteger.IsValid()) AskInteger(*pInteger);
        if (GenApi::CFloatPtr pFloat = pNode; pFloat.IsValid()) AskFloat(*pFloat);
        if (GenApi::CValuePtr pValue = pNode; pValue.IsValid()) AskValue(*pValue);
        AskRest(*pNode);
    }
    Ask([&] { map._Poll(1000); });
    GenApi::CFeatureBag bag;
    Ask([&] { bag.StoreToBag(map._Ptr); });
    Ask([&] { bag.LoadFromBag(map._Ptr); });
    uint8_t message[32] = {};
    GenApi::CEventAdapterGeneric events(map._Ptr);
    Ask([&] { events.DeliverMessage(message, sizeof message, uint64_t{1}); });
    map._InvalidateNodes();
    return 0;
}
