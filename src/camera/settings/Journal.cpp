#include "camera/settings/Journal.h"

#include "camera/Failure.h"

#include <GenApi/GenApi.h>

#include <algorithm>

namespace Tavix::detail {
namespace {

constexpr char kLoadUserSet[] = "UserSetLoad";
constexpr char kUserSet[] = "UserSetSelector";

void Write(GenApi::INodeMap& nodes, const std::string& feature, const std::string& value) {
    Attempt(("Setting " + feature + " to " + value + " again").c_str(), [&] {
        GenApi::INode* node = nodes.GetNode(feature.c_str());
        if (auto* command = dynamic_cast<GenApi::ICommand*>(node)) {
            command->Execute();
        } else if (auto* setting = dynamic_cast<GenApi::IValue*>(node)) {
            setting->FromString(value.c_str());
        }
    });
}

} // namespace

Journal::Selection Journal::SelectionOf(GenApi::INode& node) {
    Selection selection;
    auto* selector = dynamic_cast<GenApi::ISelector*>(&node);
    if (!selector) return selection;
    GenApi::FeatureList_t selecting;
    selector->GetSelectingFeatures(selecting);
    for (GenApi::IValue* value : selecting)
        selection.emplace_back(Text(value->GetNode()->GetName()), Text(value->ToString()));
    return selection;
}

void Journal::Note(GenApi::INode& node, const std::string& value) {
    Entry entry{Text(node.GetName()), value, {}};
    const bool isCommand = node.GetPrincipalInterfaceType() == GenApi::intfICommand;
    if (isCommand && entry.feature != kLoadUserSet) return;
    Attempt("Asking for selectors", [&] { entry.selection = SelectionOf(node); });
    const MutexLock guard(m_Mutex);
    m_Entries.erase(std::remove_if(m_Entries.begin(), m_Entries.end(),
                                   [&](const Entry& old) {
                                       return (isCommand && old.feature != kUserSet) ||
                                              (old.feature == entry.feature && old.selection == entry.selection);
                                   }),
                    m_Entries.end());
    m_Entries.push_back(std::move(entry));
}

std::vector<Journal::Entry> Journal::Entries() const {
    const MutexLock guard(m_Mutex);
    return m_Entries;
}

void Journal::Replay(GenApi::INodeMap& nodes) const {
    const std::vector<Entry> entries = Entries();
    std::map<std::string, std::string> selected; // by the replay, and perhaps not as the application left it
    for (const Entry& entry : entries) {
        for (const auto& [selector, value] : entry.selection) {
            Write(nodes, selector, value);
            selected[selector] = value;
        }
        Write(nodes, entry.feature, entry.value);
    }
    for (const Entry& entry : entries) {
        if (selected.count(entry.feature) > 0) Write(nodes, entry.feature, entry.value);
    }
}

} // namespace Tavix::detail
