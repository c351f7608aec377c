#include "layers/LayerCheck.h"

#include "layers/IncludeScanner.h"

#include <algorithm>
#include <fstream>
#include <set>

namespace layers {
namespace fs = std::filesystem;
namespace {

bool IsSource(const fs::path& path) {
    static const std::set<std::string> kExtensions = {".h", ".hpp", ".cpp", ".cc", ".inl", ".inc", ".in"};
    return kExtensions.count(path.extension().string()) != 0;
}

void CollectSources(const fs::path& root, const fs::path& folder, std::set<std::string>& sources) {
    if (!fs::is_directory(root / folder)) {
        if (fs::is_regular_file(root / folder)) sources.insert(folder.generic_string());
        return;
    }
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root / folder)) {
        if (entry.is_regular_file() && IsSource(entry.path()))
            sources.insert(entry.path().lexically_relative(root).generic_string());
    }
}

// A check of one file after the other, which gathers the faults.
// re-entrant
class Checker {
public:
    Checker(const LayerTable& table, const fs::path& root) : m_Table(table), m_Root(root) {}

    std::vector<std::string> Run() {
        std::set<std::string> sources;
        for (const char* folder : {"include", "src"})
            CollectSources(m_Root, folder, sources);
        for (const Layer& layer : m_Table.GetLayers()) {
            for (const std::string& folder : layer.folders) {
                if (!fs::exists(m_Root / folder)) Report(folder, 0, "is in the table, but not there");
                CollectSources(m_Root, folder, sources);
            }
        }
        for (const std::string& path : sources)
            CheckFile(path);
        return m_Faults;
    }

private:
    void CheckFile(const std::string& path) {
        const Layer* owner = m_Table.FindByPath(path);
        if (owner == nullptr) return Report(path, 0, "belongs to no library of the table");
        std::ifstream source(m_Root / path);
        for (const Include& include : ScanIncludes(source))
            CheckInclude(path, *owner, include);
    }

    void CheckInclude(const std::string& path, const Layer& owner, const Include& include) {
        if (include.kind == Include::kNeither)
            return Report(path, include.line, "cannot tell what '" + include.text + "' includes");
        const std::string target = LibraryOf(path, include);
        if (target == "?") return Report(path, include.line, "nobody has '" + include.text + "'");
        if (!target.empty() && !MayInclude(owner, target))
            Report(path, include.line, owner.name + " may not include '" + include.text + "' of " + target);
    }

    std::string LibraryOf(const std::string& path, const Include& include) const {
        if (include.kind == Include::kQuoted) {
            if (const Layer* neighbour = FindNeighbour(path, include.text)) return neighbour->name;
        }
        if (const Layer* layer = m_Table.FindByIncludeName(include.text)) return layer->name;
        return OutsideLibraryOf(include.text);
    }

    // Who has the header that lies at this name beside the file or above it, as far up as the file's library reaches.
    const Layer* FindNeighbour(const std::string& path, const std::string& name) const {
        const Layer* owner = m_Table.FindByPath(path);
        fs::path folder = fs::path(path).parent_path();
        for (; m_Table.FindByPath(folder.generic_string()) == owner; folder = folder.parent_path()) {
            const fs::path candidate = (folder / name).lexically_normal();
            if (fs::exists(m_Root / candidate)) return m_Table.FindByPath(candidate.generic_string());
        }
        return nullptr;
    }

    void Report(const std::string& path, unsigned int line, const std::string& what) {
        m_Faults.push_back(path + ":" + std::to_string(line) + ": " + what);
    }

    const LayerTable& m_Table;
    const fs::path m_Root;
    std::vector<std::string> m_Faults;
};

} // namespace

std::vector<std::string> CheckTree(const LayerTable& table, const fs::path& root) {
    return Checker(table, root).Run();
}

} // namespace layers
