#include "genapi/nodes/register/StringNodes.h"

#include "genapi/nodes/base/Throw.h"

#include <algorithm>
#include <limits>

namespace genapi {

std::string_view FitText(Node& node, std::string_view text, int64_t maxLength, bool verify) {
    if (text.size() <= static_cast<uint64_t>(maxLength)) return text;
    if (verify) {
        ThrowOutOfRange(node, "SetValue",
                        "A text of " + std::to_string(text.size()) + " characters exceeds the maximum of " +
                            std::to_string(maxLength) + ".");
    }
    return text.substr(0, static_cast<std::size_t>(maxLength));
}

void StringNode::Bind(const BoundProperty& property) {
    if (property.record.id == PropertyId::Value) {
        m_Held = property.record.value;
        m_IsHeld = true;
    }
    if (property.record.id == PropertyId::pValue) m_pValue = property.pTarget;
    StringFace::Bind(property);
}

void StringNode::DoWriteText(std::string_view text, bool verify) {
    text = FitText(*this, text, DoMaxTextLength(), verify);
    WriteOperation::NotePassed(Host(), Index());
    if (m_pValue) return m_pValue->WriteText(text, verify);
    m_Held = text;
    WriteOperation::NoteTerminal(Host(), Index());
}

int64_t StringNode::DoMaxTextLength() {
    return m_pValue ? m_pValue->MaxTextLength() : std::numeric_limits<int64_t>::max();
}

std::string StringRegNode::DoReadText(ReadFlags flags) {
    const int64_t length = Length();
    const uint8_t* const pBytes = Fetch(length, flags.ignoreCache);
    return std::string(pBytes, std::find(pBytes, pBytes + length, 0));
}

void StringRegNode::DoWriteText(std::string_view text, bool verify) {
    const int64_t length = Length();
    text = FitText(*this, text, length, verify);
    std::vector<uint8_t> bytes(static_cast<std::size_t>(length), 0);
    std::copy(text.begin(), text.end(), bytes.begin());
    Store(bytes.data(), length);
}

} // namespace genapi
