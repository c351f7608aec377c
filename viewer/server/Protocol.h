#pragma once
// What browser and server say to each other. Pure: text in, a request or a reason out.
//
// Both ends send JSON. A request is {"id": 7, "do": "set", ...}; its answer {"re": 7, ...} or {"re": 7, "error":
// "..."}. What nobody asked for is {"event": "values", ...}. Images are binary messages:
//
//     4 bytes   length of the header, little-endian
//     header    JSON
//     rest      a JPEG file, or samples line by line
//
// viewer/page/protocol.js holds the same table, and a test compares them.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

namespace viewer {

using Json = nlohmann::json;

enum class FieldType { Text, Number, Flag, Texts, Numbers, Object };

struct Field {
    const char* name;
    FieldType type;
    bool isOptional = false;
};

struct Command {
    const char* name;
    bool steers; ///< only who steers may do it
    std::vector<Field> fields;
};

const std::vector<Command>& Commands();

/// All limits that a request has to keep; the socket refuses longer messages itself.
inline constexpr std::size_t kLongestRequest = std::size_t{256} * 1024;
inline constexpr std::size_t kLongestText = std::size_t{200} * 1024;
inline constexpr std::size_t kMostItems = 2000;
inline constexpr int kDeepest = 8;

/// A request whose fields are all there and of their types. Re-entrant.
struct Request {
    const Command* command = nullptr;
    std::uint64_t id = 0;
    Json fields;

    std::string Text(const char* name) const { return fields.value(name, std::string()); }
    double Number(const char* name, double otherwise = 0) const { return fields.value(name, otherwise); }
    /// A number of pixels, a count: 0 for what is below, and for what is no number.
    std::uint32_t Count(const char* name) const;
    bool Flag(const char* name) const { return fields.value(name, false); }
    std::vector<std::string> Texts(const char* name) const;
};

/// Nothing, and a sentence in `why`, for what is no request. `id` is that of the request as far as it could be read.
std::optional<Request> ParseRequest(std::string_view text, std::uint64_t& id, std::string& why);

/// The table as JSON, as protocol.js has it.
Json DescribeCommands();

/// An image message.
std::string EncodeImage(const Json& header, const void* data, std::size_t size);

/// Text of a message. Bytes of a camera's string that are no UTF-8 are replaced.
std::string Dump(const Json& json);

} // namespace viewer
