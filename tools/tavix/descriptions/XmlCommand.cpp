#include "Error.h"
#include "PlainFile.h"
#include "Status.h"
#include "descriptions/LintReport.h"
#include "features/FeatureTree.h"
#include "line/Commands.h"
#include "output/Json.h"
#include "output/Text.h"

#include <GenApi/GenApi.h>

namespace tool {
namespace {

constexpr std::size_t kMostDescriptionBytes = 64 << 20; // of a description, zipped or not

int Lint(const FileOptions& options) {
    std::size_t errors = 0;
    try {
        errors = ReportLint(options.path, options.json ? ReportForm::Json : ReportForm::Text);
    } catch (const GenICam::GenericException& e) {
        throw Error(options.path + " is no camera description: " + Reason(e));
    }
    if (errors == 0) return kDone;
    throw Error(options.path + " has errors; correct what is said to be one");
}

bool IsZipped(const std::string& path) {
    return ReadPlainFile(path, 2).value_or("") == "PK";
}

void Load(GenApi::CNodeMapRef& map, const std::string& path) {
    const bool isZipped = IsZipped(path);
    try {
        isZipped ? map._LoadXMLFromZIPFile(path.c_str()) : map._LoadXMLFromFile(path.c_str());
    } catch (const GenICam::GenericException& e) {
        throw Error(path + " is no camera description: " + Reason(e));
    }
}

std::vector<std::string> Problems(const GenApi::CNodeMapRef& map) {
    GenICam::gcstring_vector problems;
    if (auto* dyn = dynamic_cast<GenApi::INodeMapDyn*>(map._Ptr)) dyn->GetLoadProblems(problems);
    map._ParseSwissKnifes(&problems);
    std::vector<std::string> texts;
    for (const auto& problem : problems)
        texts.push_back(Text(problem));
    return texts;
}

} // namespace

int Xml(const FileOptions& options) {
    RequirePlainFile(options.path, kMostDescriptionBytes, "name a camera description file");
    if (options.lint) return Lint(options);
    GenApi::CNodeMapRef map;
    Load(map, options.path);
    const std::vector<std::string> problems = Problems(map);
    GenApi::INode* root = map._GetNode("Root");
    TreeOptions tree;
    tree.withCamera = false;
    tree.everything = true; // without a camera nothing is implemented
    if (options.json) {
        PrintJson({{"vendor", Text(map._GetVendorName())},
                   {"model", Text(map._GetModelName())},
                   {"features", root ? TreeJson(*root, tree) : nlohmann::json::array()},
                   {"problems", problems}});
        return 0;
    }
    PrintLine(Text(map._GetVendorName()) + " " + Text(map._GetModelName()));
    if (root) PrintTree(*root, tree);
    for (const std::string& problem : problems)
        PrintLine("problem: " + problem);
    if (!root) throw Error(options.path + " has no category Root, so it offers no features");
    return 0;
}

} // namespace tool
