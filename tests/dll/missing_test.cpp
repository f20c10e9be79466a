// A system function the running Windows lacks: the export answers with its
// failure value and ERROR_CALL_NOT_IMPLEMENTED instead of failing to load. Its own
// program, since torwen binds each function once.
#include "harness/harness.h"

namespace {

TEST(MissingTest, ExportAnswersNotImplemented)
{
    if (harness::AnsiPath())
        GTEST_SKIP() << "the ANSI path does not call GetVersionExW";
    harness::MakeMissing("GetVersionExW");
    OSVERSIONINFOW info = {};
    info.dwOSVersionInfoSize = sizeof info;
    for (int call = 0; call < 2; ++call) {
        SetLastError(0);
        EXPECT_FALSE(GetVersionExW(&info));
        EXPECT_EQ(GetLastError(), DWORD(ERROR_CALL_NOT_IMPLEMENTED));
    }
}

}  // namespace
