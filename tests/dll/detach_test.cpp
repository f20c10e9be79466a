// After process detach torwen holds no platform decision: every export takes the
// ANSI path, whatever the system. Its own program, since the module stays detached.
#include "harness/harness.h"

namespace {

TEST(DetachTest, ClearsThePlatformDecision)
{
    harness::EntryPoint entry = harness::TorwenEntryPoint();
    ASSERT_NE(entry, nullptr);
    OSVERSIONINFOEXW info = {};
    info.dwOSVersionInfoSize = sizeof info;  // only the W path accepts the extended record
    EXPECT_EQ(GetVersionExW(reinterpret_cast<OSVERSIONINFOW*>(&info)), !harness::AnsiPath());

    EXPECT_EQ(entry(harness::Torwen(), DLL_PROCESS_DETACH, nullptr), 1);
    SetLastError(0);
    EXPECT_FALSE(GetVersionExW(reinterpret_cast<OSVERSIONINFOW*>(&info)));
    EXPECT_EQ(GetLastError(), DWORD(ERROR_OUT_OF_STRUCTURES));
}

}  // namespace
