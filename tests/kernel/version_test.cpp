#include <string>
#include <tuple>

#include "harness/harness.h"

namespace {

class VersionTest : public harness::TorwenTest {};

TEST_F(VersionTest, AgreesWithTheSystem)
{
    OSVERSIONINFOW w = {};
    w.dwOSVersionInfoSize = sizeof w;
    ASSERT_TRUE(GetVersionExW(&w));
    OSVERSIONINFOA a = {};
    a.dwOSVersionInfoSize = sizeof a;
    GetVersionExA(&a);
    EXPECT_EQ(std::tie(w.dwMajorVersion, w.dwMinorVersion, w.dwBuildNumber, w.dwPlatformId),
              std::tie(a.dwMajorVersion, a.dwMinorVersion, a.dwBuildNumber, a.dwPlatformId));
    EXPECT_EQ(w.szCSDVersion, harness::FromAnsi(a.szCSDVersion));
    EXPECT_EQ(w.dwOSVersionInfoSize, sizeof w);
}

// The ANSI path takes only the plain record, hands GetVersionExA its own size, copies
// the record back even when the call fails, and converts a service-pack string that
// fills its field.
TEST_F(VersionTest, AnsiPathRecord)
{
    if (!harness::AnsiPath())
        GTEST_SKIP() << "the W path answers as the system does";
    OSVERSIONINFOEXW ex = {};
    for (DWORD size : {DWORD(sizeof(OSVERSIONINFOEXW)), DWORD(0), DWORD(sizeof(OSVERSIONINFOA))}) {
        ex.dwOSVersionInfoSize = size;
        SetLastError(0);
        EXPECT_FALSE(GetVersionExW(reinterpret_cast<OSVERSIONINFOW*>(&ex))) << size;
        EXPECT_EQ(GetLastError(), DWORD(ERROR_OUT_OF_STRUCTURES)) << size;
        EXPECT_EQ(ex.dwMajorVersion, 0u);
    }
    SetLastError(0);
    EXPECT_FALSE(GetVersionExW(nullptr));
    EXPECT_EQ(GetLastError(), DWORD(ERROR_OUT_OF_STRUCTURES));

    DWORD seenSize = 0;
    BOOL answer = FALSE;
    std::string csd = "failed";
    TW_HOOK(version, GetVersionExA, [&](LPOSVERSIONINFOA a) {
        seenSize = a->dwOSVersionInfoSize;
        a->dwMajorVersion = 9;
        a->dwPlatformId = 6;
        memcpy(a->szCSDVersion, csd.c_str(), csd.size() + 1);
        SetLastError(ERROR_INVALID_PARAMETER);
        return answer;
    });
    OSVERSIONINFOW w = {};
    w.dwOSVersionInfoSize = sizeof w;
    EXPECT_FALSE(GetVersionExW(&w));
    EXPECT_EQ(seenSize, 148u);
    EXPECT_EQ(GetLastError(), DWORD(ERROR_INVALID_PARAMETER));  // the A call's, untouched
    EXPECT_EQ(std::tie(w.dwMajorVersion, w.dwPlatformId), std::make_tuple(9u, 6u));
    EXPECT_STREQ(w.szCSDVersion, L"failed");

    const std::string ansiText = harness::ToAnsi(harness::NonAsciiText());
    csd.clear();
    while (csd.size() + ansiText.size() <= 127)
        csd += ansiText;
    csd.resize(127, 'x');
    if (harness::CodePage() == 932 && IsDBCSLeadByte(BYTE(csd[126])))
        csd[126] = 'x';  // keep a whole character at the end
    answer = TRUE;
    wmemset(w.szCSDVersion, L'#', 128);
    ASSERT_TRUE(GetVersionExW(&w));
    EXPECT_EQ(w.szCSDVersion, harness::FromAnsi(csd));
}

}  // namespace
