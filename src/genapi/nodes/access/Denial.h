#pragma once
// Why a node may not be read or written.

#include <cstdint>

namespace genapi {

class Node;

enum class Permission : uint8_t { Read, Write };

/// Follows what takes the permission away, each node once. Null when it is no fault of a description. Lock held.
Node* FindFaulty(Node& start, Permission permission);

/// Of a node whose access lacks the permission. Throws in the name of the operation: RuntimeException or
/// PropertyException when a description is at fault, of the node itself or of one that it needs; else AccessException.
[[noreturn]] void ThrowDenied(Node& node, const char* operation, Permission permission);

} // namespace genapi
