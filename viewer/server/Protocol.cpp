#include "viewer/server/Protocol.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace viewer {
namespace {

constexpr FieldType T = FieldType::Text, N = FieldType::Number, F = FieldType::Flag;
constexpr double kMostPixels = 1U << 20;

const char* NameOf(FieldType type) {
    switch (type) {
    case FieldType::Text:
        return "text";
    case FieldType::Number:
        return "number";
    case FieldType::Flag:
        return "flag";
    case FieldType::Texts:
        return "texts";
    case FieldType::Numbers:
        return "numbers";
    default:
        return "object";
    }
}

bool IsText(const Json& value) {
    return value.is_string() && value.get_ref<const std::string&>().size() <= kLongestText;
}

template<class Test>
bool IsArrayOf(const Json& value, Test test) {
    return value.is_array() && value.size() <= kMostItems && std::all_of(value.begin(), value.end(), test);
}

bool Fits(const Json& value, FieldType type) {
    const auto isNumber = [](const Json& item) { return item.is_number() && std::isfinite(item.get<double>()); };
    switch (type) {
    case FieldType::Text:
        return IsText(value);
    case FieldType::Number:
        return isNumber(value);
    case FieldType::Flag:
        return value.is_boolean();
    case FieldType::Texts:
        return IsArrayOf(value, IsText);
    case FieldType::Numbers:
        return IsArrayOf(value, isNumber);
    default:
        return value.is_object();
    }
}

const Command* FindCommand(const std::string& name) {
    const auto found =
        std::find_if(Commands().begin(), Commands().end(), [&](const Command& c) { return name == c.name; });
    return found == Commands().end() ? nullptr : &*found;
}

/// What is wrong with the fields; empty when nothing is.
std::string Complaint(const Command& command, const Json& fields) {
    for (const Field& field : command.fields) {
        const auto found = fields.find(field.name);
        if (found == fields.end()) {
            if (!field.isOptional) return std::string("'") + command.name + "' needs '" + field.name + "'";
        } else if (!Fits(*found, field.type)) {
            return std::string("'") + field.name + "' of '" + command.name + "' is no " + NameOf(field.type);
        }
    }
    const std::size_t known = std::count_if(command.fields.begin(), command.fields.end(),
                                            [&](const Field& field) { return fields.contains(field.name); });
    return fields.size() == known + 2 ? "" : std::string("'") + command.name + "' has a field too many";
}

/// JSON that is not nested deeper than anything that is ever asked; a parser's memory is the stack's no longer then.
Json ParseShallow(std::string_view text) {
    const auto isShallow = [](int depth, Json::parse_event_t, Json&) {
        if (depth > kDeepest) throw std::length_error("too deep");
        return true;
    };
    try {
        return Json::parse(text.begin(), text.end(), isShallow, /*allow_exceptions=*/false);
    } catch (const std::length_error&) {
        return Json(Json::value_t::discarded);
    }
}

} // namespace

const std::vector<Command>& Commands() {
    static const std::vector<Command> commands = {
        {"take", false, {}},
        {"invite", true, {}},
        {"open", true, {{"camera", T}}},
        {"close", true, {{"camera", T}}},
        {"features", false, {{"camera", T}}},
        {"watch", false, {{"camera", T}, {"names", FieldType::Texts}}},
        {"set", true, {{"camera", T}, {"name", T}, {"value", T}, {"nearest", F, true}}},
        {"execute", true, {{"camera", T}, {"name", T}}},
        {"start", true, {{"camera", T}}},
        {"stop", true, {{"camera", T}}},
        {"single", true, {{"camera", T}}},
        {"trigger", true, {{"camera", T}}},
        {"region", true, {{"camera", T}, {"x", N}, {"y", N}, {"width", N}, {"height", N}}},
        {"view",
         false,
         {{"camera", T},
          {"x", N},
          {"y", N},
          {"width", N},
          {"height", N},
          {"columns", N},
          {"rows", N},
          {"kind", T},
          {"colour", F},
          {"marks", F},
          {"black", N},
          {"white", N},
          {"details", F},
          {"profile", FieldType::Numbers, true}}},
        {"unview", false, {{"camera", T}}},
        {"shown", false, {{"camera", T}, {"number", N}}},
        {"record", true, {{"camera", T}, {"name", T}, {"format", T}, {"count", N}}},
        {"endRecord", true, {{"camera", T}}},
        {"events", true, {{"camera", T}, {"on", F}}},
        {"settings", false, {{"camera", T}}},
        {"apply", true, {{"camera", T}, {"text", T}}},
        {"compare", false, {{"camera", T}, {"text", T}}},
        {"doctor", true, {}},
        {"faults", false, {}},
        {"virtual", true, {{"request", FieldType::Object}}},
    };
    return commands;
}

std::uint32_t Request::Count(const char* name) const {
    const double number = Number(name);
    return number > 0 ? static_cast<std::uint32_t>(std::min(number, kMostPixels)) : 0;
}

std::vector<std::string> Request::Texts(const char* name) const {
    return fields.value(name, std::vector<std::string>());
}

std::optional<Request> ParseRequest(std::string_view text, std::uint64_t& id, std::string& why) {
    id = 0;
    why = "this is no request";
    if (text.size() > kLongestRequest) return std::nullopt;
    Json json = ParseShallow(text);
    if (!json.is_object()) return std::nullopt;
    const auto number = json.find("id"), name = json.find("do");
    if (number == json.end() || !number->is_number_unsigned()) return std::nullopt;
    id = number->get<std::uint64_t>();
    if (name == json.end() || !name->is_string()) return std::nullopt;
    const Command* const command = FindCommand(name->get<std::string>());
    why = command ? Complaint(*command, json) : "there is no such command";
    if (!command || !why.empty()) return std::nullopt;
    return Request{command, id, std::move(json)};
}

Json DescribeCommands() {
    Json all = Json::object();
    for (const Command& command : Commands()) {
        Json fields = Json::object();
        for (const Field& field : command.fields)
            fields[field.name] = std::string(NameOf(field.type)) + (field.isOptional ? "?" : "");
        all[command.name] = {{"steers", command.steers}, {"fields", fields}};
    }
    return all;
}

std::string EncodeImage(const Json& header, const void* data, std::size_t size) {
    const std::string text = Dump(header);
    std::string message(4 + text.size() + size, '\0');
    for (unsigned i = 0; i < 4; ++i)
        message[i] = static_cast<char>(text.size() >> (8 * i) & 0xFF);
    std::memcpy(&message[4], text.data(), text.size());
    if (size > 0) std::memcpy(&message[4 + text.size()], data, size);
    return message;
}

std::string Dump(const Json& json) {
    return json.dump(-1, ' ', /*ensure_ascii=*/false, Json::error_handler_t::replace);
}

} // namespace viewer
