#include "genapi/persist/SelectorWalk.h"

#include <Base/GCException.h>
#include <GenApi/Pointer.h>

#include <algorithm>

namespace genapi {

namespace {

constexpr std::size_t kMaxValues = 256;        // of one selector
constexpr std::size_t kMaxCombinations = 4096; // of one feature

std::vector<std::string> IntegerValues(GenApi::IInteger& integer) {
    std::vector<std::string> values;
    const int64_t min = integer.GetMin();
    const int64_t max = integer.GetMax();
    const uint64_t inc = static_cast<uint64_t>(std::max<int64_t>(integer.GetInc(), 1));
    const uint64_t span = static_cast<uint64_t>(max) - static_cast<uint64_t>(min);
    if (max < min || span / inc >= kMaxValues) return values;
    for (uint64_t step = 0; step <= span / inc; ++step) {
        values.push_back(std::to_string(static_cast<int64_t>(static_cast<uint64_t>(min) + step * inc)));
    }
    return values;
}

bool Select(const std::vector<GenApi::IValue*>& selectors, const std::vector<std::vector<std::string>>& values,
            std::size_t combination) {
    std::vector<std::size_t> digits(selectors.size());
    for (std::size_t i = selectors.size(); i-- > 0;) {
        digits[i] = combination % values[i].size();
        combination /= values[i].size();
    }
    try {
        for (std::size_t i = 0; i < selectors.size(); ++i) {
            const GenICam::gcstring text = values[i][digits[i]];
            if (selectors[i]->ToString() != text) selectors[i]->FromString(text);
        }
        return true;
    } catch (const GenICam::GenericException&) {
        return false; // this combination does not exist
    }
}

} // namespace

std::vector<GenApi::IValue*> SelectorsOf(GenApi::IValue& value) {
    std::vector<GenApi::IValue*> found;
    std::vector<GenApi::IValue*> queue{&value};
    for (std::size_t head = 0; head < queue.size(); ++head) {
        GenApi::ISelector* const pSelector = dynamic_cast<GenApi::ISelector*>(queue[head]);
        GenApi::FeatureList_t selecting;
        if (pSelector) pSelector->GetSelectingFeatures(selecting);
        for (GenApi::IValue* const pValue : selecting) {
            if (std::find(queue.begin(), queue.end(), pValue) != queue.end()) continue;
            queue.push_back(pValue);
            found.insert(found.begin(), pValue);
        }
    }
    return found;
}

std::vector<std::string> ValuesOf(GenApi::IValue& selector) {
    std::vector<std::string> values;
    if (!GenApi::IsWritable(&selector) || !GenApi::IsReadable(&selector)) return values;
    if (auto* const pEnumeration = dynamic_cast<GenApi::IEnumeration*>(&selector)) {
        GenApi::StringList_t symbolics;
        pEnumeration->GetSymbolics(symbolics);
        for (const GenICam::gcstring& symbolic : symbolics)
            values.push_back(symbolic.str());
    } else if (auto* const pInteger = dynamic_cast<GenApi::IInteger*>(&selector)) {
        values = IntegerValues(*pInteger);
    } else if (dynamic_cast<GenApi::IBoolean*>(&selector)) {
        values = {"0", "1"};
    }
    if (values.size() > kMaxValues) values.clear();
    return values;
}

void WalkSelectors(const std::vector<GenApi::IValue*>& selectors, const std::function<void()>& visit) {
    std::vector<GenApi::IValue*> moved;
    std::vector<std::vector<std::string>> values;
    std::size_t combinations = 1;
    for (GenApi::IValue* const pSelector : selectors) {
        std::vector<std::string> texts = ValuesOf(*pSelector);
        if (texts.empty()) continue; // it stays as it is
        combinations *= texts.size();
        if (combinations > kMaxCombinations) return visit();
        moved.push_back(pSelector);
        values.push_back(std::move(texts));
    }
    for (std::size_t combination = 0; combination < combinations; ++combination) {
        if (Select(moved, values, combination)) visit();
    }
}

} // namespace genapi
