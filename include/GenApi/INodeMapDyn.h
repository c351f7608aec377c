#pragma once
// A node map that is filled from a description text.

#include <GenApi/INodeMap.h>

#include <cstddef>

namespace GenApi {

// A map is loaded once; a second load throws RuntimeException. thread-safe
struct INodeMapDyn : virtual public INodeMap {
    virtual void LoadXMLFromFile(const GenICam::gcstring& FileName) = 0;
    virtual void LoadXMLFromFileInject(const GenICam::gcstring& TargetFileName,
                                       const GenICam::gcstring& InjectFileName) = 0;
    virtual void LoadXMLFromString(const GenICam::gcstring& XMLData) = 0;
    virtual void LoadXMLFromStringInject(const GenICam::gcstring& TargetXMLData,
                                         const GenICam::gcstring& InjectXMLData) = 0;
    virtual void LoadXMLFromZIPFile(const GenICam::gcstring& ZipFileName) = 0;
    virtual void LoadXMLFromZIPData(const void* pData, size_t Size) = 0;
    virtual void GetSupportedSchemaVersions(GenICam::gcstring_vector& SchemaVersions) const = 0;

    // These work on texts alone and leave the map as it is.
    virtual void PreprocessXMLFromFile(const GenICam::gcstring& XMLFileName,
                                       const GenICam::gcstring& OutputFileName) = 0;
    virtual void PreprocessXMLFromZIPFile(const GenICam::gcstring& ZipFileName,
                                          const GenICam::gcstring& OutputFileName) = 0;
    virtual void MergeXMLFiles(const GenICam::gcstring& TargetFileName, const GenICam::gcstring& InjectFileName,
                               const GenICam::gcstring& OutputFileName) = 0;
    // A description that holds RootNode and all that its features need; empty when there is no such node.
    virtual void ExtractIndependentSubtree(const GenICam::gcstring& XMLData, const GenICam::gcstring& InjectXMLData,
                                           const GenICam::gcstring& SubTreeRootNodeName,
                                           GenICam::gcstring& ExtractedSubtree) = 0;

    // What was wrong in the description, a line each. A node with a problem throws it when it is used; the others
    // are not touched.
    virtual void GetLoadProblems(GenICam::gcstring_vector& Problems) const = 0;
    // Compiles all formulas now and appends the texts of the failures; true when there are none.
    virtual bool ParseSwissKnifes(GenICam::gcstring_vector* pErrors = nullptr) const = 0;
};

} // namespace GenApi
