// The table itself: one row for every export, and every row's call valid.
#include "sweep/sweep.h"

#include <map>

namespace {

using sweep::Result;
using sweep::Row;

TEST(TableTest, EveryExportHasOneRow)
{
    std::map<std::string, int> rows;
    for (const Row& row : sweep::AllRows())
        ++rows[row.name];
    std::vector<std::string> exports = sweep::Exports();
    std::string missing;
    for (const std::string& name : exports) {
        if (!rows.count(name))
            missing += " " + name;
        else
            EXPECT_EQ(rows[name], 1) << name << " has more than one row";
    }
    EXPECT_EQ(missing, "") << "exports without a row in tests/sweep/rows";
    for (const auto& [name, count] : rows)
        EXPECT_NE(std::find(exports.begin(), exports.end(), name), exports.end())
            << "a row for " << name << ", which torwen.dll does not export";
    printf("[ sweep    ] %zu exports, %zu rows\n", exports.size(), sweep::AllRows().size());
}

class ValidCall : public harness::TorwenTest, public testing::WithParamInterface<const Row*> {};

TEST_P(ValidCall, Succeeds)
{
    const Row& row = *GetParam();
    sweep::Announce(row.name + ": its valid call");
    SetLastError(0xDEAD);
    Result r = row.call();
    DWORD error = GetLastError();
    EXPECT_TRUE(row.Succeeded(r)) << row.name << " answered " << r << ", last error " << error;
    if (row.undo && row.Succeeded(r))
        row.undo(r);
}

INSTANTIATE_TEST_SUITE_P(Rows, ValidCall, testing::ValuesIn(sweep::Rows()), sweep::RowName);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(ValidCall);

}  // namespace
