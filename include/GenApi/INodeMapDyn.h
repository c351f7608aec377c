#pragma once
// A node map that is filled from a description text.

#include <GenApi/Export.h>
#include <GenApi/INodeMap.h>

#include <cstddef>

namespace GenApi {

/// A map is loaded once; a second load throws RuntimeException. thread-safe
struct TAVIX_GENAPI_API INodeMapDyn : virtual public INodeMap {
    /// A description or an archive that holds one. RuntimeException with file, line and reason when it is no
    /// description.
    virtual void LoadXMLFromFile(const GenICam::gcstring& FileName) = 0;
    /// The second description is merged into the first.
    virtual void LoadXMLFromFileInject(const GenICam::gcstring& TargetFileName,
                                       const GenICam::gcstring& InjectFileName) = 0;
    /// The text is copied.
    virtual void LoadXMLFromString(const GenICam::gcstring& XMLData) = 0;
    /// An empty second text injects nothing.
    virtual void LoadXMLFromStringInject(const GenICam::gcstring& TargetXMLData,
                                         const GenICam::gcstring& InjectXMLData) = 0;
    /// The first description in the archive.
    virtual void LoadXMLFromZIPFile(const GenICam::gcstring& ZipFileName) = 0;
    /// Size is in bytes; the data are copied.
    virtual void LoadXMLFromZIPData(const void* pData, size_t Size) = 0;
    /// Replaces the content of the list.
    virtual void GetSupportedSchemaVersions(GenICam::gcstring_vector& SchemaVersions) const = 0;

    /// These work on texts alone and leave the map as it is.

    /// Writes the description as nodes are made from it: without groups, entries of structures as nodes of their own.
    /// XMLValidation is a set of EXMLValidation; RuntimeException with the first findings when the description does not
    /// stand the checks, and nothing is written.
    virtual void PreprocessXMLFromFile(const GenICam::gcstring& XMLFileName, const GenICam::gcstring& OutputFileName,
                                       uint32_t XMLValidation = xvDefault) = 0;
    /// The same for a description in an archive.
    virtual void PreprocessXMLFromZIPFile(const GenICam::gcstring& ZipFileName, const GenICam::gcstring& OutputFileName,
                                          uint32_t XMLValidation = xvDefault) = 0;
    /// Writes the first description with the second injected. RuntimeException for nodes in conflict.
    virtual void MergeXMLFiles(const GenICam::gcstring& TargetFileName, const GenICam::gcstring& InjectFileName,
                               const GenICam::gcstring& OutputFileName) = 0;
    /// A description that holds RootNode and all that its features need; empty when there is no such node.
    virtual void ExtractIndependentSubtree(const GenICam::gcstring& XMLData, const GenICam::gcstring& InjectXMLData,
                                           const GenICam::gcstring& SubTreeRootNodeName,
                                           GenICam::gcstring& ExtractedSubtree) = 0;

    /// What was wrong in the description, a line each. A node with a problem throws it when it is used; the others
    /// are not touched.
    virtual void GetLoadProblems(GenICam::gcstring_vector& Problems) const = 0;
    /// Compiles all formulas now and appends the texts of the failures; true when there are none.
    virtual bool ParseSwissKnifes(GenICam::gcstring_vector* pErrors = nullptr) const = 0;
};

} // namespace GenApi
