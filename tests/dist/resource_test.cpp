// torwen.dll's version resource, read back as an installer reads it. The version
// functions are the system's: version.dll is looked up, not linked.
#include <torwen.h>

#include <string>

#include "harness/harness.h"

namespace {

using GetInfoSize = DWORD(WINAPI*)(LPCWSTR, LPDWORD);
using GetInfo = BOOL(WINAPI*)(LPCWSTR, DWORD, DWORD, LPVOID);
using QueryValue = BOOL(WINAPI*)(LPCVOID, LPCWSTR, LPVOID*, PUINT);

template <typename F> F Lookup(HMODULE module, const char* name)
{
    return reinterpret_cast<F>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

class VersionResource : public ::testing::Test {
protected:
    void SetUp() override
    {
        HMODULE version = LoadLibraryA("version.dll");
        ASSERT_NE(version, nullptr);
        auto size = Lookup<GetInfoSize>(version, "GetFileVersionInfoSizeW");
        auto info = Lookup<GetInfo>(version, "GetFileVersionInfoW");
        query_ = Lookup<QueryValue>(version, "VerQueryValueW");
        ASSERT_TRUE(size && info && query_);

        WCHAR path[MAX_PATH];
        ASSERT_TRUE(GetModuleFileNameW(GetModuleHandleW(L"torwen.dll"), path, MAX_PATH));
        DWORD handle = 0;
        block_.resize(size(path, &handle));
        ASSERT_FALSE(block_.empty()) << "torwen.dll has no version resource";
        ASSERT_TRUE(info(path, 0, DWORD(block_.size()), block_.data()));
    }

    template <typename T> T* Query(const wchar_t* key)
    {
        void* value = nullptr;
        UINT length = 0;
        if (!query_(block_.data(), key, &value, &length) || !length)
            return nullptr;
        return static_cast<T*>(value);
    }

    std::wstring Text(const std::wstring& name)
    {
        auto* text = Query<WCHAR>((L"\\StringFileInfo\\040904B0\\" + name).c_str());
        return text ? text : L"(missing)";
    }

    QueryValue query_ = nullptr;
    std::string block_;
};

TEST_F(VersionResource, NumbersAreTheProjectVersion)
{
    auto* fixed = Query<VS_FIXEDFILEINFO>(L"\\");
    ASSERT_NE(fixed, nullptr);
    EXPECT_EQ(fixed->dwSignature, 0xFEEF04BDu);
    EXPECT_EQ(fixed->dwFileType, DWORD(VFT_DLL));
    unsigned major = 0, minor = 0, patch = 0;
    ASSERT_EQ(sscanf(TORWEN_VERSION, "%u.%u.%u", &major, &minor, &patch), 3);
    for (auto [ms, ls] : {std::pair{fixed->dwFileVersionMS, fixed->dwFileVersionLS},
                          std::pair{fixed->dwProductVersionMS, fixed->dwProductVersionLS}}) {
        EXPECT_EQ(ms, DWORD(MAKELONG(minor, major)));
        EXPECT_EQ(ls, DWORD(MAKELONG(0, patch)));
    }
}

TEST_F(VersionResource, TextsNameTheFileAndItsVersion)
{
    std::wstring version = harness::FromAnsi(TORWEN_VERSION);
    EXPECT_EQ(Text(L"FileVersion"), version);
    EXPECT_EQ(Text(L"ProductVersion"), version);
    EXPECT_EQ(Text(L"OriginalFilename"), L"torwen.dll");
    EXPECT_EQ(Text(L"ProductName"), L"torwen");
    EXPECT_NE(Text(L"FileDescription").find(L"wide-character"), std::wstring::npos);

    struct Translation {
        WORD language, codePage;
    };
    auto* translation = Query<Translation>(L"\\VarFileInfo\\Translation");
    ASSERT_NE(translation, nullptr);
    EXPECT_EQ(translation->language, 0x409);
    EXPECT_EQ(translation->codePage, 1200);
}

} // namespace
