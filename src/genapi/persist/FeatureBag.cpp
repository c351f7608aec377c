#include "genapi/persist/MapHold.h"
#include "genapi/persist/SelectorWalk.h"

#include <Base/GCException.h>
#include <GenApi/Persistence.h>
#include <GenApi/Pointer.h>

#include <algorithm>
#include <istream>
#include <ostream>

namespace GenApi {

namespace {

// A value may hold line ends; a line may not.
std::string Escape(const std::string& text) {
    std::string escaped;
    for (const char character : text) {
        switch (character) {
        case '\n':
            escaped += "\\n";
            break;
        case '\r':
            escaped += "\\r";
            break;
        case '\\':
            escaped += "\\\\";
            break;
        default:
            escaped += character;
            break;
        }
    }
    return escaped;
}

std::string Unescape(const std::string& text) {
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isEscape = text[i] == '\\' && i + 1 < text.size();
        if (!isEscape) {
            plain += text[i];
            continue;
        }
        const char next = text[++i];
        plain += next == 'n' ? '\n' : next == 'r' ? '\r' : next;
    }
    return plain;
}

void AddError(GenICam::gcstring_vector* pErrors, const GenICam::gcstring& name, const char* text) {
    if (pErrors) pErrors->push_back(name + ": " + text);
}

// A selector and what it was set to before.
struct Selected {
    IValue* pSelector;
    GenICam::gcstring text;
};

void Remember(std::vector<Selected>& selected, const std::vector<IValue*>& selectors) {
    for (IValue* const pSelector : selectors) {
        const auto isSame = [pSelector](const Selected& other) { return other.pSelector == pSelector; };
        if (std::any_of(selected.begin(), selected.end(), isSame) || !IsReadable(pSelector)) continue;
        selected.push_back({pSelector, pSelector->ToString()});
    }
}

void StoreFeature(CFeatureBag& bag, IValue& value, const std::vector<IValue*>& selectors) {
    genapi::WalkSelectors(selectors, [&] {
        if (!IsReadable(&value) || !IsWritable(&value)) return;
        for (IValue* const pSelector : selectors) {
            if (IsReadable(pSelector) && IsWritable(pSelector)) bag.PersistFeature(*pSelector);
        }
        bag.PersistFeature(value);
    });
}

// Runs a step for a feature; a failure ends in the list. True when there was none.
template<class Step>
bool Try(INode& node, GenICam::gcstring_vector* pErrors, Step step) {
    try {
        step();
        return true;
    } catch (const GenICam::GenericException& exception) {
        AddError(pErrors, node.GetName(), exception.GetDescription());
        return false;
    }
}

} // namespace

void CFeatureBag::SetInfo(const GenICam::gcstring& Info) {
    m_Info = Info.str();
}

void CFeatureBag::PersistFeature(IValue& Value) {
    m_Lines.push_back({Value.GetNode()->GetName().str(), Value.ToString().str()});
}

bool CFeatureBag::StoreToBag(INodeMap* pNodeMap, int MaxNumEntries, GenICam::gcstring_vector* pErrors) {
    if (!pNodeMap) throw INVALID_ARGUMENT_EXCEPTION("The node map is null.");
    genapi::MapHold hold(*pNodeMap);
    m_Lines.clear();
    bool isComplete = true;
    std::vector<Selected> selected;
    NodeList_t nodes;
    pNodeMap->GetNodes(nodes);
    for (INode* const pNode : nodes) {
        CValuePtr pValue(pNode);
        if (!pValue.IsValid() || !pNode->IsStreamable()) continue;
        isComplete &= Try(*pNode, pErrors, [&] {
            const std::vector<IValue*> selectors = genapi::SelectorsOf(*pValue);
            Remember(selected, selectors);
            StoreFeature(*this, *pValue, selectors);
        });
    }
    for (const Selected& before : selected) {
        isComplete &= Try(*before.pSelector->GetNode(), pErrors, [&] {
            if (!IsWritable(before.pSelector)) return;
            before.pSelector->FromString(before.text);
            PersistFeature(*before.pSelector); // loading leaves the selectors as they were, too
        });
    }
    if (MaxNumEntries >= 0 && m_Lines.size() > static_cast<std::size_t>(MaxNumEntries)) {
        m_Lines.resize(static_cast<std::size_t>(MaxNumEntries));
    }
    hold.Finish();
    return isComplete;
}

bool CFeatureBag::LoadFromBag(INodeMap* pNodeMap, bool Verify, GenICam::gcstring_vector* pErrors) {
    if (!pNodeMap) throw INVALID_ARGUMENT_EXCEPTION("The node map is null.");
    genapi::MapHold hold(*pNodeMap);
    bool hasFailed = false;
    for (const Line& line : m_Lines) {
        try {
            CValuePtr pValue(pNodeMap->GetNode(line.Name));
            if (!pValue.IsValid()) throw RUNTIME_EXCEPTION("There is no such feature.");
            pValue->FromString(line.Value, Verify);
        } catch (const GenICam::GenericException& exception) {
            AddError(pErrors, line.Name, exception.GetDescription());
            hasFailed = true;
        }
    }
    hold.Finish();
    return !(Verify && hasFailed);
}

std::ostream& operator<<(std::ostream& stream, const CFeatureBag& bag) {
    if (!bag.m_Info.empty()) stream << "# " << Escape(bag.m_Info) << '\n';
    for (const CFeatureBag::Line& line : bag.m_Lines)
        stream << line.Name << '\t' << Escape(line.Value) << '\n';
    return stream;
}

std::istream& operator>>(std::istream& stream, CFeatureBag& bag) {
    bag.m_Lines.clear();
    bag.m_Info.clear();
    std::string text;
    while (std::getline(stream, text)) {
        if (!text.empty() && text.back() == '\r') text.pop_back();
        const std::size_t tab = text.find('\t');
        if (text.empty() || text[0] == '#' || tab == std::string::npos) continue;
        bag.m_Lines.push_back({text.substr(0, tab), Unescape(text.substr(tab + 1))});
    }
    if (stream.eof()) stream.clear(std::ios::eofbit); // the end of the text is no failure
    return stream;
}

} // namespace GenApi
