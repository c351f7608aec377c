#include "genapi/lint/Grammar.h"

#include <map>
#include <string>

namespace genapi {

namespace {

// Names of one slot are parted by bars; one that came with schema 1.1 bears an at sign. What follows the names is the
// number of times: once, ? at most once, * any number, + at least once. The names of blocks stand in braces.
struct Block {
    std::string_view name;
    std::string_view text;
};

constexpr Block kBlocks[] = {
    {"Texts", "Extension? ToolTip? Description? DisplayName? Visibility? @DocuURL? @IsDeprecated? EventID? "
              "pIsImplemented? pIsAvailable? pIsLocked? @pBlockPolling? ImposedAccessMode? @pError* pAlias? "
              "@pCastAlias?"},
    {"Common", "{Texts} @pInvalidator*"},
    {"Place", "{Texts} Streamable? Address|IntSwissKnife|pAddress|pIndex+"},
    {"Rest", "AccessMode pPort Cachable? PollingTime? pInvalidator*"},
    {"Register", "{Place} Length|pLength {Rest}"},
    {"Source", "Streamable? Value|pValue|@pValueCopy* @pIndex? @ValueIndexed|@pValueIndexed* "
               "@ValueDefault|@pValueDefault?"},
    {"Names", "Streamable? pVariable* @Constant* @Expression*"},
    {"Display", "@DisplayNotation? @DisplayPrecision?"},
    {"Bits", "Bit|LSB MSB?"},
};

constexpr Block kKinds[] = {
    {"Node", "{Common}"},
    {"Category", "{Common} pFeature*"},
    {"Integer", "{Common} {Source} Min|pMin? Max|pMax? Inc|pInc? @Unit? Representation? @ValidValueSet? pSelected*"},
    {"IntReg", "{Register} Sign? Endianess? @Unit? Representation? pSelected*"},
    {"MaskedIntReg", "{Place} Length {Rest} {Bits} Sign? Endianess? @Unit? Representation? pSelected*"},
    {"StructReg", "{Register} Endianess? StructEntry+"},
    {"StructEntry", "Extension? ToolTip? @Description? DisplayName? Visibility? @DocuURL? @IsDeprecated? @EventID? "
                    "pIsImplemented? pIsAvailable? pIsLocked? @pBlockPolling? @ImposedAccessMode? @pError* @pAlias? "
                    "@pCastAlias? pInvalidator* AccessMode? Cachable? PollingTime? Streamable? {Bits} Sign? @Unit? "
                    "@Representation? pSelected*"},
    {"Boolean", "{Common} Streamable? Value|pValue OnValue? OffValue? @pSelected*"},
    {"Command", "{Common} Value|pValue CommandValue|pCommandValue PollingTime?"},
    {"Float", "{Common} {Source} Min|pMin? Max|pMax? @Inc|@pInc? Unit? Representation? {Display}"},
    {"FloatReg", "{Register} Endianess? Unit? Representation? {Display}"},
    {"String", "{Common} Streamable? Value|pValue"},
    {"StringReg", "{Register}"},
    {"Register", "{Register}"},
    {"Converter", "{Common} {Names} FormulaTo FormulaFrom pValue Unit? Representation? {Display} Slope? @IsLinear?"},
    {"IntConverter", "{Common} {Names} FormulaTo FormulaFrom pValue Unit? Representation? Slope?"},
    {"SwissKnife", "{Common} {Names} Formula @Unit? Representation? {Display}"},
    {"IntSwissKnife", "{Common} {Names} Formula @Unit? Representation?"},
    {"Enumeration", "{Common} Streamable? EnumEntry|pEnumEntry+ Value|pValue pSelected* @PollingTime?"},
    {"EnumEntry", "{Common} Value @NumericValue? Symbolic? @IsSelfClearing?"},
    {"Port", "{Common} ChunkID|pChunkID? SwapEndianess? @CacheChunkData?"},
    {"ConfRom", "{Common} Unit Address|IntSwissKnife|pAddress+ Length pPort TextDesc|IntKey*"},
    {"TextDesc", "p1212Parser Key"},
    {"IntKey", "p1212Parser Key"},
    {"AdvFeatureLock", "{Register} FeatureID Timeout?"},
    {"DcamLock", "{Register} FeatureID Timeout?"},
    {"SmartFeature", "FeatureID Address|IntSwissKnife|pAddress+ pPort pIsImplemented? pIsAvailable?"},
};

std::string_view TakeWord(std::string_view& text, char separator) {
    const std::size_t end = text.find(separator);
    const std::string_view word = text.substr(0, end);
    text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
    return word;
}

GrammarSlot MakeSlot(std::string_view word) {
    GrammarSlot slot;
    const char times = word.back();
    slot.isRequired = times != '?' && times != '*';
    slot.isList = times == '*' || times == '+';
    if (times == '?' || times == '*' || times == '+') word.remove_suffix(1);
    slot.spelling = word;
    while (!word.empty()) {
        std::string_view name = TakeWord(word, '|');
        const bool isNewer = name.front() == '@';
        if (isNewer) name.remove_prefix(1);
        slot.names.push_back({name, isNewer});
    }
    return slot;
}

// Blocks may hold blocks: three levels at most, all of them in the table above.
void Append(Grammar& grammar, std::string_view text) {
    while (!text.empty()) {
        const std::string_view word = TakeWord(text, ' ');
        if (word.front() != '{') {
            grammar.push_back(MakeSlot(word));
            continue;
        }
        for (const Block& block : kBlocks) {
            if (block.name == word.substr(1, word.size() - 2)) Append(grammar, block.text);
        }
    }
}

std::map<std::string_view, Grammar> MakeGrammars() {
    std::map<std::string_view, Grammar> grammars;
    for (const Block& kind : kKinds)
        Append(grammars[kind.name], kind.text);
    return grammars;
}

} // namespace

const Grammar* FindGrammar(std::string_view kind) {
    static const std::map<std::string_view, Grammar> grammars = MakeGrammars();
    const auto found = grammars.find(kind);
    return found == grammars.end() ? nullptr : &found->second;
}

int FindSlot(const Grammar& grammar, std::string_view element, bool& isNewer) {
    for (std::size_t i = 0; i < grammar.size(); ++i) {
        for (const GrammarSlot::Name& name : grammar[i].names) {
            if (name.text != element) continue;
            isNewer = name.isNewer;
            return static_cast<int>(i);
        }
    }
    return -1;
}

bool IsNewerKind(std::string_view kind) {
    return kind == "String";
}

} // namespace genapi
