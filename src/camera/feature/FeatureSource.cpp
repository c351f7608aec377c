#include "camera/feature/FeatureSource.h"

#include "camera/Failure.h"
#include "core/Printable.h"

#include <GenApi/GenApi.h>

#include <algorithm>
#include <cctype>
#include <utility>

namespace Tavix::detail {
namespace {

/// Without what people write differently: exposure_time for ExposureTime.
std::string Plain(std::string text) {
    text.erase(std::remove(text.begin(), text.end(), '_'), text.end());
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

/// How many letters must be changed, added, left out or swapped with their neighbour to make one text of the other.
std::size_t Distance(const std::string& a, const std::string& b) {
    std::vector<std::size_t> beforeLast, last, row(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j)
        row[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        beforeLast = std::exchange(last, row);
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            row[j] = std::min({last[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1), row[j - 1] + 1, last[j] + 1});
            const bool isSwapped = i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1];
            if (isSwapped) row[j] = std::min(row[j], beforeLast[j - 2] + 1);
        }
    }
    return row[b.size()];
}

/// The lower, the likelier, 0 for one that differs in case alone; a name that holds the wanted one is nearer than its
/// length tells. One that is much longer or shorter is not looked at letter by letter.
std::size_t Unlikeness(const std::string& wanted, const std::string& candidate, std::size_t limit) {
    if (candidate == wanted) return 0;
    const bool holds = candidate.find(wanted) != std::string::npos ||
                       (candidate.size() > 3 && wanted.find(candidate) != std::string::npos);
    if (holds) return 1;
    const std::size_t longer = std::max(wanted.size(), candidate.size());
    const std::size_t shorter = std::min(wanted.size(), candidate.size());
    return longer - shorter > limit ? limit + 1 : Distance(wanted, candidate);
}

std::vector<std::string> FeatureNames(const GenApi::INodeMap& nodes) {
    GenApi::NodeList_t list;
    nodes.GetNodes(list);
    std::vector<std::string> names;
    for (const GenApi::INode* node : list) {
        if (node->IsFeature()) names.push_back(Text(node->GetName()));
    }
    return names;
}

} // namespace

std::vector<std::string> NearestNames(const std::string& name, const std::vector<std::string>& names,
                                      std::size_t count) {
    const std::string wanted = Plain(name);
    const std::size_t limit = std::max<std::size_t>(1, wanted.size() / 3);
    std::vector<std::pair<std::size_t, std::string>> near;
    for (const std::string& candidate : names) {
        const std::size_t unlikeness = wanted.empty() ? limit + 1 : Unlikeness(wanted, Plain(candidate), limit);
        if (unlikeness <= limit) near.emplace_back(unlikeness, candidate);
    }
    std::stable_sort(near.begin(), near.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<std::string> nearest;
    const bool isCertain = !near.empty() && near.front().first == 0;
    for (std::size_t i = 0; i < near.size() && i < (isCertain ? 1 : count); ++i)
        nearest.push_back(near[i].second);
    return nearest;
}

Feature FeatureSource::Find(const std::string& name) {
    const std::shared_ptr<OpenDevice> device = Hold();
    if (dynamic_cast<GenApi::IValue*>(device->Nodes().GetNode(GenICam::gcstring(name)))) return Make(name);
    const std::vector<std::string> near = NearestNames(name, FeatureNames(device->Nodes()));
    std::string text = device->Name() + " has no feature '" + Printable(name) + "'";
    for (std::size_t i = 0; i < near.size(); ++i)
        text += (i == 0 ? "; did you mean " : i + 1 < near.size() ? ", " : " or ") + near[i];
    throw NotFound(text + (near.empty() ? "" : "?"), name, near);
}

} // namespace Tavix::detail
