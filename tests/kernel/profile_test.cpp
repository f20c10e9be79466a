// Atoms and initialisation files, on both paths and both code pages.
#include <algorithm>

#include "harness/harness.h"

namespace {

class ProfileTest : public harness::TorwenTest {
protected:
    void TearDown() override
    {
        WritePrivateProfileStringW(nullptr, nullptr, nullptr, ini);  // flush the cache
        DeleteFileW(ini);
        harness::TorwenTest::TearDown();
    }
    const std::wstring text = harness::NonAsciiText(), section = L"section " + text,
                       key = L"k" + text, file = L"C:\\windows\\temp\\torwen " + text + L".ini";
    const LPCWSTR sec = section.c_str(), ini = file.c_str();
    const bool ansi = harness::AnsiPath();
    WCHAR buf[64];
};

TEST_F(ProfileTest, ReadsBackNonAsciiNames)
{
    const std::wstring value = L"v " + text, keys = key + L"=" + value + L'\0' + L"n=42" + L'\0';
    // The list ends exactly where its memory does.
    harness::GuardPage guard;
    const std::wstring list = keys + L'\0';
    ASSERT_TRUE(WritePrivateProfileSectionW(sec, guard.Copy(list.c_str(), list.size()), ini));
    EXPECT_EQ(value.size(), GetPrivateProfileStringW(sec, key.c_str(), L"", buf, 64, ini));
    EXPECT_EQ(value, buf);
    // Section readers: the ANSI path leaves out the list's final terminator (the
    // buffer keeps its 0xFFFF there) and counts one less.
    std::fill_n(buf, 64, WCHAR(0xFFFF));
    EXPECT_EQ(keys.size() - ansi, GetPrivateProfileSectionW(sec, buf, 64, ini));
    EXPECT_EQ(keys + WCHAR(ansi ? 0xFFFF : 0), std::wstring(buf, keys.size() + 1));
    // String readers asked for names: the ANSI path delivers the first name only.
    const std::wstring names = ansi ? key + L'\0' : key + L'\0' + L"n" + L'\0' + L'\0';
    EXPECT_EQ(names.size() - 1, GetPrivateProfileStringW(sec, nullptr, L"", buf, 64, ini));
    EXPECT_EQ(names, std::wstring(buf, names.size()));

    ATOM atom = GlobalAddAtomW(text.c_str());
    EXPECT_EQ(text.size(), GlobalGetAtomNameW(GlobalFindAtomW(text.c_str()), buf, 64));
    EXPECT_EQ(text, buf);
    GlobalDeleteAtom(atom);
    EXPECT_EQ(5, AddAtomW(MAKEINTATOM(5)));  // no string: nothing to convert
}

}  // namespace
