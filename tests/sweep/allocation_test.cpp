// Allocation failure at every point: on the ANSI path the k-th allocation of torwen
// fails, for k = 1, 2, ... until the call makes no more; every failing run answers
// the export's failure value and last error and leaves no block behind. On the W
// path a call allocates nothing at all.
#include "sweep/sweep.h"

namespace {

using sweep::Error;
using sweep::Result;
using sweep::Row;

int points = 0, swept = 0;

class AllocationSweep : public harness::TorwenTest, public testing::WithParamInterface<const Row*> {};

TEST_P(AllocationSweep, FailsCleanlyAtEveryPoint)
{
    const Row& row = *GetParam();
    if (!harness::AnsiPath() || row.failureEndsProcess) {
        harness::FailHeapAllocAt(0);
        sweep::Announce(row.name + ": its valid call");
        Result r = row.call();
        const int made = harness::HeapAllocCalls();
        EXPECT_TRUE(row.Succeeded(r)) << row.name << " answered " << r;
        if (row.undo && row.Succeeded(r))
            row.undo(r);
        if (harness::AnsiPath())
            GTEST_SKIP() << row.name << " ends the process when an allocation fails";
        if (row.convertsOnWPath)
            GTEST_SKIP() << row.name << " converts on every platform: it allocates on the W path";
        EXPECT_EQ(made, 0) << row.name << " allocates on the W path";
        return;
    }
    struct Run {
        int k;
        Result r;
        DWORD error;
        bool failed;
    };
    std::vector<Run> runs;
    int n = harness::SweepAllocationFailures([&](int k) {
        sweep::Announce(row.name + " with allocation " + std::to_string(k) + " failing");
        SetLastError(0xDEAD);
        Result r = row.call();
        DWORD error = GetLastError();
        bool failed = harness::HeapAllocCalls() >= k;
        runs.push_back({k, r, error, failed});
        if (row.undo && row.Succeeded(r))
            row.undo(r);
    });
    points += n;
    swept += n > 0;
    ASSERT_FALSE(runs.empty());
    const Run& last = runs.back();
    ASSERT_FALSE(last.failed);
    EXPECT_TRUE(row.Succeeded(last.r)) << row.name << " answered " << last.r;
    // After the A call, a failure leaves the A call's error; before it, the frame's.
    const DWORD afterCall = last.error;
    for (const Run& run : runs) {
        if (!run.failed)
            continue;
        SCOPED_TRACE(row.name + " with allocation " + std::to_string(run.k) + " failing");
        switch (row.error) {
        case Error::Code:
            EXPECT_EQ(run.r, ERROR_OUTOFMEMORY);
            continue;
        case Error::Saved:
            EXPECT_TRUE(run.error == 0 || run.error == afterCall) << "last error " << run.error;
            break;
        case Error::OutOfMemory:
            EXPECT_TRUE(run.error == ERROR_OUTOFMEMORY || run.error == afterCall)
                << "last error " << run.error;
            break;
        case Error::AsLeft:
            EXPECT_TRUE(run.error == ERROR_OUTOFMEMORY || run.error == ERROR_INVALID_PARAMETER)
                << "last error " << run.error;
            break;
        }
        if (row.failure) {
            EXPECT_EQ(run.r, *row.failure);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Rows, AllocationSweep, testing::ValuesIn(sweep::Rows()), sweep::RowName);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(AllocationSweep);

class Count : public testing::Environment {
    void TearDown() override
    {
        if (harness::AnsiPath())
            printf("[ sweep    ] %d allocation points swept in %d exports of %zu\n", points, swept,
                   sweep::AllRows().size());
    }
};
const auto* const count = testing::AddGlobalTestEnvironment(new Count);

}  // namespace
