#include "genapi/formula/FormulaCompiler.h"

#include <algorithm>
#include <cmath>

namespace genapi {

namespace {

// Higher binds tighter. The levels are those of C, with ** above the signs.
constexpr uint8_t kBarrier = 0;
constexpr uint8_t kTernary = 1;
constexpr uint8_t kOr = 2;
constexpr uint8_t kAnd = 3;
constexpr uint8_t kSign = 12;
constexpr uint8_t kPower = 13;

constexpr uint8_t Precedence(Code code) {
    switch (code) {
    case Code::BitOr:
        return 4;
    case Code::BitXor:
        return 5;
    case Code::BitAnd:
        return 6;
    case Code::Equal:
    case Code::NotEqual:
        return 7;
    case Code::Less:
    case Code::LessEqual:
    case Code::Greater:
    case Code::GreaterEqual:
        return 8;
    case Code::ShiftLeft:
    case Code::ShiftRight:
        return 9;
    case Code::Add:
    case Code::Subtract:
        return 10;
    case Code::Power:
        return kPower;
    default:
        return 11; // * / %
    }
}

constexpr uint64_t kMaxStackSize = 16384;
constexpr double kEuler = 2.718281828459045235360287471352662498;
constexpr double kPi = 3.141592653589793238462643383279502884;

struct FunctionRow {
    std::string_view name;
    Code code;
};

constexpr FunctionRow kFunctions[] = {
    {"SGN", Code::Sgn},   {"NEG", Code::Negate},  {"ABS", Code::Abs},   {"SQRT", Code::Sqrt},   {"EXP", Code::Exp},
    {"LN", Code::Ln},     {"LG", Code::Lg},       {"SIN", Code::Sin},   {"COS", Code::Cos},     {"TAN", Code::Tan},
    {"ASIN", Code::Asin}, {"ACOS", Code::Acos},   {"ATAN", Code::Atan}, {"TRUNC", Code::Trunc}, {"FLOOR", Code::Floor},
    {"CEIL", Code::Ceil}, {"ROUND", Code::Round},
};

bool EqualsIgnoringCase(std::string_view text, std::string_view upperCase) {
    return std::equal(text.begin(), text.end(), upperCase.begin(), upperCase.end(),
                      [](char a, char b) { return (a >= 'a' && a <= 'z' ? a - 'a' + 'A' : a) == b; });
}

std::optional<Code> FindFunction(std::string_view name) {
    for (const FunctionRow& row : kFunctions) {
        if (EqualsIgnoringCase(name, row.name)) return row.code;
    }
    return std::nullopt;
}

std::string Quoted(std::string_view word, std::string_view name) {
    return std::string(word) + " '" + std::string(name) + "'";
}

} // namespace

FormulaCompiler::FormulaCompiler(FormulaMode mode, const FormulaNames& names) : m_Names(names), m_Lexer({}, false) {
    m_Formula.m_Mode = mode;
    IndexNames();
}

void FormulaCompiler::IndexNames() {
    m_Declared.reserve(m_Names.variables.size() + m_Names.constants.size() + m_Names.expressions.size());
    uint32_t index = 0;
    for (const auto& variable : m_Names.variables)
        m_Declared.push_back({variable.name, NameKind::Variable, index++});
    index = 0;
    for (const auto& constant : m_Names.constants)
        m_Declared.push_back({constant.name, NameKind::Constant, index++});
    index = 0;
    for (const auto& part : m_Names.expressions)
        m_Declared.push_back({part.name, NameKind::Expression, index++});
    std::stable_sort(m_Declared.begin(), m_Declared.end(),
                     [](const Declared& a, const Declared& b) { return a.name < b.name; });
    m_BlockOf.assign(m_Names.expressions.size(), kNoBlock);
}

const FormulaCompiler::Declared* FormulaCompiler::FindDeclared(std::string_view name) const {
    const auto found = std::lower_bound(m_Declared.begin(), m_Declared.end(), name,
                                        [](const Declared& a, std::string_view b) { return a.name < b; });
    return found != m_Declared.end() && found->name == name ? &*found : nullptr;
}

// X.Entry.Off and X.Enum.Off are the same variable, whichever was declared.
const FormulaCompiler::Declared* FormulaCompiler::FindEntrySpelling(std::string_view name) const {
    const VariableName parsed = ParseVariableName(name);
    if (parsed.suffix != VariableSuffix::Entry) return nullptr;
    for (const char* const middle : {".Entry.", ".Enum."}) {
        const std::string spelling = std::string(parsed.base) + middle + std::string(parsed.entry);
        if (const Declared* found = FindDeclared(spelling)) return found;
    }
    return nullptr;
}

Formula FormulaCompiler::Run(std::string_view text) {
    if (!CompileBlock(text)) return std::move(m_Formula);
    // Expressions found while compiling expressions join the end of the list.
    for (std::size_t block = 0; block < m_Blocks.size(); ++block) {
        m_CurrentBlock = static_cast<uint32_t>(block);
        m_Formula.m_Entries.push_back(static_cast<uint32_t>(m_Formula.m_Code.size()));
        const FormulaNames::Expression& part = m_Names.expressions[m_Blocks[block]];
        if (CompileBlock(part.text)) continue;
        m_Formula.m_Error = Quoted("expression", part.name) + ": " + m_Formula.m_Error;
        return std::move(m_Formula);
    }
    Conclude();
    return std::move(m_Formula);
}

void FormulaCompiler::Conclude() {
    if (HasCycle()) m_Formula.m_Error = "expressions use each other in a circle";
    if (m_StackSize > kMaxStackSize) m_Formula.m_Error = "formula is nested too deeply";
    m_Formula.m_StackSize = static_cast<uint32_t>(std::min(m_StackSize, kMaxStackSize));
    std::vector<uint32_t>& slots = m_Formula.m_Slots;
    std::sort(slots.begin(), slots.end());
    slots.erase(std::unique(slots.begin(), slots.end()), slots.end());
    m_Formula.m_Code.shrink_to_fit();
    m_Formula.m_Constants.shrink_to_fit();
}

bool FormulaCompiler::CompileBlock(std::string_view text) {
    m_Lexer = FormulaLexer(text, m_Formula.m_Mode == FormulaMode::Integer);
    m_Waiting.clear();
    m_ExpectsOperand = true;
    m_Depth = m_BlockDepth = 0;
    m_LastLabel = m_Formula.m_Code.size();
    for (;;) {
        const Token token = m_Lexer.Next();
        if (token.kind == TokenKind::End) return FinishBlock(token);
        if (!Step(token)) return false;
    }
}

bool FormulaCompiler::FinishBlock(const Token& token) {
    if (m_ExpectsOperand) return Fail(token.position, "value expected");
    ReduceToBarrier();
    if (!m_Waiting.empty()) {
        const bool isQuestion = m_Waiting.back().kind == Pending::Question;
        return Fail(m_Waiting.back().position, isQuestion ? "'?' without ':'" : "'(' without ')'");
    }
    const Code last = m_CurrentBlock == kNoBlock ? Code::End : Code::Return;
    m_Formula.m_Code.push_back({last, Operand::None, m_CurrentBlock});
    m_StackSize += m_BlockDepth;
    return true;
}

bool FormulaCompiler::Fail(std::size_t position, std::string_view reason) {
    m_Formula.m_Error = std::string(reason) + " at position " + std::to_string(position + 1);
    return false;
}

bool FormulaCompiler::Step(const Token& token) {
    if (token.kind == TokenKind::Malformed) return Fail(token.position, token.text);
    return m_ExpectsOperand ? TakeOperand(token) : TakeOperator(token);
}

bool FormulaCompiler::TakeOperand(const Token& token) {
    switch (token.kind) {
    case TokenKind::Number:
        EmitConstant(token.number);
        m_ExpectsOperand = false;
        return true;
    case TokenKind::Name:
        return m_Lexer.Peek() == '(' ? TakeFunction(token) : TakeName(token);
    case TokenKind::LeftParenthesis:
        m_Waiting.push_back({Pending::Parenthesis, kBarrier, Code::End, 0, token.position});
        return true;
    case TokenKind::Complement:
    case TokenKind::Not:
        m_Waiting.push_back({Pending::Unary, kSign, token.code, 0, token.position});
        return true;
    case TokenKind::Operator:
        if (token.code == Code::Add) return true;
        if (token.code != Code::Subtract) break;
        m_Waiting.push_back({Pending::Unary, kSign, Code::Negate, 0, token.position});
        return true;
    default:
        break;
    }
    return Fail(token.position, "value expected");
}

bool FormulaCompiler::TakeOperator(const Token& token) {
    switch (token.kind) {
    case TokenKind::Operator:
        TakeBinary(token);
        return true;
    case TokenKind::And:
    case TokenKind::Or:
        return TakeShortCircuit(token);
    case TokenKind::Question:
        TakeQuestion(token);
        return true;
    case TokenKind::Colon:
        return TakeColon(token);
    case TokenKind::Comma:
        return TakeComma(token);
    case TokenKind::RightParenthesis:
        return CloseParenthesis(token);
    default:
        return Fail(token.position, "operator expected");
    }
}

bool FormulaCompiler::TakeName(const Token& token) {
    m_ExpectsOperand = false;
    const Declared* declared = FindDeclared(token.text);
    if (declared == nullptr) declared = FindEntrySpelling(token.text);
    if (declared != nullptr) {
        UseDeclared(*declared);
    } else if (!m_Names.implicitName.empty() && token.text == m_Names.implicitName) {
        EmitLoad(Operand::Variable, m_Names.implicitSlot);
    } else if (token.text == "E") {
        EmitConstant(Value::Real(kEuler));
    } else if (token.text == "PI") {
        EmitConstant(Value::Real(kPi));
    } else {
        return Fail(token.position, Quoted("unknown name", token.text));
    }
    return true;
}

void FormulaCompiler::UseDeclared(const Declared& declared) {
    switch (declared.kind) {
    case NameKind::Variable:
        EmitLoad(Operand::Variable, m_Names.variables[declared.index].slot);
        break;
    case NameKind::Constant:
        EmitConstant(m_Names.constants[declared.index].value);
        break;
    case NameKind::Expression:
        CallExpression(declared.index);
        break;
    }
}

bool FormulaCompiler::TakeFunction(const Token& token) {
    if (EqualsIgnoringCase(token.text, "E")) return TakeConstantCall(token, kEuler);
    if (EqualsIgnoringCase(token.text, "PI")) return TakeConstantCall(token, kPi);
    const std::optional<Code> code = FindFunction(token.text);
    if (!code) return Fail(token.position, Quoted("unknown function", token.text));
    static_cast<void>(m_Lexer.Next()); // the parenthesis that Peek saw
    m_Waiting.push_back({Pending::Function, kBarrier, *code, 1, token.position});
    return true;
}

bool FormulaCompiler::TakeConstantCall(const Token& token, double value) {
    static_cast<void>(m_Lexer.Next());
    if (m_Lexer.Next().kind != TokenKind::RightParenthesis) {
        return Fail(token.position, Quoted("no arguments allowed for", token.text));
    }
    EmitConstant(Value::Real(value));
    m_ExpectsOperand = false;
    return true;
}

void FormulaCompiler::TakeBinary(const Token& token) {
    const uint8_t precedence = Precedence(token.code);
    ReduceWhile(precedence, token.code == Code::Power);
    m_Waiting.push_back({Pending::Binary, precedence, token.code, 0, token.position});
    m_ExpectsOperand = true;
}

bool FormulaCompiler::TakeShortCircuit(const Token& token) {
    const bool isAnd = token.kind == TokenKind::And;
    const uint8_t precedence = isAnd ? kAnd : kOr;
    ReduceWhile(precedence, /*isRightAssociative=*/false);
    const uint32_t jump = EmitJump(token.code);
    m_Waiting.push_back({isAnd ? Pending::And : Pending::Or, precedence, token.code, jump, token.position});
    m_ExpectsOperand = true;
    return true;
}

void FormulaCompiler::TakeQuestion(const Token& token) {
    ReduceWhile(kTernary, /*isRightAssociative=*/true);
    const uint32_t jump = EmitJump(Code::JumpIfFalse);
    m_Waiting.push_back({Pending::Question, kBarrier, Code::JumpIfFalse, jump, token.position});
    m_ExpectsOperand = true;
}

bool FormulaCompiler::TakeColon(const Token& token) {
    ReduceToBarrier();
    if (m_Waiting.empty() || m_Waiting.back().kind != Pending::Question) return Fail(token.position, "':' without '?'");
    const uint32_t jumpToElse = m_Waiting.back().argument;
    m_Waiting.pop_back();
    const uint32_t jumpToEnd = EmitJump(Code::Jump);
    PatchToHere(jumpToElse);
    --m_Depth; // the value of the branch that is jumped over
    m_Waiting.push_back({Pending::Colon, kTernary, Code::Jump, jumpToEnd, token.position});
    m_ExpectsOperand = true;
    return true;
}

bool FormulaCompiler::TakeComma(const Token& token) {
    ReduceToBarrier();
    if (m_Waiting.empty() || m_Waiting.back().kind != Pending::Function) return Fail(token.position, "unexpected ','");
    ++m_Waiting.back().argument;
    m_ExpectsOperand = true;
    return true;
}

bool FormulaCompiler::CloseParenthesis(const Token& token) {
    ReduceToBarrier();
    if (m_Waiting.empty()) return Fail(token.position, "')' without '('");
    const Waiting opened = m_Waiting.back();
    if (opened.kind == Pending::Question) return Fail(opened.position, "'?' without ':'");
    m_Waiting.pop_back();
    return opened.kind == Pending::Function ? EndFunction(opened) : true;
}

bool FormulaCompiler::EndFunction(const Waiting& function) {
    if (function.code == Code::Round && function.argument == 2) {
        EmitBinary(Code::RoundTo);
        return true;
    }
    if (function.argument != 1) return Fail(function.position, "wrong number of arguments");
    m_Formula.m_Code.push_back({function.code, Operand::None, 0});
    return true;
}

void FormulaCompiler::ReduceWhile(uint8_t precedence, bool isRightAssociative) {
    while (!m_Waiting.empty()) {
        const uint8_t top = m_Waiting.back().precedence;
        if (top < precedence || (top == precedence && isRightAssociative)) return;
        Reduce();
    }
}

void FormulaCompiler::ReduceToBarrier() {
    while (!m_Waiting.empty() && m_Waiting.back().precedence != kBarrier)
        Reduce();
}

void FormulaCompiler::Reduce() {
    const Waiting done = m_Waiting.back();
    m_Waiting.pop_back();
    switch (done.kind) {
    case Pending::Binary:
        EmitBinary(done.code);
        break;
    case Pending::Unary:
        m_Formula.m_Code.push_back({done.code, Operand::None, 0});
        break;
    case Pending::And:
    case Pending::Or:
        m_Formula.m_Code.push_back({Code::Truth, Operand::None, 0});
        PatchToHere(done.argument);
        break;
    default:
        PatchToHere(done.argument); // the end of ? :
        break;
    }
}

void FormulaCompiler::Push() {
    m_BlockDepth = std::max(m_BlockDepth, ++m_Depth);
}

void FormulaCompiler::EmitLoad(Operand operand, uint32_t argument) {
    m_Formula.m_Code.push_back({Code::Load, operand, argument});
    if (operand == Operand::Variable) m_Formula.m_Slots.push_back(argument);
    Push();
}

void FormulaCompiler::EmitConstant(Value value) {
    const auto index = static_cast<uint32_t>(m_Formula.m_Constants.size());
    m_Formula.m_Constants.push_back(value);
    EmitLoad(Operand::Constant, index);
}

// A right operand that was just loaded becomes part of the operation, unless a jump ends between the two.
void FormulaCompiler::EmitBinary(Code code) {
    std::vector<Instruction>& program = m_Formula.m_Code;
    --m_Depth;
    if (program.back().code == Code::Load && m_LastLabel < program.size()) {
        program.back().code = code;
        return;
    }
    program.push_back({code, Operand::Stack, 0});
}

uint32_t FormulaCompiler::EmitJump(Code code) {
    m_Formula.m_Code.push_back({code, Operand::None, 0});
    if (code != Code::Jump) --m_Depth;
    return static_cast<uint32_t>(m_Formula.m_Code.size() - 1);
}

void FormulaCompiler::PatchToHere(uint32_t jump) {
    m_LastLabel = m_Formula.m_Code.size();
    m_Formula.m_Code[jump].argument = static_cast<uint32_t>(m_LastLabel);
}

void FormulaCompiler::CallExpression(uint32_t expression) {
    uint32_t& block = m_BlockOf[expression];
    if (block == kNoBlock) {
        block = static_cast<uint32_t>(m_Blocks.size());
        m_Blocks.push_back(expression);
    }
    if (m_CurrentBlock != kNoBlock) m_CallEdges.emplace_back(m_CurrentBlock, block);
    m_Formula.m_Code.push_back({Code::Call, Operand::None, block});
    Push();
}

// Takes away, again and again, sub-formulas that nobody left calls; those in a circle remain.
bool FormulaCompiler::HasCycle() const {
    std::vector<uint32_t> callers(m_Blocks.size(), 0);
    std::vector<std::vector<uint32_t>> callees(m_Blocks.size());
    for (const auto& [caller, callee] : m_CallEdges) {
        callees[caller].push_back(callee);
        ++callers[callee];
    }
    std::vector<uint32_t> free;
    for (uint32_t block = 0; block < callers.size(); ++block) {
        if (callers[block] == 0) free.push_back(block);
    }
    std::size_t taken = 0;
    while (!free.empty()) {
        const uint32_t block = free.back();
        free.pop_back();
        ++taken;
        for (const uint32_t callee : callees[block]) {
            if (--callers[callee] == 0) free.push_back(callee);
        }
    }
    return taken != m_Blocks.size();
}

} // namespace genapi
