// Asks libaravis the same as our engine was asked, whose answers come on standard input, line by line of name, kind and
// value, and judges the differences.
//
//   their_features FILE MEMORY < list
#include "Memory.h"

#include <arv.h>

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

// --- a device that is nothing but memory

struct MemoryDevice {
    ArvDevice parent;
};
struct MemoryDeviceClass {
    ArvDeviceClass parent;
};
G_DEFINE_TYPE(MemoryDevice, memory_device, ARV_TYPE_DEVICE)

namespace {

Memory g_Memory = Memory::Zeros;
std::string g_Xml;
ArvGc* g_Engine = nullptr;

gboolean Read(ArvDevice*, guint64 address, guint32 size, void* buffer, GError**) {
    ReadMemory(g_Memory, address, buffer, size);
    return TRUE;
}

gboolean ReadRegister(ArvDevice* device, guint64 address, guint32* value, GError** error) {
    return Read(device, address, sizeof *value, value, error);
}

gboolean Write(ArvDevice*, guint64, guint32, void*, GError**) {
    return TRUE;
}

const char* Xml(ArvDevice*, size_t* size) {
    *size = g_Xml.size();
    return g_Xml.c_str();
}

ArvGc* Engine(ArvDevice*) {
    return g_Engine;
}

} // namespace

static void memory_device_init(MemoryDevice*) {}

static void memory_device_class_init(MemoryDeviceClass* type) {
    type->parent.read_memory = Read;
    type->parent.write_memory = Write;
    type->parent.read_register = ReadRegister;
    type->parent.get_genicam_xml = Xml;
    type->parent.get_genicam = Engine;
}

// --- the list

namespace {

std::string Text(gint64 value) {
    return std::to_string(value);
}

std::string Text(double value) {
    char text[64];
    std::snprintf(text, sizeof text, "%.9g", value);
    return text;
}

std::string Text(const char* value) {
    return value != nullptr ? value : "";
}

template<class Node, class Getter>
std::string Ask(Node* node, Getter getter) {
    GError* error = nullptr;
    const auto value = getter(node, &error);
    if (error == nullptr) return Text(value);
    g_error_free(error);
    return "!";
}

std::string AskFlag(ArvGcFeatureNode* node, gboolean (*getter)(ArvGcFeatureNode*, GError**)) {
    GError* error = nullptr;
    const gboolean value = getter(node, &error);
    if (error == nullptr) return value != FALSE ? "1" : "0";
    g_error_free(error);
    return "!";
}

/// "?" where this engine has no such thing to tell.
std::string Answer(ArvGcNode* node, const std::string& kind, bool isFloat) {
    if (node == nullptr || !ARV_IS_GC_FEATURE_NODE(node)) return "?";
    if (kind == "available") return AskFlag(ARV_GC_FEATURE_NODE(node), arv_gc_feature_node_is_available);
    if (kind == "implemented") return AskFlag(ARV_GC_FEATURE_NODE(node), arv_gc_feature_node_is_implemented);
    if (kind == "enumeration" && ARV_IS_GC_ENUMERATION(node))
        return Ask(ARV_GC_ENUMERATION(node), arv_gc_enumeration_get_string_value);
    if (kind == "boolean" && ARV_IS_GC_BOOLEAN(node)) {
        GError* error = nullptr;
        const gboolean value = arv_gc_boolean_get_value(ARV_GC_BOOLEAN(node), &error);
        if (error == nullptr) return value != FALSE ? "1" : "0";
        g_error_free(error);
        return "!";
    }
    if (kind == "string" && ARV_IS_GC_STRING(node)) return Ask(ARV_GC_STRING(node), arv_gc_string_get_value);
    if (isFloat && ARV_IS_GC_FLOAT(node)) {
        if (kind == "float") return Ask(ARV_GC_FLOAT(node), arv_gc_float_get_value);
        return Ask(ARV_GC_FLOAT(node), kind == "min" ? arv_gc_float_get_min : arv_gc_float_get_max);
    }
    if (!isFloat && ARV_IS_GC_INTEGER(node) && !ARV_IS_GC_ENUMERATION(node)) {
        if (kind == "integer") return Ask(ARV_GC_INTEGER(node), arv_gc_integer_get_value);
        if (kind == "min") return Ask(ARV_GC_INTEGER(node), arv_gc_integer_get_min);
        if (kind == "max") return Ask(ARV_GC_INTEGER(node), arv_gc_integer_get_max);
        if (kind == "inc") return Ask(ARV_GC_INTEGER(node), arv_gc_integer_get_inc);
    }
    return "?";
}

bool IsNumber(const std::string& text, double& value) {
    char* end = nullptr;
    value = std::strtod(text.c_str(), &end);
    return !text.empty() && *end == '\0';
}

bool IsSame(const std::string& ours, const std::string& theirs) {
    double one = 0, other = 0;
    return ours == theirs || (IsNumber(ours, one) && IsNumber(theirs, other) && one == other);
}

bool IsWholeRange(const std::string& limit) {
    return limit == "-9223372036854775808" || limit == "9223372036854775807" || limit == "-1.79769313e+308" ||
           limit == "1.79769313e+308";
}

/// How the two engines' answers stand to each other.
enum Verdict { Same, Unknown, Refused, Limitless, ChainDecides, Different, VerdictCount };
const char* const kVerdicts[] = {"same",
                                 "not told by theirs",
                                 "refused by ours (a division by zero, an undeclared name)",
                                 "limits that the description does not give",
                                 "modes that come from further down the chain",
                                 "different"};

struct Line {
    std::string name, kind, value;
};

Verdict Judge(const Line& ours, const std::string& theirs, bool isAvailable) {
    if (theirs == "?") return Unknown;
    if (IsSame(ours.value, theirs)) return Same;
    if (ours.value == "!") return Refused;
    const bool isLimit = ours.kind == "min" || ours.kind == "max" || ours.kind == "inc";
    if (isLimit) return theirs == "!" || IsWholeRange(ours.value) || IsWholeRange(theirs) ? Limitless : Different;
    // Ours asks ports, registers and variables too, theirs the node alone.
    if (ours.kind == "available") return ours.value == "0" ? ChainDecides : Different;
    if (ours.kind == "implemented") return ours.value == "0" || !isAvailable ? ChainDecides : Different;
    return Different;
}

bool ReadLine(Line& line) {
    std::string text;
    if (!std::getline(std::cin, text)) return false;
    const std::size_t tab = text.find('\t'), end = text.find('\t', tab + 1);
    if (tab == std::string::npos || end == std::string::npos) return ReadLine(line);
    line = {text.substr(0, tab), text.substr(tab + 1, end - tab - 1), text.substr(end + 1)};
    return true;
}

ArvGc* LoadEngine(const char* path, Memory memory) {
    std::ifstream file(path, std::ios::binary);
    g_Xml.assign(std::istreambuf_iterator<char>(file), {});
    g_Memory = memory;
    auto* device = static_cast<ArvDevice*>(g_object_new(memory_device_get_type(), nullptr));
    g_Engine = arv_gc_new(device, g_Xml.data(), g_Xml.size());
    if (g_Engine != nullptr) arv_gc_set_register_cache_policy(g_Engine, ARV_REGISTER_CACHE_POLICY_DISABLE);
    return g_Engine;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3 || LoadEngine(argv[1], static_cast<Memory>(argv[2][0])) == nullptr) return EXIT_FAILURE;
    unsigned long counts[VerdictCount] = {};
    bool isFloat = false, isAvailable = false;
    for (Line line; ReadLine(line);) {
        if (line.kind == "float" || line.kind == "integer") isFloat = line.kind == "float";
        if (line.kind == "available") isAvailable = line.value == "1";
        const std::string theirs = Answer(arv_gc_get_node(g_Engine, line.name.c_str()), line.kind, isFloat);
        const Verdict verdict = Judge(line, theirs, isAvailable);
        ++counts[verdict];
        if (verdict == Different)
            std::printf("  %s, %s: ours %s, theirs %s\n", line.name.c_str(), line.kind.c_str(), line.value.c_str(),
                        theirs.c_str());
    }
    for (int i = 0; i < VerdictCount; ++i)
        std::printf("  %6lu %s\n", counts[i], kVerdicts[i]);
    // An engine that refuses everything would never differ.
    const bool isFair = counts[Same] > 100 && counts[Refused] * 50 < counts[Same];
    return counts[Different] == 0 && isFair ? EXIT_SUCCESS : EXIT_FAILURE;
}
