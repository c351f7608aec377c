#include "Commands.h"
#include "Error.h"
#include "FeatureTree.h"
#include "Json.h"
#include "LintReport.h"
#include "Status.h"
#include "Text.h"

#include <cstdio>
#include <fstream>

#include <GenApi/GenApi.h>

namespace tool {
namespace {

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
    std::ifstream file(path, std::ios::binary);
    if (!file) throw Error("cannot read " + path + "; name a camera description file");
    char head[2] = {};
    file.read(head, sizeof head);
    return file.gcount() == 2 && head[0] == 'P' && head[1] == 'K';
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
    std::printf("%s %s\n", Printable(Text(map._GetVendorName())).c_str(), Printable(Text(map._GetModelName())).c_str());
    if (root) PrintTree(*root, tree);
    for (const std::string& problem : problems)
        std::printf("problem: %s\n", Printable(problem).c_str());
    if (!root) throw Error(options.path + " has no category Root, so it offers no features");
    return 0;
}

} // namespace tool
