#pragma once
// Where a number comes from: held in the node, in another node, or chosen among several by an index.

#include "genapi/description/Lexical.h"
#include "genapi/nodes/base/Node.h"
#include "genapi/nodes/host/Operation.h"

#include <Base/GCException.h>

#include <vector>

namespace genapi {

/// Number is int64_t or double. Links are constant after Bind, held numbers guarded by the map's lock. thread-safe
/// through that lock
template<class Number>
class ValueSource {
public:
    void Bind(const BoundProperty& property) {
        const std::string_view text = property.record.value;
        switch (property.record.id) {
        case PropertyId::Value:
            m_Held.number = Parse(text);
            m_IsHeld = true;
            break;
        case PropertyId::pValue:
            m_pValue = property.pTarget;
            m_Written.push_back(property.pTarget);
            break;
        case PropertyId::pValueCopy:
            m_Written.push_back(property.pTarget);
            m_HasCopies = true;
            break;
        case PropertyId::pIndex:
            m_pIndex = property.pTarget;
            break;
        case PropertyId::ValueIndexed:
        case PropertyId::pValueIndexed:
            m_Slots.push_back({Slot{property.pTarget, property.pTarget ? Number() : Parse(text)},
                               ParseInteger(property.record.attribute).value_or(0)});
            break;
        case PropertyId::ValueDefault:
        case PropertyId::pValueDefault:
            m_Default = Slot{property.pTarget, property.pTarget ? Number() : Parse(text)};
            break;
        default:
            break;
        }
    }

    bool IsComplete() const { return m_pValue || m_pIndex || m_IsHeld; }

    /// The node that gives the value at this moment; null when it is held here.
    Node* Target() { return Select().pTarget; }
    /// The same for explanations: null also when the index cannot be read.
    Node* TargetIfKnown() {
        try {
            return Target();
        } catch (const GenICam::GenericException&) {
            return nullptr;
        }
    }
    /// The node that the description names as pValue; null without one.
    Node* FixedTarget() const { return m_pValue; }

    Number Read(ReadFlags flags) {
        const Slot& slot = Select();
        return slot.pTarget ? ReadFrom(*slot.pTarget, flags) : slot.number;
    }

    void Write(Node& owner, Number value, bool verify) {
        WriteOperation::NotePassed(owner.Host(), owner.Index());
        if (m_pValue) {
            for (Node* const pTarget : m_Written)
                WriteTo(*pTarget, value, verify);
            return;
        }
        Slot& slot = Select();
        if (slot.pTarget) return WriteTo(*slot.pTarget, value, verify);
        slot.number = value;
        WriteOperation::NoteTerminal(owner.Host(), owner.Index());
    }

    GenApi::EAccessMode Access() {
        if (m_pValue) return m_HasCopies ? AccessOfAll() : m_pValue->Access();
        if (!m_pIndex) return GenApi::RW;
        if (!GenApi::IsReadable(m_pIndex->Access())) return GenApi::NA;
        try {
            const Slot& slot = Select();
            return slot.pTarget ? slot.pTarget->Access() : GenApi::RW;
        } catch (const GenICam::GenericException&) {
            return GenApi::NA; // the index cannot be read
        }
    }

private:
    struct Slot {
        Node* pTarget = nullptr; ///< null: the number is held here
        Number number = Number();
    };
    struct IndexedSlot {
        Slot slot;
        int64_t index;
    };

    static Number Parse(std::string_view text);
    static Number ReadFrom(Node& node, ReadFlags flags);
    static void WriteTo(Node& node, Number value, bool verify);

    Slot& Select() {
        if (m_pValue) {
            m_Held.pTarget = m_pValue;
            return m_Held;
        }
        if (!m_pIndex) return m_Held;
        const int64_t index = m_pIndex->ReadInteger({});
        for (IndexedSlot& candidate : m_Slots) {
            if (candidate.index == index) return candidate.slot;
        }
        return m_Default;
    }

    GenApi::EAccessMode AccessOfAll() {
        GenApi::EAccessMode mode = m_pValue->Access();
        for (Node* const pTarget : m_Written) {
            if (!GenApi::IsWritable(pTarget->Access())) mode = GenApi::Combine(mode, GenApi::RO);
        }
        return mode;
    }

    Slot m_Held;
    Slot m_Default;
    Node* m_pValue = nullptr;
    Node* m_pIndex = nullptr;
    std::vector<Node*> m_Written; ///< pValue and its copies in document order
    std::vector<IndexedSlot> m_Slots;
    bool m_IsHeld = false;
    bool m_HasCopies = false;
};

template<>
inline int64_t ValueSource<int64_t>::Parse(std::string_view text) {
    return ParseInteger(text).value_or(0);
}
template<>
inline double ValueSource<double>::Parse(std::string_view text) {
    return ParseFloat(text).value_or(0.0);
}
template<>
inline int64_t ValueSource<int64_t>::ReadFrom(Node& node, ReadFlags flags) {
    return node.ReadInteger(flags);
}
template<>
inline double ValueSource<double>::ReadFrom(Node& node, ReadFlags flags) {
    return node.ReadReal(flags);
}
template<>
inline void ValueSource<int64_t>::WriteTo(Node& node, int64_t value, bool verify) {
    node.WriteInteger(value, verify);
}
template<>
inline void ValueSource<double>::WriteTo(Node& node, double value, bool verify) {
    node.WriteReal(value, verify);
}

} // namespace genapi
