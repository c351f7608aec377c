#pragma once
// Node maps from short descriptions.

#include <GenApi/GenApi.h>

#include <memory>
#include <string>

namespace support {

/// A complete description around the given nodes; Root names nothing unless the nodes bring their own.
inline std::string Description(const std::string& nodes) {
    const std::string root = nodes.find("\"Root\"") == std::string::npos ? "<Category Name=\"Root\"/>" : "";
    return "<RegisterDescription ModelName=\"Model\" VendorName=\"Vendor\" StandardNameSpace=\"None\" "
           "SchemaMajorVersion=\"1\" SchemaMinorVersion=\"1\" SchemaSubMinorVersion=\"0\" MajorVersion=\"1\" "
           "MinorVersion=\"0\" SubMinorVersion=\"0\" ProductGuid=\"00000000-0000-0000-0000-000000000001\" "
           "VersionGuid=\"00000000-0000-0000-0000-000000000002\" "
           "xmlns=\"http://www.genicam.org/GenApi/Version_1_1\">" +
           root + nodes + "</RegisterDescription>";
}

/// The loaded map of Description(nodes), unconnected. Bound to a thread.
class DescribedMap {
public:
    explicit DescribedMap(const std::string& nodes) : m_Reference("Device") {
        m_Reference._LoadXMLFromString(Description(nodes).c_str());
    }
    GenApi::INodeMap* Get() const { return m_Reference._Ptr; }
    GenApi::INodeMap* operator->() const { return m_Reference._Ptr; }
    std::int64_t Integer(const char* name) const { return GenApi::CIntegerPtr(m_Reference._GetNode(name))->GetValue(); }
    GenApi::EAccessMode Access(const char* name) const { return m_Reference._GetNode(name)->GetAccessMode(); }
    const GenApi::CNodeMapRef& Reference() const { return m_Reference; }

private:
    GenApi::CNodeMapRef m_Reference;
};

} // namespace support
