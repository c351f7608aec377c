// Whole descriptions of real cameras, from the folder that TAVIX_CAMERA_XML_DIR names.
#include "genapi/support/MemoryPort.h"

#include <GenApi/GenApi.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

using namespace GenApi;
using genapi_test::MemoryPort;

namespace {

std::vector<std::string> CameraFiles() {
    std::vector<std::string> files;
    const char* const pFolder = std::getenv("TAVIX_CAMERA_XML_DIR");
    if (!pFolder) return files;
    for (const auto& entry : std::filesystem::directory_iterator(pFolder)) {
        if (entry.path().extension() == ".xml") files.push_back(entry.path().string());
    }
    return files;
}

// Uses every getter that a browser of features would use. What a node throws is for it to throw.
void Browse(INode& node) {
    try {
        node.GetAccessMode();
        NodeList_t nodes;
        for (const ELinkType type : {ctReadingChildren, ctWritingChildren, ctInvalidatingChildren, ctTerminalNodes}) {
            node.GetChildren(nodes, type);
        }
        node.GetPollingTime();
        node.GetCachingMode();
        if (CIntegerPtr pInteger = &node; pInteger.IsValid()) {
            pInteger->GetMin(), pInteger->GetMax(), pInteger->GetInc(), pInteger->GetUnit();
        }
        if (CFloatPtr pFloat = &node; pFloat.IsValid()) pFloat->GetMin(), pFloat->GetMax(), pFloat->HasInc();
        if (CEnumerationPtr pEnumeration = &node; pEnumeration.IsValid()) {
            StringList_t symbolics;
            pEnumeration->GetSymbolics(symbolics);
        }
        if (CValuePtr pValue = &node; pValue.IsValid()) pValue->ToString();
    } catch (const GenICam::GenericException& exception) {
        EXPECT_STRNE(exception.GetDescription(), "");
    }
}

// Memory of one byte, or of bytes that depend on the address alone. bound to a thread
class PatternPort final : public MemoryPort {
public:
    enum class Pattern { Zeros, Ones, Random };
    explicit PatternPort(Pattern pattern) : m_Pattern(pattern) {}

    void Read(void* pBuffer, int64_t Address, int64_t Length) override {
        ++reads;
        for (int64_t i = 0; i < Length; ++i)
            static_cast<uint8_t*>(pBuffer)[i] = ByteAt(static_cast<uint64_t>(Address + i));
    }

private:
    uint8_t ByteAt(uint64_t address) const {
        if (m_Pattern != Pattern::Random) return m_Pattern == Pattern::Ones ? 0xFF : 0;
        address = (address ^ address >> 30) * 0xBF58476D1CE4E5B9u;
        return static_cast<uint8_t>((address ^ address >> 27) * 0x94D049BB133111EBu >> 56);
    }
    Pattern m_Pattern;
};

// What holds for every number, whatever the memory: what a verified read gives lies within the limits.
void CheckNumber(INode& node) {
    try {
        if (CIntegerPtr pInteger = &node; pInteger.IsValid() && IsReadable(&node)) {
            const int64_t value = pInteger->GetValue(/*Verify=*/true);
            EXPECT_GE(value, pInteger->GetMin()) << node.GetName();
            EXPECT_LE(value, pInteger->GetMax()) << node.GetName();
        }
        if (CFloatPtr pFloat = &node; pFloat.IsValid() && IsReadable(&node)) {
            const double value = pFloat->GetValue(/*Verify=*/true);
            EXPECT_TRUE(value >= pFloat->GetMin() && value <= pFloat->GetMax()) << node.GetName();
        }
        if (CEnumerationPtr pEnumeration = &node; pEnumeration.IsValid() && IsReadable(&node)) {
            const int64_t value = pEnumeration->GetIntValue(/*Verify=*/true);
            IEnumEntry* const pEntry = pEnumeration->GetCurrentEntry();
            ASSERT_NE(pEntry, nullptr) << node.GetName();
            EXPECT_EQ(pEntry->GetValue(), value) << node.GetName();
            EXPECT_EQ(pEnumeration->ToString(), pEntry->GetSymbolic()) << node.GetName();
        }
    } catch (const GenICam::GenericException& exception) {
        EXPECT_STRNE(exception.GetDescription(), ""); // the memory is no camera's
    }
}

} // namespace

TEST(CameraFiles, KeepTheirPromisesOverAnyMemory) {
    const std::vector<std::string> files = CameraFiles();
    if (files.empty()) GTEST_SKIP() << "TAVIX_CAMERA_XML_DIR names no descriptions";
    using Pattern = PatternPort::Pattern;
    for (const std::string& file : files) {
        for (const Pattern pattern : {Pattern::Zeros, Pattern::Ones, Pattern::Random}) {
            SCOPED_TRACE(file + ", pattern " + std::to_string(static_cast<int>(pattern)));
            CNodeMapRef map;
            map._LoadXMLFromFile(file.c_str());
            PatternPort port(pattern);
            ASSERT_TRUE(map._Connect(&port));
            NodeList_t nodes;
            map._GetNodes(nodes);
            for (INode* const pNode : nodes) {
                Browse(*pNode);
                CheckNumber(*pNode);
            }
        }
    }
}

TEST(CameraFiles, LoadAndCanBeBrowsed) {
    const std::vector<std::string> files = CameraFiles();
    if (files.empty()) GTEST_SKIP() << "TAVIX_CAMERA_XML_DIR names no descriptions";
    for (const std::string& file : files) {
        SCOPED_TRACE(file);
        CNodeMapRef map;
        map._LoadXMLFromFile(file.c_str());
        GenICam::gcstring_vector problems;
        CNodeMapDynPtr(map._Ptr)->GetLoadProblems(problems);
        EXPECT_TRUE(problems.empty()) << problems[0];
        MemoryPort port;
        ASSERT_TRUE(map._Connect(&port));
        NodeList_t nodes;
        map._GetNodes(nodes);
        EXPECT_GT(nodes.size(), 80u);
        for (INode* const pNode : nodes)
            Browse(*pNode);
        EXPECT_GT(port.reads, 10);
    }
}

TEST(CameraFiles, AreReadTheSameWithAndWithoutCaches) {
    const std::vector<std::string> files = CameraFiles();
    if (files.empty()) GTEST_SKIP() << "TAVIX_CAMERA_XML_DIR names no descriptions";
    for (const std::string& file : files) {
        SCOPED_TRACE(file);
        CNodeMapRef map;
        map._LoadXMLFromFile(file.c_str());
        MemoryPort port;
        map._Connect(&port);
        NodeList_t nodes;
        map._GetNodes(nodes);
        for (INode* const pNode : nodes) {
            CIntegerPtr pInteger = pNode;
            if (!pInteger.IsValid()) continue;
            int64_t cached = 0;
            try {
                cached = pInteger->GetValue();
            } catch (const GenICam::GenericException&) {
                continue;
            }
            EXPECT_EQ(pInteger->GetValue(), cached) << pNode->GetName();
            EXPECT_EQ(pInteger->GetValue(false, /*IgnoreCache=*/true), cached) << pNode->GetName();
        }
    }
}

TEST(CameraFiles, TakeWritesToEveryWritableInteger) {
    const std::vector<std::string> files = CameraFiles();
    if (files.empty()) GTEST_SKIP() << "TAVIX_CAMERA_XML_DIR names no descriptions";
    for (const std::string& file : files) {
        SCOPED_TRACE(file);
        CNodeMapRef map;
        map._LoadXMLFromFile(file.c_str());
        MemoryPort port;
        map._Connect(&port);
        NodeList_t nodes;
        map._GetNodes(nodes);
        int written = 0;
        for (INode* const pNode : nodes) {
            CIntegerPtr pInteger = pNode;
            try {
                if (!pInteger.IsValid() || !IsWritable(pNode)) continue;
                pInteger->SetValue(pInteger->GetMin());
                ++written;
            } catch (const GenICam::GenericException&) {
                continue;
            }
        }
        EXPECT_GT(written, 0);
    }
}
