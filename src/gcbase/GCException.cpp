#include "Base/GCException.h"

#include "core/Format.h"

namespace GenICam {
namespace {

std::string OrEmpty(const char* text) {
    return text != nullptr ? text : "";
}

} // namespace

struct GenericException::Texts {
    std::string description;
    std::string sourceFileName;
    unsigned int sourceLine;
    std::string what;

    Texts(const char* theDescription, const char* file, unsigned int line)
        : description(OrEmpty(theDescription)), sourceFileName(OrEmpty(file)), sourceLine(line) {}

    // The part of what() between "thrown" and the place: `where` is empty, or " in node ...".
    void Compose(const char* type, const std::string& where) {
        what = description + " : " + OrEmpty(type) + " thrown" + where + " (file '" + sourceFileName + "', line " +
               std::to_string(sourceLine) + ")";
    }
};

GenericException::GenericException(const char* description, const char* sourceFileName, unsigned int sourceLine,
                                   const char* exceptionType) {
    const auto texts = std::make_shared<Texts>(description, sourceFileName, sourceLine);
    texts->Compose(exceptionType, "");
    m_Texts = texts;
}

GenericException::GenericException(const char* description, const char* sourceFileName, unsigned int sourceLine,
                                   const char* nodeName, const char* methodName, const char* exceptionType) {
    const auto texts = std::make_shared<Texts>(description, sourceFileName, sourceLine);
    const std::string node = OrEmpty(nodeName);
    texts->Compose(exceptionType, " in node '" + node + "' while calling '" + node + "." + OrEmpty(methodName) + "'");
    m_Texts = texts;
}

GenericException::GenericException(const GenericException&) noexcept = default;
GenericException& GenericException::operator=(const GenericException&) noexcept = default;
GenericException::~GenericException() = default;

const char* GenericException::GetDescription() const noexcept {
    return m_Texts->description.c_str();
}

const char* GenericException::GetSourceFileName() const noexcept {
    return m_Texts->sourceFileName.c_str();
}

unsigned int GenericException::GetSourceLine() const noexcept {
    return m_Texts->sourceLine;
}

const char* GenericException::what() const noexcept {
    return m_Texts->what.c_str();
}

std::string FormatDescription(const char* format, va_list arguments) {
    return Tavix::FormatV(format, arguments);
}

} // namespace GenICam
