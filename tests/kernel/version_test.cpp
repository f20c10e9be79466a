#include <torwen.h>

#include <string>

#include "harness/harness.h"

namespace {

class VersionTest : public harness::TorwenTest {};

OSVERSIONINFOA SystemVersion()
{
    OSVERSIONINFOA a = {};
    a.dwOSVersionInfoSize = sizeof a;
    GetVersionExA(&a);
    return a;
}

TEST_F(VersionTest, AgreesWithTheSystem)
{
    OSVERSIONINFOW w = {};
    w.dwOSVersionInfoSize = sizeof w;
    ASSERT_TRUE(GetVersionExW(&w));
    OSVERSIONINFOA a = SystemVersion();
    EXPECT_EQ(w.dwMajorVersion, a.dwMajorVersion);
    EXPECT_EQ(w.dwMinorVersion, a.dwMinorVersion);
    EXPECT_EQ(w.dwBuildNumber, a.dwBuildNumber);
    EXPECT_EQ(w.dwPlatformId, a.dwPlatformId);
    EXPECT_EQ(w.szCSDVersion, harness::FromAnsi(a.szCSDVersion));
    EXPECT_EQ(w.dwOSVersionInfoSize, sizeof w);
}

TEST_F(VersionTest, AnsiPathAcceptsOnlyThePlainRecord)
{
    if (!harness::AnsiPath())
        GTEST_SKIP() << "the W path answers as the system does";
    OSVERSIONINFOEXW info = {};
    for (DWORD size : {DWORD(sizeof(OSVERSIONINFOEXW)), DWORD(0), DWORD(sizeof(OSVERSIONINFOA))}) {
        info.dwOSVersionInfoSize = size;
        SetLastError(0);
        EXPECT_FALSE(GetVersionExW(reinterpret_cast<OSVERSIONINFOW*>(&info))) << size;
        EXPECT_EQ(GetLastError(), DWORD(ERROR_OUT_OF_STRUCTURES)) << size;
        EXPECT_EQ(info.dwMajorVersion, 0u);
    }
    SetLastError(0);
    EXPECT_FALSE(GetVersionExW(nullptr));
    EXPECT_EQ(GetLastError(), DWORD(ERROR_OUT_OF_STRUCTURES));
}

TEST_F(VersionTest, AnsiPathCopiesTheRecordEvenWhenTheCallFails)
{
    if (!harness::AnsiPath())
        GTEST_SKIP() << "the W path calls GetVersionExW";
    DWORD seenSize = 0;
    TW_HOOK(version, GetVersionExA, [&](LPOSVERSIONINFOA a) {
        seenSize = a->dwOSVersionInfoSize;
        a->dwMajorVersion = 9;
        a->dwMinorVersion = 8;
        a->dwBuildNumber = 7;
        a->dwPlatformId = 6;
        lstrcpyA(a->szCSDVersion, "failed");
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    });
    OSVERSIONINFOW w = {};
    w.dwOSVersionInfoSize = sizeof w;
    EXPECT_FALSE(GetVersionExW(&w));
    EXPECT_EQ(seenSize, 148u);
    EXPECT_EQ(GetLastError(), DWORD(ERROR_INVALID_PARAMETER));  // the A call's, untouched
    EXPECT_EQ(w.dwMajorVersion, 9u);
    EXPECT_EQ(w.dwPlatformId, 6u);
    EXPECT_STREQ(w.szCSDVersion, L"failed");
}

TEST_F(VersionTest, AnsiPathConvertsTheLongestServicePackString)
{
    if (!harness::AnsiPath())
        GTEST_SKIP() << "the W path calls GetVersionExW";
    std::wstring text = harness::NonAsciiText();
    std::string ansiText = harness::ToAnsi(text);
    std::string csd;
    while (csd.size() + ansiText.size() <= 127)
        csd += ansiText;
    csd.resize(127, 'x');
    if (harness::CodePage() == 932 && csd.size() > 0 && IsDBCSLeadByte(BYTE(csd[126])))
        csd[126] = 'x';  // keep a whole character at the end
    TW_HOOK(version, GetVersionExA, [&](LPOSVERSIONINFOA a) {
        BOOL ok = version.real(a);
        memcpy(a->szCSDVersion, csd.c_str(), 128);
        return ok;
    });
    OSVERSIONINFOW w;
    wmemset(w.szCSDVersion, L'#', 128);
    w.dwOSVersionInfoSize = sizeof w;
    ASSERT_TRUE(GetVersionExW(&w));
    EXPECT_EQ(w.szCSDVersion, harness::FromAnsi(csd));
}

// A program built against the platform's own header gets the function from torwen,
// under its decorated name.
TEST_F(VersionTest, ProgramImportsItFromTorwen)
{
    auto* base = reinterpret_cast<BYTE*>(GetModuleHandleA(nullptr));
    auto* nt = reinterpret_cast<IMAGE_NT_HEADERS*>(
        base + reinterpret_cast<IMAGE_DOS_HEADER*>(base)->e_lfanew);
    DWORD rva = nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
    bool found = false;
    for (auto* d = reinterpret_cast<IMAGE_IMPORT_DESCRIPTOR*>(base + rva); d->Name; ++d) {
        if (lstrcmpiA(reinterpret_cast<char*>(base + d->Name), "torwen.dll") != 0)
            continue;
        for (auto* t = reinterpret_cast<IMAGE_THUNK_DATA*>(base + d->OriginalFirstThunk);
             t->u1.AddressOfData; ++t) {
            auto* byName = reinterpret_cast<IMAGE_IMPORT_BY_NAME*>(base + t->u1.AddressOfData);
            found |= std::string(reinterpret_cast<char*>(byName->Name)) == "_GetVersionExW@4";
        }
    }
    EXPECT_TRUE(found);
}

}  // namespace
