#include "output/Values.h"

namespace tool {

std::string ValuesText(const Values& values) {
    std::string text;
    for (const auto& [name, value] : values)
        text += (text.empty() ? "" : " ") + name + "=" + value.Text();
    return text;
}

nlohmann::json ValuesJson(const Values& values) {
    nlohmann::json json = nlohmann::json::object();
    for (const auto& [name, value] : values)
        json[name] = std::visit([](const auto& plain) { return nlohmann::json(plain); }, value.Get());
    return json;
}

} // namespace tool
