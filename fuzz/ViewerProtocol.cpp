// What a browser, or somebody who passes for one, sends to the viewer: headers and requests.

#include "viewer/server/Gate.h"
#include "viewer/server/Protocol.h"

#include <string>

namespace {

void Require(bool condition) {
    if (!condition) __builtin_trap();
}

void Enter(const std::string& text) {
    static const viewer::Gate gate(/*others=*/true);
    const std::string name = viewer::HostName(text);
    Require(name.find_first_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ") == std::string::npos);
    Require(!gate.IsOriginAllowed(text, "localhost:1") || text == "http://localhost:1");
    Require(!gate.IsKey(viewer::CookieOf(text, "tavix-1")));
    Require(!gate.IsKey(viewer::TokenOf(text)));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    Enter(text);
    std::uint64_t id = 0;
    std::string why;
    const auto request = viewer::ParseRequest(text, id, why);
    Require(request.has_value() == why.empty());
    if (!request) return 0;
    Require(id == request->id);
    for (const viewer::Field& field : request->command->fields) {
        if (field.type == viewer::FieldType::Text) (void)request->Text(field.name);
        if (field.type == viewer::FieldType::Flag) (void)request->Flag(field.name);
        if (field.type == viewer::FieldType::Texts) Require(request->Texts(field.name).size() <= viewer::kMostItems);
        if (field.type == viewer::FieldType::Number) Require(request->Count(field.name) <= 1U << 20);
    }
    (void)viewer::Dump(request->fields);
    return 0;
}
