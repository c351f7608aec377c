#include "genapi/formula/compile/FormulaEmitter.h"

#include <algorithm>

namespace genapi {

void FormulaEmitter::BeginBlock() {
    m_Depth = m_BlockDepth = 0;
    m_LastLabel = m_Code.size();
}

void FormulaEmitter::EndBlock(Code last, uint32_t argument) {
    m_Code.push_back({last, Operand::None, argument});
    m_StackSize += m_BlockDepth;
}

void FormulaEmitter::Push() {
    m_BlockDepth = std::max(m_BlockDepth, ++m_Depth);
}

void FormulaEmitter::Load(Operand operand, uint32_t argument) {
    m_Code.push_back({Code::Load, operand, argument});
    Push();
}

void FormulaEmitter::Constant(Value value) {
    m_Constants.push_back(value);
    Load(Operand::Constant, static_cast<uint32_t>(m_Constants.size() - 1));
}

void FormulaEmitter::Variable(uint32_t slot) {
    m_Slots.push_back(slot);
    Load(Operand::Variable, slot);
}

void FormulaEmitter::Call(uint32_t block) {
    m_Code.push_back({Code::Call, Operand::None, block});
    Push();
}

// A right operand that was just loaded becomes part of the operation, unless a jump ends between the two.
void FormulaEmitter::Binary(Code code) {
    --m_Depth;
    if (m_Code.back().code == Code::Load && m_LastLabel < m_Code.size()) {
        m_Code.back().code = code;
        return;
    }
    m_Code.push_back({code, Operand::Stack, 0});
}

uint32_t FormulaEmitter::Jump(Code code) {
    m_Code.push_back({code, Operand::None, 0});
    if (code != Code::Jump) --m_Depth;
    return Here() - 1;
}

void FormulaEmitter::PatchToHere(uint32_t jump) {
    m_LastLabel = m_Code.size();
    m_Code[jump].argument = Here();
}

std::vector<Instruction> FormulaEmitter::TakeCode() {
    m_Code.shrink_to_fit();
    return std::move(m_Code);
}

std::vector<Value> FormulaEmitter::TakeConstants() {
    m_Constants.shrink_to_fit();
    return std::move(m_Constants);
}

std::vector<uint32_t> FormulaEmitter::TakeSlots() {
    std::sort(m_Slots.begin(), m_Slots.end());
    m_Slots.erase(std::unique(m_Slots.begin(), m_Slots.end()), m_Slots.end());
    m_Slots.shrink_to_fit();
    return std::move(m_Slots);
}

} // namespace genapi
