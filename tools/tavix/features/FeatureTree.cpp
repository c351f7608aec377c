#include "features/FeatureTree.h"

#include "descriptions/XmlAccess.h"
#include "features/FeatureText.h"
#include "output/Table.h"
#include "output/Text.h"

#include <algorithm>
#include <cctype>
#include <set>
#include <utility>

namespace tool {
namespace {

constexpr std::size_t kDeepest = 16; // a category that names itself must not be walked for ever
constexpr std::size_t kWidestColumn = 44;

std::string Lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

bool NameHolds(GenApi::INode& node, const std::string& part) {
    return Lower(Text(node.GetName())).find(Lower(part)) != std::string::npos;
}

/// Walks the categories below Root. Visitors get what is wanted: categories before their features. Bound to a thread.
class Walker {
public:
    explicit Walker(const TreeOptions& options) : m_Options(options) {}
    virtual ~Walker() = default;

    void Walk(GenApi::INode& category, std::size_t depth, bool isWanted) {
        auto* features = dynamic_cast<GenApi::ICategory*>(&category);
        if (!features || depth > kDeepest) return;
        GenApi::FeatureList_t list;
        features->GetFeatures(list);
        for (GenApi::IValue* value : list) {
            GenApi::INode* node = value ? value->GetNode() : nullptr;
            if (node) Visit(category, *node, depth, isWanted || m_Options.part.empty());
        }
    }

protected:
    virtual void OnCategory(GenApi::INode& category, std::size_t depth) = 0;
    virtual void OnFeature(GenApi::INode& category, GenApi::INode& feature, std::size_t depth) = 0;
    const TreeOptions& m_Options;

private:
    void Visit(GenApi::INode& category, GenApi::INode& node, std::size_t depth, bool isWanted) {
        const bool isNamed = isWanted || NameHolds(node, m_Options.part);
        if (dynamic_cast<GenApi::ICategory*>(&node)) {
            if (isNamed) OnCategory(node, depth);
            Walk(node, depth + 1, isNamed);
        } else if (isNamed && IsShown(node)) {
            OnFeature(category, node, depth);
        }
    }

    bool IsShown(GenApi::INode& node) const {
        if (m_Options.everything) return true;
        return node.GetVisibility() != GenApi::Invisible && std::string(AccessName(node)) != "NI";
    }
};

/// Bound to a thread.
class TablePrinter final : public Walker {
public:
    explicit TablePrinter(const TreeOptions& options) : Walker(options), m_Table({}, kWidestColumn) {}
    TreeReport Print() {
        m_Table.Print();
        m_Report.isEmpty = m_Table.IsEmpty();
        return m_Report;
    }

private:
    static std::string Indented(GenApi::INode& node, std::size_t depth) {
        return std::string(2 * depth, ' ') + Text(node.GetName());
    }
    void OnCategory(GenApi::INode& category, std::size_t depth) override { m_Table.Add({Indented(category, depth)}); }
    void OnFeature(GenApi::INode&, GenApi::INode& feature, std::size_t depth) override {
        if (m_Options.withCamera) {
            const bool isWritable = std::string(AccessName(feature)).find('W') != std::string::npos;
            m_Table.Add({Indented(feature, depth), TypeName(feature), AccessName(feature), ValueWithUnit(feature),
                         isWritable ? LimitText(feature) : std::string()});
        } else {
            m_Table.Add({Indented(feature, depth), TypeName(feature), DeclaredAccess(feature), UnitText(feature),
                         DeclaredText(feature)});
        }
    }
    std::string ValueWithUnit(GenApi::INode& feature) {
        std::string failure;
        const std::string value = ValueText(feature, &failure), unit = UnitText(feature);
        if (!failure.empty() && m_Report.failures++ == 0) m_Report.firstFailure = failure;
        return unit.empty() || value.empty() || value.front() == '(' ? value : value + " " + unit;
    }

    Table m_Table;
    TreeReport m_Report;
};

/// Bound to a thread.
class JsonCollector final : public Walker {
public:
    explicit JsonCollector(const TreeOptions& options) : Walker(options) {}
    nlohmann::json Result() const { return m_Json; }

private:
    void OnCategory(GenApi::INode&, std::size_t) override {}
    void OnFeature(GenApi::INode& category, GenApi::INode& feature, std::size_t) override {
        nlohmann::json out = FeatureJson(feature);
        out["category"] = Text(category.GetName());
        if (!m_Options.withCamera) {
            out["access"] = DeclaredAccess(feature);
            out["limits"] = DeclaredText(feature);
        }
        m_Json.push_back(std::move(out));
    }

    nlohmann::json m_Json = nlohmann::json::array();
};

/// Bound to a thread.
class NameCollector final : public Walker {
public:
    explicit NameCollector(const TreeOptions& options) : Walker(options) {}
    std::vector<std::string> Take() { return std::move(m_Names); }

private:
    void OnCategory(GenApi::INode&, std::size_t) override {}
    void OnFeature(GenApi::INode&, GenApi::INode& feature, std::size_t) override {
        const std::string name = Text(feature.GetName());
        if (m_Known.insert(name).second) m_Names.push_back(name);
    }

    std::vector<std::string> m_Names;
    std::set<std::string> m_Known;
};

} // namespace

TreeReport PrintTree(GenApi::INode& root, const TreeOptions& options) {
    TablePrinter printer(options);
    printer.Walk(root, 0, false);
    return printer.Print();
}

nlohmann::json TreeJson(GenApi::INode& root, const TreeOptions& options) {
    JsonCollector collector(options);
    collector.Walk(root, 0, false);
    return collector.Result();
}

std::vector<std::string> FeatureNames(GenApi::INode& root, const TreeOptions& options) {
    NameCollector collector(options);
    collector.Walk(root, 0, false);
    return collector.Take();
}

} // namespace tool
