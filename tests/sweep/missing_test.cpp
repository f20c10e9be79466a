// Windows 95 without any of the functions torwen binds on first use: every W
// function and every function of a DLL other than kernel32 is absent. Every export
// answers its failure value and ERROR_CALL_NOT_IMPLEMENTED, except where the ANSI
// path needs only kernel32's A functions, which are still there.
#include "sweep/sweep.h"

namespace {

using sweep::Error;
using sweep::Result;
using sweep::Row;

class Absent : public testing::Environment {
    // Before the first test: torwen has bound nothing yet.
    void SetUp() override { harness::MakeEverythingMissing(); }
};
const auto* const absent = testing::AddGlobalTestEnvironment(new Absent);

class MissingSweep : public harness::TorwenTest, public testing::WithParamInterface<const Row*> {};

TEST_P(MissingSweep, AnswersNotImplemented)
{
    const Row& row = *GetParam();
    sweep::Announce(row.name + " with its system function absent");
    SetLastError(0xDEAD);
    Result r = row.call();
    DWORD error = GetLastError();
    bool answers = row.selfContained || (harness::AnsiPath() && row.ansi == sweep::Ansi::Kernel32);
    if (answers) {
        EXPECT_TRUE(row.Succeeded(r)) << row.name << " answered " << r << ", last error " << error;
    } else {
        if (row.error == Error::Code) {
            EXPECT_EQ(r, ERROR_CALL_NOT_IMPLEMENTED) << row.name;
        } else {
            if (row.missing || row.failure) {
                EXPECT_EQ(r, row.missing ? *row.missing : *row.failure) << row.name;
            }
            EXPECT_EQ(error, DWORD(ERROR_CALL_NOT_IMPLEMENTED)) << row.name;
        }
    }
    if (row.undo && row.Succeeded(r))
        row.undo(r);
}

INSTANTIATE_TEST_SUITE_P(Rows, MissingSweep, testing::ValuesIn(sweep::Rows()), sweep::RowName);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(MissingSweep);

}  // namespace
