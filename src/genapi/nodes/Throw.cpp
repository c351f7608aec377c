#include "genapi/nodes/Throw.h"

#include "genapi/nodes/Node.h"

#include <Base/GCException.h>

namespace genapi {

namespace {

constexpr const char* kFile = "GenApi";

template<class Exception>
[[noreturn]] void Throw(const Node& node, const char* operation, std::string_view text) {
    throw Exception(std::string(text).c_str(), kFile, __LINE__, std::string(node.Name()).c_str(),
                    (std::string(operation) + "()").c_str());
}

} // namespace

void ThrowAccess(const Node& node, const char* operation, std::string_view text) {
    Throw<GenICam::AccessException>(node, operation, text);
}

void ThrowOutOfRange(const Node& node, const char* operation, std::string_view text) {
    Throw<GenICam::OutOfRangeException>(node, operation, text);
}

void ThrowInvalidArgument(const Node& node, const char* operation, std::string_view text) {
    Throw<GenICam::InvalidArgumentException>(node, operation, text);
}

void ThrowRuntime(const Node& node, const char* operation, std::string_view text) {
    Throw<GenICam::RuntimeException>(node, operation, text);
}

void ThrowLogicalError(const Node& node, const char* operation, std::string_view text) {
    Throw<GenICam::LogicalErrorException>(node, operation, text);
}

void ThrowProperty(const Node& node, const char* operation, std::string_view text) {
    Throw<GenICam::PropertyException>(node, operation, text);
}

void ThrowRuntime(std::string_view text) {
    throw GenICam::RuntimeException(std::string(text).c_str(), kFile, __LINE__);
}

void ThrowLogicalError(std::string_view text) {
    throw GenICam::LogicalErrorException(std::string(text).c_str(), kFile, __LINE__);
}

void ThrowProperty(std::string_view text) {
    throw GenICam::PropertyException(std::string(text).c_str(), kFile, __LINE__);
}

} // namespace genapi
