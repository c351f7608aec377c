#include "descriptions/XmlAccess.h"

namespace tool {
namespace {

constexpr int kMostAccessLinks = 32; // links may form a circle

GenICam::gcstring AccessWord(GenApi::INode& node, const char* name) {
    GenICam::gcstring value, attribute;
    return node.GetProperty(name, value, attribute) ? value : GenICam::gcstring();
}

GenApi::EAccessMode AccessIn(GenApi::INode& node, const char* name, GenApi::EAccessMode otherwise) {
    GenApi::EAccessMode mode = otherwise;
    return GenApi::EAccessModeClass::FromString(AccessWord(node, name), &mode) ? mode : otherwise;
}

/// What the value is read from; of several that an index chooses among, the first that is written down.
GenApi::INode* AccessSource(GenApi::INode& node) {
    for (const char* const link : {"pValue", "pValueDefault", "pValueIndexed"}) {
        const GenICam::gcstring name = AccessWord(node, link);
        if (!name.empty()) return node.GetNodeMap()->GetNode(name.substr(0, name.find('\t')));
    }
    return nullptr;
}

GenApi::EAccessMode FollowAccess(GenApi::INode& start) {
    GenApi::EAccessMode mode = GenApi::RW;
    GenApi::INode* node = &start;
    for (int depth = 0; node && depth < kMostAccessLinks; ++depth) {
        mode = GenApi::Combine(mode, AccessIn(*node, "ImposedAccessMode", GenApi::RW));
        if (dynamic_cast<GenApi::IRegister*>(node)) {
            return GenApi::Combine(mode, AccessIn(*node, "AccessMode", GenApi::RO));
        }
        if (!AccessWord(*node, "Formula").empty()) return GenApi::Combine(mode, GenApi::RO);
        node = AccessSource(*node);
    }
    return mode;
}

} // namespace

const char* DeclaredAccess(GenApi::INode& node) {
    switch (FollowAccess(node)) {
    case GenApi::RO:
        return "RO";
    case GenApi::WO:
        return "WO";
    case GenApi::RW:
        return "RW";
    default:
        return "NA"; // what can be written alone is imposed to be read alone, or the other way round
    }
}

} // namespace tool
