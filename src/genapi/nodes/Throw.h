#pragma once
// How nodes throw: one function a kind, so that text and origin look alike everywhere.

#include <string>
#include <string_view>

namespace genapi {

class Node;

// Each names the node and the operation ("GetValue") in the text of what().
[[noreturn]] void ThrowAccess(const Node& node, const char* operation, std::string_view text);
[[noreturn]] void ThrowOutOfRange(const Node& node, const char* operation, std::string_view text);
[[noreturn]] void ThrowInvalidArgument(const Node& node, const char* operation, std::string_view text);
[[noreturn]] void ThrowRuntime(const Node& node, const char* operation, std::string_view text);
[[noreturn]] void ThrowLogicalError(const Node& node, const char* operation, std::string_view text);
[[noreturn]] void ThrowProperty(const Node& node, const char* operation, std::string_view text);

// For what concerns no node.
[[noreturn]] void ThrowRuntime(std::string_view text);
[[noreturn]] void ThrowLogicalError(std::string_view text);
[[noreturn]] void ThrowProperty(std::string_view text);

} // namespace genapi
