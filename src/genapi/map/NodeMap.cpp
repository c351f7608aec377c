#include "genapi/description/Lexical.h"
#include "genapi/map/LastMiss.h"
#include "genapi/map/Map.h"
#include "genapi/nodes/base/Throw.h"

#include <GenApi/NodeMap.h>

#include <Base/GCException.h>

#include <algorithm>

namespace GenApi {

namespace {

constexpr Version_t kGenApiVersion = {2, 3, 0};
constexpr uint16_t kBuild = 1;

using genapi::MapProperty;

bool IsVersionPart(MapProperty property) {
    return property >= MapProperty::SchemaMajorVersion && property <= MapProperty::SubMinorVersion;
}

uint16_t VersionPart(const genapi::Map& map, MapProperty property) {
    return static_cast<uint16_t>(genapi::ParseInteger(map.Info(property)).value_or(0));
}

INode* FindQualified(const genapi::Map& map, std::string_view name) {
    const bool isStandard = name.substr(0, 5) == "Std::";
    const bool isQualified = isStandard || name.substr(0, 6) == "Cust::";
    if (!isQualified) return map.Find(name);
    genapi::Node* const pNode = map.Find(name.substr(name.find("::") + 2));
    return pNode && pNode->GetNameSpace() == (isStandard ? Standard : Custom) ? pNode : nullptr;
}

} // namespace

CNodeMap::CNodeMap(const GenICam::gcstring& DeviceName) : m_pMap(std::make_unique<genapi::Map>(DeviceName)) {
    m_pMap->SetFacade(this);
}

CNodeMap::~CNodeMap() = default;

void CNodeMap::SetProperty(const GenICam::gcstring& PropertyName, const GenICam::gcstring& Value) {
    const auto& names = genapi::kMapPropertyNames;
    const auto found = std::find(names.begin(), names.end(), PropertyName.view());
    if (found == names.end()) genapi::ThrowProperty("A node map has no property " + PropertyName.str() + ".");
    const MapProperty property = static_cast<MapProperty>(found - names.begin());
    if (IsVersionPart(property) && !genapi::ParseInteger(Value.view())) {
        genapi::ThrowProperty("'" + Value.str() + "' is no version number.");
    }
    m_pMap->SetInfo(property, Value.view());
}

void CNodeMap::RegisterNode(CMapNode& Node, const GenICam::gcstring& TypeName, const GenICam::gcstring& NodeName,
                            const GenICam::gcstring& NameSpace) {
    const std::optional<genapi::NodeType> type = genapi::FindNodeType(TypeName.view());
    if (!type) genapi::ThrowRuntime("There is no node type " + TypeName.str() + ".");
    const std::optional<int> nameSpace = genapi::ParseKeyword(genapi::Keyword::NameSpace, NameSpace.view());
    if (!nameSpace) genapi::ThrowProperty("There is no name space " + NameSpace.str() + ".");
    if (Node.IsRegistered()) genapi::ThrowLogicalError("The handle of " + NodeName.str() + " is registered already.");
    genapi::Node& node = m_pMap->AddNode(*type, NodeName.view(), *nameSpace == Standard);
    if (!Node.Take(&node)) {
        throw DYNAMICCAST_EXCEPTION_NODE(NodeName.c_str(), "RegisterNode()", "A %s does not fit its handle.",
                                         TypeName.c_str());
    }
    Node.m_pMap = m_pMap.get();
    Node.m_pNode = &node;
}

void CNodeMap::FinalConstruct(const GenICam::gcstring& RootName) {
    m_pMap->Finalise(RootName.view(), genapi::Strictness::Throw);
}

void CNodeMap::GetNodes(NodeList_t& Nodes) const {
    Nodes.assign(m_pMap->Nodes().begin(), m_pMap->Nodes().end());
}

INode* CNodeMap::GetNode(const GenICam::gcstring& Name) const {
    INode* const pNode = FindQualified(*m_pMap, Name.view());
    if (!pNode) genapi::NoteUnknown(Name.view());
    return pNode;
}

void CNodeMap::InvalidateNodes() const {
    m_pMap->InvalidateAll();
}

bool CNodeMap::Connect(IPort* pPort, const GenICam::gcstring& PortName) const {
    return m_pMap->Connect(pPort, PortName.view());
}

bool CNodeMap::Connect(IPort* pPort) const {
    return m_pMap->Connect(pPort, "Device");
}

GenICam::gcstring CNodeMap::GetDeviceName() const {
    return m_pMap->DeviceName();
}

void CNodeMap::Poll(int64_t ElapsedTime) {
    m_pMap->Poll(ElapsedTime);
}

CLock& CNodeMap::GetLock() const {
    return m_pMap->Lock();
}

uint64_t CNodeMap::GetNumNodes() const {
    return m_pMap->Nodes().size();
}

GenICam::gcstring CNodeMap::GetModelName() {
    return GenICam::gcstring(m_pMap->Info(MapProperty::ModelName));
}

GenICam::gcstring CNodeMap::GetVendorName() {
    return GenICam::gcstring(m_pMap->Info(MapProperty::VendorName));
}

GenICam::gcstring CNodeMap::GetToolTip() {
    return GenICam::gcstring(m_pMap->Info(MapProperty::ToolTip));
}

GenICam::gcstring CNodeMap::GetStandardNameSpace() {
    return GenICam::gcstring(m_pMap->Info(MapProperty::StandardNameSpace));
}

void CNodeMap::GetGenApiVersion(Version_t& Version, uint16_t& Build) {
    Version = kGenApiVersion;
    Build = kBuild;
}

void CNodeMap::GetSchemaVersion(Version_t& Version) {
    Version.Major = VersionPart(*m_pMap, MapProperty::SchemaMajorVersion);
    Version.Minor = VersionPart(*m_pMap, MapProperty::SchemaMinorVersion);
    Version.SubMinor = VersionPart(*m_pMap, MapProperty::SchemaSubMinorVersion);
}

void CNodeMap::GetDeviceVersion(Version_t& Version) {
    Version.Major = VersionPart(*m_pMap, MapProperty::MajorVersion);
    Version.Minor = VersionPart(*m_pMap, MapProperty::MinorVersion);
    Version.SubMinor = VersionPart(*m_pMap, MapProperty::SubMinorVersion);
}

GenICam::gcstring CNodeMap::GetProductGuid() {
    return GenICam::gcstring(m_pMap->Info(MapProperty::ProductGuid));
}

GenICam::gcstring CNodeMap::GetVersionGuid() {
    return GenICam::gcstring(m_pMap->Info(MapProperty::VersionGuid));
}

void CNodeMap::Destroy() {
    delete this;
}

} // namespace GenApi
