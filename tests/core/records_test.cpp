// The record converters: which fields they carry, which they force and which they
// leave as the destination held them.
#include "core/records.h"
#include "harness/harness.h"

#include <cstddef>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

namespace
{

using harness::CodePage;

constexpr unsigned char Canary = 0xCC;

// A record buffer of `size` bytes plus a canary tail, prefilled with the canary.
struct Buffer {
    explicit Buffer(std::size_t size)
        : bytes(size + 64, Canary)
    {
    }
    template <typename T> T* as() { return reinterpret_cast<T*>(bytes.data()); }
    bool untouchedFrom(std::size_t from, std::size_t to) const
    {
        for (std::size_t i = from; i < to; ++i)
            if (bytes[i] != Canary)
                return false;
        return true;
    }
    std::vector<unsigned char> bytes;
};

// Every byte of the source a distinct value, the name fields then set to text.
template <typename T> void Pattern(T* p, std::size_t size)
{
    auto* b = reinterpret_cast<unsigned char*>(p);
    for (std::size_t i = 0; i < size; ++i)
        b[i] = static_cast<unsigned char>(i * 7 + 3);
}

// The numeric fields both forms share, from dmSpecVersion on (the display position
// lies in the 13 words from dmOrientation).
template <typename A, typename B> void ExpectSameFields(const A* a, const B* b, const char* direction)
{
    EXPECT_EQ(std::tie(a->dmSpecVersion, a->dmDriverVersion, a->dmFields, a->dmLogPixels),
        std::tie(b->dmSpecVersion, b->dmDriverVersion, b->dmFields, b->dmLogPixels))
        << direction;
    EXPECT_EQ(0, memcmp(&a->dmOrientation, &b->dmOrientation, 13 * sizeof(WORD))) << direction;
    EXPECT_EQ(0, memcmp(&a->dmBitsPerPel, &b->dmBitsPerPel, 9 * sizeof(DWORD))) << direction;
}

// The private bytes sit right after 212 or 148 bytes, whatever a larger dmSize says;
// dmSize is forced; dmDriverExtra travels unchanged; the reserved pair stays unwritten.
TEST(RecordsTest, DevModesCarryTheirFieldsAndPrivateBytes)
{
    const struct {
        WORD size; // the source's dmSize
        WORD extra; // its dmDriverExtra
    } cases[] = { { 212, 0 }, { 212, 5 }, { 220, 16 } };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.size << " + " << c.extra);
        // Wide to ANSI, from a source of 220 + extra bytes (room for any dmSize above).
        Buffer src(220 + c.extra), dst(148 + c.extra), back(212 + c.extra);
        auto* w = src.as<DEVMODEW>();
        Pattern(w, 220 + c.extra);
        wcscpy(reinterpret_cast<WCHAR*>(w->dmDeviceName), L"Printer");
        wcscpy(reinterpret_cast<WCHAR*>(w->dmFormName), L"A4");
        w->dmSize = c.size;
        w->dmDriverExtra = c.extra;
        auto* a = dst.as<DEVMODEA>();
        EXPECT_EQ(AtDevModeWToA(a, w), a);
        EXPECT_STREQ(reinterpret_cast<char*>(a->dmDeviceName), "Printer");
        EXPECT_STREQ(reinterpret_cast<char*>(a->dmFormName), "A4");
        EXPECT_EQ(std::tie(a->dmSize, a->dmDriverExtra), std::make_tuple(WORD(148), c.extra));
        ExpectSameFields(a, w, "to ANSI");
        EXPECT_TRUE(dst.untouchedFrom(offsetof(DEVMODEA, dmReserved1), offsetof(DEVMODEA, dmReserved2) + 4));
        EXPECT_EQ(0, memcmp(dst.bytes.data() + 148, src.bytes.data() + 212, c.extra));
        EXPECT_TRUE(dst.untouchedFrom(148 + c.extra, dst.bytes.size())) << "past the record";

        // And back: the private bytes from byte 148 to byte 212.
        auto* w2 = back.as<DEVMODEW>();
        EXPECT_EQ(AtDevModeAToW(a, w2), w2);
        EXPECT_STREQ(reinterpret_cast<WCHAR*>(w2->dmDeviceName), L"Printer");
        EXPECT_STREQ(reinterpret_cast<WCHAR*>(w2->dmFormName), L"A4");
        EXPECT_EQ(std::tie(w2->dmSize, w2->dmDriverExtra), std::make_tuple(WORD(212), c.extra));
        ExpectSameFields(w2, w, "back");
        EXPECT_TRUE(back.untouchedFrom(offsetof(DEVMODEW, dmReserved1), offsetof(DEVMODEW, dmReserved2) + 4));
        EXPECT_EQ(0, memcmp(back.bytes.data() + 212, src.bytes.data() + 212, c.extra));
        EXPECT_TRUE(back.untouchedFrom(212 + c.extra, back.bytes.size())) << "past the record";
    }
}

// An older, shorter wide record is read only to its dmSize (it ends at a no-access
// page): the fields it lacks convert as zero, its private bytes follow it.
TEST(RecordsTest, ShorterWideDevModeIsReadToItsSize)
{
    harness::GuardPage guard;
    for (WORD size : {WORD(188), WORD(156), WORD(148)}) {
        const WORD extra = 3;
        auto* bytes = guard.End<unsigned char>(size + extra);
        Pattern(bytes, size + extra);
        auto* w = reinterpret_cast<DEVMODEW*>(bytes);
        wcscpy(reinterpret_cast<WCHAR*>(w->dmDeviceName), L"Printer");
        w->dmSize = size;
        w->dmDriverExtra = extra;
        Buffer dst(148 + extra);
        auto* a = dst.as<DEVMODEA>();
        EXPECT_EQ(AtDevModeWToA(a, w), a);
        EXPECT_STREQ(reinterpret_cast<char*>(a->dmDeviceName), "Printer");
        EXPECT_EQ(a->dmSize, 148);
        EXPECT_EQ(0, memcmp(&a->dmOrientation, &w->dmOrientation, 13 * sizeof(WORD)));
        EXPECT_EQ(a->dmDisplayFrequency, size > offsetof(DEVMODEW, dmDisplayFrequency) ? w->dmDisplayFrequency : 0u) << size;
        EXPECT_EQ(a->dmDitherType, 0u) << size;
        EXPECT_EQ(0, memcmp(dst.bytes.data() + 148, bytes + size, extra)) << size;
    }
}

// The character fields convert one byte each: a lead byte of a double-byte code page
// does not convert alone and leaves the wide field as it was (Wine converts a lone
// lead byte to U+30FB, so there the field takes what the platform makes of the byte
// alone). The bytes after tmCharSet are not written.
TEST(RecordsTest, TextMetricsConvertEachCharacterAlone)
{
    const struct {
        BYTE byte;
        WCHAR in1252, in932; // 0: the destination keeps its value
    } cases[] = { { 'A', L'A', L'A' }, { 0x20, 0x20, 0x20 }, { 0xE9, 0xE9, 0 }, { 0x88, 0x02C6, 0 },
        { 0xB1, 0xB1, 0xFF71 } };
    for (const auto& c : cases) {
        TEXTMETRICA a;
        Pattern(&a, sizeof a);
        a.tmFirstChar = a.tmLastChar = a.tmDefaultChar = a.tmBreakChar = c.byte;
        Buffer dst(sizeof(TEXTMETRICW));
        auto* w = dst.as<TEXTMETRICW>();
        EXPECT_EQ(AtTextMetricAToW(&a, w), w);
        const WCHAR kept = WCHAR(Canary << 8 | Canary);
        WCHAR expected = CodePage() == 932 ? c.in932 : c.in1252;
        if (!expected) {
            expected = kept;
            MultiByteToWideChar(CP_ACP, 0, reinterpret_cast<const char*>(&c.byte), 1, &expected, 1);
        }
        for (WCHAR field : { w->tmFirstChar, w->tmLastChar, w->tmDefaultChar, w->tmBreakChar })
            EXPECT_EQ(field, expected) << int(c.byte);
        EXPECT_EQ(0, memcmp(w, &a, offsetof(TEXTMETRICA, tmFirstChar)));
        EXPECT_EQ(std::tie(w->tmItalic, w->tmUnderlined, w->tmStruckOut, w->tmPitchAndFamily, w->tmCharSet),
            std::tie(a.tmItalic, a.tmUnderlined, a.tmStruckOut, a.tmPitchAndFamily, a.tmCharSet));
        EXPECT_TRUE(dst.untouchedFrom(offsetof(TEXTMETRICW, tmCharSet) + 1, dst.bytes.size()));
    }

    // The enumeration forms: the metrics, the four counts, the signature words.
    NEWTEXTMETRICEXA a;
    Pattern(&a, sizeof a);
    a.ntmTm.tmDefaultChar = 'x';
    Buffer dst(sizeof(NEWTEXTMETRICEXW));
    auto* w = dst.as<NEWTEXTMETRICEXW>();
    EXPECT_EQ(AtNewTextMetricExAToW(&a, w), w);
    EXPECT_EQ(w->ntmTm.tmDefaultChar, L'x');
    EXPECT_EQ(std::tie(w->ntmTm.tmHeight, w->ntmTm.ntmFlags, w->ntmTm.ntmSizeEM, w->ntmTm.ntmCellHeight,
                  w->ntmTm.ntmAvgWidth),
        std::tie(a.ntmTm.tmHeight, a.ntmTm.ntmFlags, a.ntmTm.ntmSizeEM, a.ntmTm.ntmCellHeight, a.ntmTm.ntmAvgWidth));
    EXPECT_EQ(0, memcmp(&w->ntmFontSig, &a.ntmFontSig, sizeof a.ntmFontSig));
    EXPECT_TRUE(dst.untouchedFrom(sizeof(NEWTEXTMETRICEXW), dst.bytes.size()));
}

// AtLogFontAToW answers its source, every other converter its destination. A face
// name that fills its field without a terminator is read only within the record.
TEST(RecordsTest, FontDescriptionsStayWithinTheirNames)
{
    harness::GuardPage guard;
    const std::wstring text = harness::NonAsciiText();
    const struct {
        std::wstring face; // 32 characters: no terminator in the record
        std::string faceA; // what the ANSI record holds
    } cases[] = {
        { L"Arial", "Arial" }, { text, harness::ToAnsi(text) },
        { std::wstring(32, L'F'), std::string(31, 'F') }, // cut before the record's end
    };
    for (const auto& c : cases) {
        // The wide record ends at a no-access page, so reading past its name faults.
        LOGFONTW* w = guard.End<LOGFONTW>(1);
        *w = { -13, 0, 0, 0, 700, 1, 0, 0, 0x80, 0, 0, 0, 0x31, {} };
        memcpy(w->lfFaceName, c.face.data(),
            std::min<std::size_t>(c.face.size() + 1, 32) * sizeof(WCHAR));
        LOGFONTA a;
        memset(&a, Canary, sizeof a);
        EXPECT_EQ(AtLogFontWToA(&a, w), &a);
        EXPECT_EQ(0, memcmp(&a, w, offsetof(LOGFONTA, lfFaceName)));
        EXPECT_EQ(std::string(a.lfFaceName, strnlen(a.lfFaceName, 32)), c.faceA);

        LOGFONTW back;
        EXPECT_EQ(AtLogFontAToW(&a, &back), &a);
        EXPECT_EQ(0, memcmp(&back, w, offsetof(LOGFONTW, lfFaceName)));
        EXPECT_EQ(std::wstring(back.lfFaceName), harness::FromAnsi(c.faceA));
    }

    // An ANSI name of 32 bytes, at a no-access page: 32 wide characters, no terminator.
    LOGFONTA* a = guard.End<LOGFONTA>(1);
    memset(a, 'G', sizeof *a);
    LOGFONTW w;
    memset(&w, Canary, sizeof w);
    AtLogFontAToW(a, &w);
    EXPECT_EQ(std::wstring(w.lfFaceName, 32), std::wstring(32, L'G'));

    // The enumeration record: the font, then the three names.
    ENUMLOGFONTEXA ea;
    memset(&ea, 0, sizeof ea);
    ea.elfLogFont.lfHeight = 11;
    strcpy(ea.elfLogFont.lfFaceName, "Face");
    strcpy(reinterpret_cast<char*>(ea.elfFullName), harness::ToAnsi(text + L" Bold").c_str());
    strcpy(reinterpret_cast<char*>(ea.elfStyle), "Bold");
    strcpy(reinterpret_cast<char*>(ea.elfScript), "Western");
    ENUMLOGFONTEXW ew;
    EXPECT_EQ(AtEnumLogFontExAToW(&ea, &ew), &ew);
    EXPECT_EQ(ew.elfLogFont.lfHeight, 11);
    EXPECT_STREQ(ew.elfLogFont.lfFaceName, L"Face");
    EXPECT_EQ(std::wstring(reinterpret_cast<WCHAR*>(ew.elfFullName)), text + L" Bold");
    EXPECT_STREQ(reinterpret_cast<WCHAR*>(ew.elfStyle), L"Bold");
    EXPECT_STREQ(reinterpret_cast<WCHAR*>(ew.elfScript), L"Western");
}

} // namespace
