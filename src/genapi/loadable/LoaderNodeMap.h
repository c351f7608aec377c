#pragma once
// A node map that is filled from a description.

#include <GenApi/INodeMapDyn.h>
#include <GenApi/NodeMap.h>

namespace genapi {

/// Ties the map to the loader. thread-safe
class LoaderNodeMap final : public GenApi::CNodeMap, public GenApi::INodeMapDyn {
public:
    explicit LoaderNodeMap(const GenICam::gcstring& deviceName) : CNodeMap(deviceName) {}

    void LoadXMLFromFile(const GenICam::gcstring& FileName) override;
    void LoadXMLFromFileInject(const GenICam::gcstring& TargetFileName,
                               const GenICam::gcstring& InjectFileName) override;
    void LoadXMLFromString(const GenICam::gcstring& XMLData) override;
    void LoadXMLFromStringInject(const GenICam::gcstring& TargetXMLData,
                                 const GenICam::gcstring& InjectXMLData) override;
    void LoadXMLFromZIPFile(const GenICam::gcstring& ZipFileName) override;
    void LoadXMLFromZIPData(const void* pData, size_t Size) override;
    void GetSupportedSchemaVersions(GenICam::gcstring_vector& SchemaVersions) const override;
    void PreprocessXMLFromFile(const GenICam::gcstring& XMLFileName, const GenICam::gcstring& OutputFileName,
                               uint32_t XMLValidation = GenApi::xvDefault) override;
    void PreprocessXMLFromZIPFile(const GenICam::gcstring& ZipFileName, const GenICam::gcstring& OutputFileName,
                                  uint32_t XMLValidation = GenApi::xvDefault) override;
    void MergeXMLFiles(const GenICam::gcstring& TargetFileName, const GenICam::gcstring& InjectFileName,
                       const GenICam::gcstring& OutputFileName) override;
    void ExtractIndependentSubtree(const GenICam::gcstring& XMLData, const GenICam::gcstring& InjectXMLData,
                                   const GenICam::gcstring& SubTreeRootNodeName,
                                   GenICam::gcstring& ExtractedSubtree) override;
    void GetLoadProblems(GenICam::gcstring_vector& Problems) const override;
    bool ParseSwissKnifes(GenICam::gcstring_vector* pErrors) const override;
};

} // namespace genapi
