#pragma once
// How nodes throw: one function a kind, so that text and origin look alike everywhere.

#include <string>
#include <string_view>

namespace genapi {

class Node;

/// Where a call stands in the source; the default argument of the functions below fills it in.
struct Origin {
    const char* file;
    unsigned line;
    static constexpr Origin Here(const char* file = __builtin_FILE(), unsigned line = __builtin_LINE()) {
        return {file, line};
    }
};

/// Each names the node and the operation ("GetValue") in the text of what().
[[noreturn]] void ThrowAccess(const Node& node, const char* operation, std::string_view text,
                              Origin origin = Origin::Here());
[[noreturn]] void ThrowOutOfRange(const Node& node, const char* operation, std::string_view text,
                                  Origin origin = Origin::Here());
[[noreturn]] void ThrowInvalidArgument(const Node& node, const char* operation, std::string_view text,
                                       Origin origin = Origin::Here());
[[noreturn]] void ThrowRuntime(const Node& node, const char* operation, std::string_view text,
                               Origin origin = Origin::Here());
[[noreturn]] void ThrowLogicalError(const Node& node, const char* operation, std::string_view text,
                                    Origin origin = Origin::Here());
[[noreturn]] void ThrowProperty(const Node& node, const char* operation, std::string_view text,
                                Origin origin = Origin::Here());

/// For what concerns no node.
[[noreturn]] void ThrowRuntime(std::string_view text, Origin origin = Origin::Here());
[[noreturn]] void ThrowLogicalError(std::string_view text, Origin origin = Origin::Here());
[[noreturn]] void ThrowProperty(std::string_view text, Origin origin = Origin::Here());

} // namespace genapi
