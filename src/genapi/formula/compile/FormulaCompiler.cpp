#include "genapi/formula/compile/FormulaCompiler.h"

#include <optional>

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

std::string Quoted(std::string_view word, std::string_view name) {
    return std::string(word) + " '" + std::string(name) + "'";
}

} // namespace

FormulaCompiler::FormulaCompiler(FormulaMode mode, const FormulaNames& names)
    : m_Names(names), m_Table(names), m_Lexer({}, false), m_BlockOf(names.expressions.size(), kNoBlock) {
    m_Formula.m_Mode = mode;
}

Formula FormulaCompiler::Run(std::string_view text) {
    if (!CompileBlock(text)) return std::move(m_Formula);
    // Expressions found while compiling expressions join the end of the list.
    for (std::size_t block = 0; block < m_Blocks.size(); ++block) {
        m_CurrentBlock = static_cast<uint32_t>(block);
        m_Formula.m_Entries.push_back(m_Emitter.Here());
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
    if (m_Emitter.StackSize() > kMaxStackSize) m_Formula.m_Error = "formula is nested too deeply";
    if (!m_Formula.m_Error.empty()) return;
    m_Formula.m_StackSize = static_cast<uint32_t>(m_Emitter.StackSize());
    m_Formula.m_Code = m_Emitter.TakeCode();
    m_Formula.m_Constants = m_Emitter.TakeConstants();
    m_Formula.m_Slots = m_Emitter.TakeSlots();
}

bool FormulaCompiler::CompileBlock(std::string_view text) {
    m_Lexer = FormulaLexer(text, m_Formula.m_Mode == FormulaMode::Integer);
    m_Waiting.clear();
    m_ExpectsOperand = true;
    m_Emitter.BeginBlock();
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
    m_Emitter.EndBlock(m_CurrentBlock == kNoBlock ? Code::End : Code::Return, m_CurrentBlock);
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
        m_Emitter.Constant(token.number);
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
    if (const DeclaredName* const declared = m_Table.Find(token.text)) {
        UseDeclared(*declared);
    } else if (!m_Names.implicitName.empty() && token.text == m_Names.implicitName) {
        m_Emitter.Variable(m_Names.implicitSlot);
    } else if (const std::optional<double> constant = FindConstant(token.text)) {
        m_Emitter.Constant(Value::Real(*constant));
    } else {
        return Fail(token.position, Quoted("unknown name", token.text));
    }
    return true;
}

void FormulaCompiler::UseDeclared(const DeclaredName& declared) {
    switch (declared.kind) {
    case NameKind::Variable:
        m_Emitter.Variable(m_Names.variables[declared.index].slot);
        break;
    case NameKind::Constant:
        m_Emitter.Constant(m_Names.constants[declared.index].value);
        break;
    case NameKind::Expression:
        CallExpression(declared.index);
        break;
    }
}

bool FormulaCompiler::TakeFunction(const Token& token) {
    if (const std::optional<double> constant = FindConstantCall(token.text)) return TakeConstantCall(token, *constant);
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
    m_Emitter.Constant(Value::Real(value));
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
    const uint32_t jump = m_Emitter.Jump(token.code);
    m_Waiting.push_back({isAnd ? Pending::And : Pending::Or, precedence, token.code, jump, token.position});
    m_ExpectsOperand = true;
    return true;
}

void FormulaCompiler::TakeQuestion(const Token& token) {
    ReduceWhile(kTernary, /*isRightAssociative=*/true);
    const uint32_t jump = m_Emitter.Jump(Code::JumpIfFalse);
    m_Waiting.push_back({Pending::Question, kBarrier, Code::JumpIfFalse, jump, token.position});
    m_ExpectsOperand = true;
}

bool FormulaCompiler::TakeColon(const Token& token) {
    ReduceToBarrier();
    if (m_Waiting.empty() || m_Waiting.back().kind != Pending::Question) return Fail(token.position, "':' without '?'");
    const uint32_t jumpToElse = m_Waiting.back().argument;
    m_Waiting.pop_back();
    const uint32_t jumpToEnd = m_Emitter.Jump(Code::Jump);
    m_Emitter.PatchToHere(jumpToElse);
    m_Emitter.ForgetBranch();
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
        m_Emitter.Binary(Code::RoundTo);
        return true;
    }
    if (function.argument != 1) return Fail(function.position, "wrong number of arguments");
    m_Emitter.Unary(function.code);
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
        m_Emitter.Binary(done.code);
        break;
    case Pending::Unary:
        m_Emitter.Unary(done.code);
        break;
    case Pending::And:
    case Pending::Or:
        m_Emitter.Unary(Code::Truth);
        m_Emitter.PatchToHere(done.argument);
        break;
    default:
        m_Emitter.PatchToHere(done.argument); // the end of ? :
        break;
    }
}

void FormulaCompiler::CallExpression(uint32_t expression) {
    uint32_t& block = m_BlockOf[expression];
    if (block == kNoBlock) {
        block = static_cast<uint32_t>(m_Blocks.size());
        m_Blocks.push_back(expression);
    }
    if (m_CurrentBlock != kNoBlock) m_CallEdges.emplace_back(m_CurrentBlock, block);
    m_Emitter.Call(block);
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
