// Bad and random input: every row with a fuzz function is called with each kind of
// string and count (tests/sweep/sweep.h), then with seeded random ones, every string
// and buffer ending at a no-access page. Nothing may fault, write past a buffer or
// keep a block.
//
//     TORWEN_SWEEP_CALLS=1000000 TORWEN_SWEEP_SEED=1234 tools/wine-run a-932 build/wine sweep_input_test.exe
//     TORWEN_SWEEP_TRACE=1 TORWEN_WINEDEBUG=warn+heap ... (names each call before it runs)
//     TORWEN_SWEEP_ONLY=1235 ... (makes only call 1234 of the seed's sequence)
#include "sweep/sweep.h"

#include <cstdlib>
#include <optional>

namespace {

using sweep::Row;

bool Fuzzed(const Row& row)
{
    return bool(row.fuzz);
}

unsigned long Setting(const char* name, unsigned long otherwise)
{
    const char* value = getenv(name);
    return value && *value ? strtoul(value, nullptr, 0) : otherwise;
}

class FixedInput : public harness::TorwenTest, public testing::WithParamInterface<const Row*> {};

TEST_P(FixedInput, EveryKindOfString)
{
    const Row& row = *GetParam();
    for (int pass = 0; pass < sweep::Fuzz::Kinds; ++pass) {
        sweep::Fuzz f(0, true, pass);
        sweep::Announce(row.name + ": fixed pass " + std::to_string(pass));
        std::size_t before = harness::LiveBlocks();
        row.fuzz(f);
        EXPECT_EQ(harness::LiveBlocks(), before) << row.name << " kept a block: " << f.Describe();
    }
}

INSTANTIATE_TEST_SUITE_P(Rows, FixedInput, testing::ValuesIn(sweep::Rows(Fuzzed)), sweep::RowName);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(FixedInput);

class RandomInput : public harness::TorwenTest {};

TEST_F(RandomInput, SeededSweep)
{
    std::vector<const Row*> rows = sweep::Rows(Fuzzed);
    if (rows.empty())
        GTEST_SKIP() << "no row takes strings yet";
    const unsigned long calls = Setting("TORWEN_SWEEP_CALLS", 25000);
    // One fixed sequence by default, so that a run repeats the last; TORWEN_SWEEP_SEED
    // picks another, and 0 one from the clock.
    unsigned long seed = Setting("TORWEN_SWEEP_SEED", 4);
    if (!seed)
        seed = GetTickCount();
    // Each call named on the error stream before it runs: with WINEDEBUG=warn+heap,
    // the first warning then follows the call that damaged the heap.
    const bool trace = Setting("TORWEN_SWEEP_TRACE", 0) != 0;
    // TORWEN_SWEEP_ONLY=N makes call N - 1 of the seed's sequence alone, to see it fail on its own.
    const unsigned long only = Setting("TORWEN_SWEEP_ONLY", 0);
    // TORWEN_SWEEP_FIRST=N skips the calls before call N, to find the one that matters.
    const unsigned long first = Setting("TORWEN_SWEEP_FIRST", 0);
    printf("[ sweep    ] %lu random calls over %zu exports, seed %lu (TORWEN_SWEEP_SEED)\n", calls,
           rows.size(), seed);
    // TORWEN_SWEEP_GUARDED=1: every block of torwen's own ends at a no-access page too.
    std::optional<harness::GuardedHeapBlocks> guarded;
    if (Setting("TORWEN_SWEEP_GUARDED", 0))
        guarded.emplace();
    std::mt19937 rng(seed);
    for (unsigned long i = 0; i < calls; ++i) {
        const Row& row = *rows[rng() % rows.size()];
        std::uint32_t callSeed = rng();
        if ((only && i + 1 != only) || i < first)
            continue;
        std::string what = "seed " + std::to_string(seed) + ", call " + std::to_string(i) + ": " + row.name;
        sweep::Announce(what);
        if (trace)
            fprintf(stderr, "%s\n", what.c_str());
        sweep::Fuzz f(callSeed);
        std::size_t before = harness::LiveBlocks();
        row.fuzz(f);
        if (only)
            fprintf(stderr, "%s with %s\n", what.c_str(), f.Describe().c_str());
        if (harness::LiveBlocks() != before || HasFailure()) {
            ADD_FAILURE() << what << " with " << f.Describe()
                          << (harness::LiveBlocks() != before ? "kept a block" : "");
            break;
        }
    }
}

}  // namespace
