#include "genapi/nodes/base/Throw.h"

#include "genapi/description/Shown.h"
#include "genapi/nodes/base/Node.h"

#include <Base/GCException.h>

namespace genapi {

namespace {

template<class Exception>
[[noreturn]] void Throw(const Node& node, const char* operation, std::string_view text, Origin origin) {
    throw Exception(Shown(text).c_str(), GenICam::SourceFileBaseName(origin.file), origin.line,
                    Shown(node.Name()).c_str(), (std::string(operation) + "()").c_str());
}

} // namespace

void ThrowAccess(const Node& node, const char* operation, std::string_view text, Origin origin) {
    Throw<GenICam::AccessException>(node, operation, text, origin);
}

void ThrowOutOfRange(const Node& node, const char* operation, std::string_view text, Origin origin) {
    Throw<GenICam::OutOfRangeException>(node, operation, text, origin);
}

void ThrowInvalidArgument(const Node& node, const char* operation, std::string_view text, Origin origin) {
    Throw<GenICam::InvalidArgumentException>(node, operation, text, origin);
}

void ThrowRuntime(const Node& node, const char* operation, std::string_view text, Origin origin) {
    Throw<GenICam::RuntimeException>(node, operation, text, origin);
}

void ThrowLogicalError(const Node& node, const char* operation, std::string_view text, Origin origin) {
    Throw<GenICam::LogicalErrorException>(node, operation, text, origin);
}

void ThrowProperty(const Node& node, const char* operation, std::string_view text, Origin origin) {
    Throw<GenICam::PropertyException>(node, operation, text, origin);
}

void ThrowRuntime(std::string_view text, Origin origin) {
    throw GenICam::RuntimeException(Shown(text).c_str(), GenICam::SourceFileBaseName(origin.file), origin.line);
}

void ThrowLogicalError(std::string_view text, Origin origin) {
    throw GenICam::LogicalErrorException(Shown(text).c_str(), GenICam::SourceFileBaseName(origin.file), origin.line);
}

void ThrowProperty(std::string_view text, Origin origin) {
    throw GenICam::PropertyException(Shown(text).c_str(), GenICam::SourceFileBaseName(origin.file), origin.line);
}

} // namespace genapi
