#include "output/Values.h"

#include "features/FeatureText.h"
#include "output/Text.h"

namespace tool {

NamedValue ReadValue(GenApi::INode& node) {
    const nlohmann::json json = FeatureJson(node);
    return {Text(node.GetName()), ValueText(node), json.contains("value") ? json["value"] : nlohmann::json()};
}

std::string ValuesText(const std::vector<NamedValue>& values) {
    std::string text;
    for (const NamedValue& value : values)
        text += (text.empty() ? "" : " ") + value.name + "=" + value.text;
    return text;
}

nlohmann::json ValuesJson(const std::vector<NamedValue>& values) {
    nlohmann::json json = nlohmann::json::object();
    for (const NamedValue& value : values)
        json[value.name] = value.value;
    return json;
}

} // namespace tool
