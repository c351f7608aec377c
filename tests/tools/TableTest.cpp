// Columns.

#include "tools/tavix/output/Table.h"

#include <gtest/gtest.h>

namespace {

using tool::Table;

TEST(Table, AlignsItsColumnsAndLeavesNoBlanksAtLineEnds) {
    Table table({Table::Align::Left, Table::Align::Right});
    table.Add({"name", "n", ""});
    table.Add({"x", "100", "end"});
    EXPECT_EQ(table.Text(), "name    n\n"
                            "x     100  end\n");
}

TEST(Table, LetsALongCellShiftItsOwnRowOnly) {
    Table table({}, /*widest=*/4);
    table.Add({"a", "1", "z"});
    table.Add({"far too long", "2", "z"});
    EXPECT_EQ(table.Text(), "a  1  z\n"
                            "far too long  2  z\n");
}

TEST(Table, CountsCharactersAndNotTheirBytes) {
    Table table;
    table.Add({"\xC2\xB5s", "1"});
    table.Add({"ms", "2"});
    EXPECT_EQ(table.Text(), "\xC2\xB5s  1\n"
                            "ms  2\n");
}

TEST(Table, KeepsHeadingsFromWideningTheFirstColumn) {
    Table table;
    table.Add({"a heading"});
    table.Add({"a", "1"});
    EXPECT_EQ(table.Text(), "a heading\n"
                            "a  1\n");
}

} // namespace
