// The variable by which GenTL programs find producers.

#include "producers/ProducerPath.h"
#include "tools/support/TestFolder.h"
#include "tools/support/Variable.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using tool::FindProducerPathFaults;
using tool::FindProducers;
using tooltest::Variable;

/// Two folders, of two producers and of a link to one of them. Bound to a thread.
class ProducerPath : public testing::Test {
protected:
    ProducerPath() {
        std::filesystem::create_directories(m_A);
        std::filesystem::create_directories(m_B);
        m_Folder.Write("a/one.cti", "");
        m_Folder.Write("a/two.cti", "");
        std::filesystem::create_symlink(m_A + "/one.cti", m_B + "/link.cti");
    }
    const tooltest::TestFolder m_Folder;
    const std::string m_A = m_Folder.Path("a"), m_B = m_Folder.Path("b");
};

TEST_F(ProducerPath, GivesAProducerThatItNamesTwiceOnce) {
    const Variable path(tool::kProducerPath, m_A + "/two.cti:" + m_A + ":" + m_A + "/::" + m_B);
    EXPECT_THAT(FindProducers(), ElementsAre(m_A + "/two.cti", m_A + "/one.cti"));
}

TEST_F(ProducerPath, IsToldWhenItNamesAFolderTwice) {
    const Variable path(tool::kProducerPath, m_A + ":" + m_A + ":" + m_A + "/");
    const tool::ProducerPathFaults faults = FindProducerPathFaults();
    EXPECT_THAT(faults.repeated, ElementsAre(m_A, m_A + "/"));
    EXPECT_THAT(faults.missing, IsEmpty());
    EXPECT_EQ(faults.mended, m_A);
}

TEST_F(ProducerPath, IsToldWhenItLeadsToAFileTwice) {
    const Variable path(tool::kProducerPath, m_A + ":" + m_B + ":" + m_A + "/two.cti");
    const tool::ProducerPathFaults faults = FindProducerPathFaults();
    EXPECT_THAT(faults.repeated, ElementsAre(m_B, m_A + "/two.cti"));
    EXPECT_EQ(faults.mended, m_A);
}

TEST_F(ProducerPath, KeepsAFolderThatHasMoreThanWhatIsNamedTwice) {
    const Variable path(tool::kProducerPath, m_B + ":" + m_A);
    const tool::ProducerPathFaults faults = FindProducerPathFaults();
    EXPECT_THAT(faults.repeated, ElementsAre(m_A));
    EXPECT_EQ(faults.mended, m_B + ":" + m_A);
}

TEST_F(ProducerPath, IsToldWhenItNamesNothing) {
    const Variable path(tool::kProducerPath, m_Folder.Path("gone") + ":" + m_Folder.Path() + ":" + m_A);
    const tool::ProducerPathFaults faults = FindProducerPathFaults();
    EXPECT_THAT(faults.missing, ElementsAre(m_Folder.Path("gone")));
    EXPECT_THAT(faults.repeated, IsEmpty());
    EXPECT_EQ(faults.mended, m_Folder.Path() + ":" + m_A) << "an empty folder is no fault";
}

} // namespace
