// Input methods: what the platform answers, and the byte-to-character conversions
// of the ANSI path over an input method that the test plays itself.
#include <cstring>
#include <string>
#include <vector>

#include "harness/harness.h"
#include "torwen.h"

using namespace harness;
using std::string;
using std::wstring;

namespace
{

class InputTest : public TorwenTest
{
protected:
    const bool ansi = AnsiPath();
    const wstring text = NonAsciiText();
    const HIMC himc = HIMC(0x1234); // the test plays the input method for it
};

// The font through the LOGFONT converters, over an input context the test plays.
TEST_F(InputTest, CompositionFontConverts)
{
    if (!ansi)
        GTEST_SKIP() << "the W path hands the record through";
    ImmSetCompositionFontW(himc, nullptr); // bound before they are hooked
    ImmGetCompositionFontW(himc, nullptr);
    LOGFONTA stored = {};
    TW_HOOK(set, ImmSetCompositionFontA, [&](HIMC, LPLOGFONTA font) {
        stored = *font;
        return TRUE;
    });
    TW_HOOK(get, ImmGetCompositionFontA, [&](HIMC, LPLOGFONTA font) {
        *font = stored;
        return TRUE;
    });
    LOGFONTW font = {};
    font.lfHeight = -12;
    font.lfWeight = FW_BOLD;
    wcscpy(font.lfFaceName, text.substr(0, 7).c_str());
    ASSERT_TRUE(ImmSetCompositionFontW(himc, &font));
    EXPECT_EQ(string(stored.lfFaceName), ToAnsi(font.lfFaceName));
    LOGFONTW back = {};
    ASSERT_TRUE(ImmGetCompositionFontW(himc, &back));
    EXPECT_EQ(back.lfWeight, FW_BOLD);
    EXPECT_EQ(wstring(back.lfFaceName), font.lfFaceName);
}

struct Seen {
    wstring reading, word;
    DWORD style = 0;
};

int CALLBACK Record(LPCWSTR reading, DWORD style, LPCWSTR word, LPVOID data)
{
    auto* seen = static_cast<Seen*>(data);
    seen->reading = reading;
    seen->word = word;
    seen->style = style;
    return 5;
}

// The adapter that stands for a wide procedure in the ANSI enumeration.
TEST_F(InputTest, EnumerationAdapter)
{
    Seen seen;
    AtEnumRegisterWordContextW context = { Record, &seen };
    const string readingA = ToAnsi(text), wordA = "w " + ToAnsi(text);
    EXPECT_EQ(5, AtfnEnumRegisterWordProcA(readingA.c_str(), 3, wordA.c_str(), &context));
    EXPECT_EQ(seen.reading, text);
    EXPECT_EQ(seen.word, L"w " + text);
    EXPECT_EQ(seen.style, 3u);
}

// An input method that the test plays: a composition of the non-ASCII text whose
// attribute is each character's index, with a clause and the cursor after the
// third character.
TEST_F(InputTest, CompositionCountsCharacters)
{
    if (!ansi)
        GTEST_SKIP() << "the W path hands the input method's answers through";
    ImmGetCompositionStringW(himc, GCS_COMPSTR, nullptr, 0); // bound before it is hooked
    const string textA = ToAnsi(text);
    const LONG third = LONG(ToAnsi(text.substr(0, 3)).size());
    string attributes;
    for (size_t i = 0; i < text.size(); ++i)
        attributes.append(ToAnsi(text.substr(i, 1)).size(), char(i));
    const DWORD clauses[] = { 0, DWORD(third), DWORD(textA.size()) };
    const string clauseBytes(reinterpret_cast<const char*>(clauses), sizeof clauses);
    TW_HOOK(hook, ImmGetCompositionStringA, [&](HIMC, DWORD index, LPVOID buf, DWORD size) -> LONG {
        if (index == GCS_CURSORPOS)
            return third;
        const string* data = index == GCS_COMPSTR ? &textA
            : index == GCS_COMPATTR               ? &attributes
            : index == GCS_COMPCLAUSE             ? &clauseBytes
                                                  : nullptr;
        if (!data)
            return IMM_ERROR_NODATA;
        if (size)
            memcpy(buf, data->data(), std::min<size_t>(size, data->size()));
        return LONG(data->size());
    });
    wchar_t buf[32] = {};
    EXPECT_EQ(ImmGetCompositionStringW(himc, GCS_COMPSTR, nullptr, 0), LONG(2 * text.size()));
    EXPECT_EQ(ImmGetCompositionStringW(himc, GCS_COMPSTR, buf, sizeof buf), LONG(2 * text.size()));
    EXPECT_EQ(wstring(buf), text);
    EXPECT_EQ(ImmGetCompositionStringW(himc, GCS_COMPSTR, buf, 4), 0) << "too small: nothing";
    BYTE attr[32];
    ASSERT_EQ(ImmGetCompositionStringW(himc, GCS_COMPATTR, attr, sizeof attr), LONG(text.size()));
    for (size_t i = 0; i < text.size(); ++i)
        EXPECT_EQ(attr[i], i);
    DWORD clause[3];
    ASSERT_EQ(
        ImmGetCompositionStringW(himc, GCS_COMPCLAUSE, clause, sizeof clause), LONG(sizeof clause));
    EXPECT_EQ(clause[1], 3u);
    EXPECT_EQ(clause[2], text.size());
    EXPECT_EQ(ImmGetCompositionStringW(himc, GCS_CURSORPOS, nullptr, 0), 3);
    EXPECT_EQ(ImmGetCompositionStringW(himc, GCS_RESULTSTR, buf, sizeof buf), IMM_ERROR_NODATA);
    // The sweep's call finds no input method and allocates nothing: this one converts.
    for (DWORD index : { GCS_COMPSTR, GCS_COMPATTR, GCS_COMPCLAUSE, GCS_CURSORPOS }) {
        EXPECT_GT(SweepAllocationFailures([&](int k) {
            LONG r = ImmGetCompositionStringW(himc, index, buf, sizeof buf);
            EXPECT_TRUE(HeapAllocCalls() < k || r == IMM_ERROR_GENERAL) << k;
        }),
            0);
    }

    // What ImmSetCompositionStringA receives: the text in ANSI bytes.
    ImmSetCompositionStringW(himc, SCS_SETSTR, nullptr, 0, nullptr, 0);
    string set;
    TW_HOOK(setHook, ImmSetCompositionStringA,
        [&](HIMC, DWORD, LPVOID comp, DWORD bytes, LPVOID, DWORD) {
            set.assign(static_cast<const char*>(comp), bytes);
            return TRUE;
        });
    ASSERT_TRUE(ImmSetCompositionStringW(
        himc, SCS_SETSTR, const_cast<wchar_t*>(text.c_str()), DWORD(2 * text.size()), nullptr, 0));
    EXPECT_EQ(set, textA);
}

// Candidate lists are rebuilt with wide strings behind the same header.
TEST_F(InputTest, CandidateListsAreRebuilt)
{
    if (!ansi)
        GTEST_SKIP() << "the W path hands the input method's lists through";
    ImmGetCandidateListW(himc, 0, nullptr, 0); // bound before it is hooked
    const string first = ToAnsi(text);
    std::vector<BYTE> listA(sizeof(CANDIDATELIST) + 4 + first.size() + 3);
    auto* a = reinterpret_cast<CANDIDATELIST*>(listA.data());
    a->dwSize = DWORD(listA.size());
    a->dwStyle = IME_CAND_READ;
    a->dwCount = 2;
    a->dwSelection = 1;
    a->dwPageSize = 9;
    a->dwOffset[0] = sizeof(CANDIDATELIST) + 4;
    a->dwOffset[1] = DWORD(a->dwOffset[0] + first.size() + 1);
    memcpy(listA.data() + a->dwOffset[0], first.c_str(), first.size() + 1);
    memcpy(listA.data() + a->dwOffset[1], "b", 2);
    TW_HOOK(hook, ImmGetCandidateListA, [&](HIMC, DWORD, LPCANDIDATELIST to, DWORD size) -> DWORD {
        if (size)
            memcpy(to, listA.data(), std::min<size_t>(size, listA.size()));
        return DWORD(listA.size());
    });
    const DWORD size = ImmGetCandidateListW(himc, 0, nullptr, 0);
    EXPECT_EQ(size, sizeof(CANDIDATELIST) + 4 + 2 * (text.size() + 1) + 4);
    std::vector<BYTE> listW(size);
    EXPECT_EQ(0u,
        ImmGetCandidateListW(himc, 0, reinterpret_cast<CANDIDATELIST*>(listW.data()), size - 1));
    ASSERT_EQ(
        size, ImmGetCandidateListW(himc, 0, reinterpret_cast<CANDIDATELIST*>(listW.data()), size));
    auto* w = reinterpret_cast<CANDIDATELIST*>(listW.data());
    EXPECT_EQ(w->dwSize, size);
    EXPECT_EQ(w->dwCount, 2u);
    EXPECT_EQ(w->dwSelection, 1u);
    EXPECT_EQ(w->dwPageSize, 9u);
    EXPECT_EQ(wstring(reinterpret_cast<wchar_t*>(listW.data() + w->dwOffset[0])), text);
    EXPECT_EQ(wstring(reinterpret_cast<wchar_t*>(listW.data() + w->dwOffset[1])), L"b");
    // A list whose table claims more strings than it holds is refused.
    a->dwCount = 1000;
    EXPECT_EQ(0u, ImmGetCandidateListW(himc, 0, nullptr, 0));
}

} // namespace
