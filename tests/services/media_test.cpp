// Sound and media control: sounds by name or in memory, MCI strings and commands,
// error texts, compared with what the A functions answer.
#include <cstring>
#include <string>

#include "harness/harness.h"

using namespace harness;
using std::string;
using std::wstring;

namespace
{

class MediaTest : public TorwenTest
{
protected:
    const bool ansi = AnsiPath();
    const wstring text = NonAsciiText();
    const wstring missing = L"C:\\missing " + text + L".wav";
};

// Error texts and replies as the A functions give them; a failed command empties the reply.
TEST_F(MediaTest, StringsAndErrors)
{
    wchar_t buf[128];
    char bufA[128];
    ASSERT_TRUE(mciGetErrorStringA(MCIERR_INVALID_DEVICE_NAME, bufA, 128));
    ASSERT_TRUE(mciGetErrorStringW(MCIERR_INVALID_DEVICE_NAME, buf, 128));
    EXPECT_EQ(wstring(buf), FromAnsi(bufA));

    const MCIERROR unknown = mciSendStringA("open nosuchdevice alias tw", bufA, 128, nullptr);
    EXPECT_NE(unknown, 0u);
    buf[0] = L'#';
    EXPECT_EQ(unknown, mciSendStringW(L"open nosuchdevice alias tw", buf, 128, nullptr));
    EXPECT_EQ(buf[0], L'\0');
    ASSERT_EQ(0u, mciSendStringA("sysinfo all quantity", bufA, 128, nullptr));
    ASSERT_EQ(0u, mciSendStringW(L"sysinfo all quantity", buf, 128, nullptr));
    EXPECT_EQ(wstring(buf), FromAnsi(bufA));
    EXPECT_EQ(0u, mciGetDeviceIDW(L"tw"));
}

// A count comes back as a number in the text's place, a name as text; a command
// without its record is the A function's to refuse.
TEST_F(MediaTest, CommandRecords)
{
    DWORD count = 0, countA = 0;
    MCI_SYSINFO_PARMSW info = { 0, reinterpret_cast<LPWSTR>(&count), sizeof count, 1, 0 };
    MCI_SYSINFO_PARMSA infoA = { 0, reinterpret_cast<LPSTR>(&countA), sizeof countA, 1, 0 };
    ASSERT_EQ(0u, mciSendCommandW(0, MCI_SYSINFO, MCI_SYSINFO_QUANTITY, DWORD_PTR(&info)));
    ASSERT_EQ(0u, mciSendCommandA(0, MCI_SYSINFO, MCI_SYSINFO_QUANTITY, DWORD_PTR(&infoA)));
    EXPECT_EQ(count, countA);
    if (count) {
        wchar_t name[64] = {};
        char nameA[64] = {};
        info.lpstrReturn = name;
        infoA.lpstrReturn = nameA;
        info.dwRetSize = infoA.dwRetSize = 64;
        ASSERT_EQ(0u, mciSendCommandW(0, MCI_SYSINFO, MCI_SYSINFO_NAME, DWORD_PTR(&info)));
        ASSERT_EQ(0u, mciSendCommandA(0, MCI_SYSINFO, MCI_SYSINFO_NAME, DWORD_PTR(&infoA)));
        EXPECT_EQ(wstring(name), FromAnsi(nameA));
    }
    if (ansi) { // Wine's own functions fault on these
        for (UINT message : { MCI_OPEN, MCI_INFO, MCI_SYSINFO, MCI_LOAD, MCI_SAVE })
            EXPECT_EQ(MCIERROR(MCIERR_NULL_PARAMETER_BLOCK),
                mciSendCommandW(0, message, MCI_OPEN_TYPE, 0));
    }
}

// What the A functions are handed: names converted, a sound in memory and a
// device's extra open fields as the caller gave them.
TEST_F(MediaTest, WhatTheAFunctionsReceive)
{
    if (!ansi)
        GTEST_SKIP() << "the W path hands the records through";
    PlaySoundW(nullptr, nullptr, 0); // bound before they are hooked
    DWORD count;
    MCI_SYSINFO_PARMSW info = { 0, reinterpret_cast<LPWSTR>(&count), sizeof count, 0, 0 };
    mciSendCommandW(0, MCI_SYSINFO, MCI_SYSINFO_QUANTITY, DWORD_PTR(&info));
    string seenSound;
    LPCSTR seenPointer = nullptr;
    TW_HOOK(play, PlaySoundA, [&](LPCSTR sound, HMODULE, DWORD flags) {
        seenPointer = sound;
        const bool name = !(flags & SND_MEMORY) || (flags & SND_RESOURCE) == SND_RESOURCE;
        seenSound = name && !IS_INTRESOURCE(sound) ? sound : "";
        return TRUE;
    });
    const BYTE wave[8] = { 'R', 'I', 'F', 'F' };
    EXPECT_TRUE(PlaySoundW(reinterpret_cast<LPCWSTR>(wave), nullptr, SND_MEMORY));
    EXPECT_EQ(seenPointer, reinterpret_cast<LPCSTR>(wave));
    EXPECT_TRUE(PlaySoundW(missing.c_str(), nullptr, SND_FILENAME));
    EXPECT_EQ(seenSound, ToAnsi(missing));
    EXPECT_TRUE(PlaySoundW(text.c_str(), GetModuleHandleW(nullptr), SND_RESOURCE));
    EXPECT_EQ(seenSound, ToAnsi(text));
    EXPECT_TRUE(PlaySoundW(MAKEINTRESOURCEW(5), GetModuleHandleW(nullptr), SND_RESOURCE));
    EXPECT_EQ(seenPointer, reinterpret_cast<LPCSTR>(5));

    struct {
        MCI_OPEN_PARMSA base;
        DWORD_PTR extra[2];
    } seen = {};
    TW_HOOK(send, mciSendCommandA, [&](MCIDEVICEID, UINT, DWORD_PTR, DWORD_PTR parms) -> MCIERROR {
        auto* a = reinterpret_cast<decltype(seen)*>(parms);
        seen = *a;
        seen.base.lpstrElementName = nullptr;
        EXPECT_EQ(string(a->base.lpstrElementName), ToAnsi(missing));
        EXPECT_EQ(string(a->base.lpstrAlias), ToAnsi(text));
        a->base.wDeviceID = 9;
        return 0;
    });
    struct {
        MCI_OPEN_PARMSW base;
        DWORD_PTR style, parent;
    } open = { { 0, 0, LPCWSTR(MAKELONG(MCI_DEVTYPE_WAVEFORM_AUDIO, 1)), missing.c_str(),
                   text.c_str() },
        0x55, 0x66 };
    const DWORD flags
        = MCI_OPEN_TYPE | MCI_OPEN_TYPE_ID | MCI_OPEN_ELEMENT | MCI_OPEN_ALIAS | 0x10000;
    ASSERT_EQ(0u, mciSendCommandW(0, MCI_OPEN, flags, DWORD_PTR(&open)));
    EXPECT_EQ(open.base.wDeviceID, 9u);
    EXPECT_EQ(seen.base.lpstrDeviceType, LPCSTR(open.base.lpstrDeviceType))
        << "an identifier passes";
    EXPECT_EQ(seen.extra[0], 0x55u);
    EXPECT_EQ(seen.extra[1], 0u) << "a field the flags do not announce is not read";
}

} // namespace
