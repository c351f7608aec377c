#include "genapi/loadable/LoaderNodeMap.h"

#include "genapi/loadable/Validation.h"
#include "genapi/loader/Loader.h"
#include "genapi/map/Map.h"
#include "genapi/nodes/base/Throw.h"

#include <GenApi/NodeMapRef.h>

#include <fstream>

namespace genapi {

namespace {

void WriteFile(const GenICam::gcstring& fileName, const std::string& text) {
    std::ofstream file(fileName.c_str(), std::ios::binary | std::ios::trunc);
    file.write(text.data(), static_cast<std::streamsize>(text.size()));
    file.close();
    if (!file) ThrowRuntime("The file '" + fileName.str() + "' cannot be written.");
}

} // namespace

void LoaderNodeMap::LoadXMLFromFile(const GenICam::gcstring& FileName) {
    GetMap().Load(ParseDescriptionFile(FileName.str()));
}

void LoaderNodeMap::LoadXMLFromFileInject(const GenICam::gcstring& TargetFileName,
                                          const GenICam::gcstring& InjectFileName) {
    const std::string inject = InjectFileName.empty() ? std::string() : ReadDescriptionFile(InjectFileName.str());
    GetMap().Load(ParseDescriptionFile(TargetFileName.str(), inject));
}

void LoaderNodeMap::LoadXMLFromString(const GenICam::gcstring& XMLData) {
    GetMap().Load(ParseDescription(XMLData.view()));
}

void LoaderNodeMap::LoadXMLFromStringInject(const GenICam::gcstring& TargetXMLData,
                                            const GenICam::gcstring& InjectXMLData) {
    GetMap().Load(ParseDescription(TargetXMLData.view(), InjectXMLData.view()));
}

void LoaderNodeMap::LoadXMLFromZIPFile(const GenICam::gcstring& ZipFileName) {
    GetMap().Load(ParseDescriptionFile(ZipFileName.str()));
}

void LoaderNodeMap::LoadXMLFromZIPData(const void* pData, size_t Size) {
    const std::string text = UnzipDescription(pData, Size);
    GetMap().Load(ParseDescription(text));
}

void LoaderNodeMap::GetSupportedSchemaVersions(GenICam::gcstring_vector& SchemaVersions) const {
    SchemaVersions.clear();
    SchemaVersions.push_back("1.0");
    SchemaVersions.push_back("1.1");
}

void LoaderNodeMap::PreprocessXMLFromFile(const GenICam::gcstring& XMLFileName, const GenICam::gcstring& OutputFileName,
                                          uint32_t XMLValidation) {
    Validate(ReadDescriptionFile(XMLFileName.str()), XMLFileName.str(), XMLValidation);
    WriteFile(OutputFileName, WriteDescription(ParseDescriptionFile(XMLFileName.str())));
}

void LoaderNodeMap::PreprocessXMLFromZIPFile(const GenICam::gcstring& ZipFileName,
                                             const GenICam::gcstring& OutputFileName, uint32_t XMLValidation) {
    PreprocessXMLFromFile(ZipFileName, OutputFileName, XMLValidation);
}

void LoaderNodeMap::MergeXMLFiles(const GenICam::gcstring& TargetFileName, const GenICam::gcstring& InjectFileName,
                                  const GenICam::gcstring& OutputFileName) {
    const std::string target = ReadDescriptionFile(TargetFileName.str());
    WriteFile(OutputFileName, MergeDescriptions(target, ReadDescriptionFile(InjectFileName.str())));
}

void LoaderNodeMap::ExtractIndependentSubtree(const GenICam::gcstring& XMLData, const GenICam::gcstring& InjectXMLData,
                                              const GenICam::gcstring& SubTreeRootNodeName,
                                              GenICam::gcstring& ExtractedSubtree) {
    ExtractedSubtree = ExtractSubtree(XMLData.view(), InjectXMLData.view(), SubTreeRootNodeName.view());
}

void LoaderNodeMap::GetLoadProblems(GenICam::gcstring_vector& Problems) const {
    Problems.clear();
    for (const LoadProblem& problem : GetMap().Problems()) {
        std::string text = problem.line > 0 ? "line " + std::to_string(problem.line) + ": " : std::string();
        if (!problem.node.empty()) text += problem.node + ": ";
        Problems.push_back(text + problem.text);
    }
}

bool LoaderNodeMap::ParseSwissKnifes(GenICam::gcstring_vector* pErrors) const {
    const std::vector<std::string> failures = GetMap().CheckFormulas();
    if (pErrors) pErrors->insert(pErrors->end(), failures.begin(), failures.end());
    return failures.empty();
}

} // namespace genapi

namespace GenApi {

INodeMapDyn* CreateLoaderNodeMap(const GenICam::gcstring& LoaderKind, const GenICam::gcstring& LibraryName,
                                 const GenICam::gcstring& DeviceName) {
    if (LoaderKind != "Generic" || LibraryName != "XMLLoader") return nullptr;
    return new genapi::LoaderNodeMap(DeviceName);
}

} // namespace GenApi
