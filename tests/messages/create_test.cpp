// Creation messages moved across the wide/ANSI boundary.
#include <cstddef>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "torwen.h"
#include "user/test_window.h"

namespace {

// The record the handlers saw, its strings copied out (an atom as "#number").
CREATESTRUCTW seenRecord;
MDICREATESTRUCTW seenMDIRecord;
std::wstring seenName, seenClass;
int handled;
BOOL handlerAnswer;

std::wstring Keep(LPCWSTR s)
{
    return !s ? L"<null>" : IS_INTRESOURCE(s) ? L"#" + std::to_wstring(UINT_PTR(s)) : s;
}

BOOL CALLBACK OnCreate(HWND, LPCREATESTRUCTW cs)
{
    ++handled;
    seenRecord = *cs;
    seenName = Keep(cs->lpszName);
    seenClass = Keep(cs->lpszClass);
    return handlerAnswer;
}

HWND CALLBACK OnMDICreate(HWND, LPMDICREATESTRUCTW mcs)
{
    ++handled;
    seenMDIRecord = *mcs;
    seenName = Keep(mcs->szTitle);
    seenClass = Keep(mcs->szClass);
    return reinterpret_cast<HWND>(0xFFFFFFFE);
}

LRESULT CALLBACK Receiver(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam)
{
    switch (msg) {
    case WM_CREATE:
        return AtHANDLE_WM_CREATEW(hwnd, wParam, lParam, OnCreate);
    case WM_NCCREATE:
        return AtHANDLE_WM_NCCREATEW(hwnd, wParam, lParam, OnCreate);
    case WM_MDICREATE:
        return AtHANDLE_WM_MDICREATEW(hwnd, wParam, lParam, OnMDICreate);
    }
    return 0;
}

// A procedure of the ANSI path that keeps the strings it got and changes its record.
std::string ansiName;
int forwarded;

LRESULT CALLBACK ChangeAnsiRecord(HWND, UINT msg, WPARAM wParam, LPARAM lParam)
{
    ++forwarded;
    EXPECT_EQ(msg, UINT(WM_NCCREATE));
    EXPECT_EQ(wParam, 0u);
    auto a = reinterpret_cast<CREATESTRUCTA*>(lParam);
    ansiName = a->lpszName;
    a->lpszName = "changed";
    a->x = -1;
    return 0x6666;
}

LRESULT CALLBACK Count(HWND, UINT, WPARAM, LPARAM)
{
    ++forwarded;
    return 1;
}

CREATESTRUCTW MakeRecord(LPCWSTR name, LPCWSTR className)
{
    return {reinterpret_cast<LPVOID>(0xC0FFEE), reinterpret_cast<HINSTANCE>(0x1001),
            reinterpret_cast<HMENU>(0x1002), reinterpret_cast<HWND>(0x1003), 11, 12, 13, 14,
            0x50000000, name, className, 0x20};
}

class CreateMessagesTest : public harness::TorwenTest {
protected:
    void SetUp() override
    {
        harness::TorwenTest::SetUp();
        handled = forwarded = 0;
        handlerAnswer = TRUE;
    }
};

// Every field arrives; a class atom and a null name pass as they are; the handlers
// answer as the window manager expects.
TEST_F(CreateMessagesTest, RecordsRoundTripThroughForwarderAndHandler)
{
    const std::wstring name = L"Name " + harness::NonAsciiText();
    CREATESTRUCTW cs = MakeRecord(name.c_str(), L"Class");
    EXPECT_EQ(AtFORWARD_WM_CREATEW(nullptr, &cs, Receiver), 0);
    EXPECT_EQ(seenName, name);
    EXPECT_EQ(seenClass, L"Class");
    EXPECT_EQ(memcmp(&seenRecord, &cs, offsetof(CREATESTRUCTW, lpszName)), 0);
    EXPECT_EQ(seenRecord.dwExStyle, cs.dwExStyle);

    cs = MakeRecord(nullptr, MAKEINTATOM(0xC123));
    struct Case {
        BOOL handler;
        LRESULT create, ncCreate;
    };
    for (Case c : {Case{TRUE, 0, 1}, Case{5, 0, 1}, Case{FALSE, -1, 0}}) {
        handlerAnswer = c.handler;
        EXPECT_EQ(AtFORWARD_WM_CREATEW(nullptr, &cs, Receiver), c.create) << c.handler;
        EXPECT_EQ(AtFORWARD_WM_NCCREATEW(nullptr, &cs, Receiver), c.ncCreate) << c.handler;
        EXPECT_EQ(seenName, L"<null>");
        EXPECT_EQ(seenClass, L"#49443");
    }

    MDICREATESTRUCTW mcs = {MAKEINTATOM(0xC124), name.c_str(), reinterpret_cast<HANDLE>(0x2001),
                            21, 22, 23, 24, 0x00CF0000, 0x2005};
    EXPECT_EQ(AtFORWARD_WM_MDICREATEW(nullptr, &mcs, Receiver), LRESULT(0xFFFFFFFE))
        << "the handler's window, bit for bit";
    EXPECT_EQ(seenClass, L"#49444");
    EXPECT_EQ(seenName, name);
    EXPECT_EQ(memcmp(&seenMDIRecord.hOwner, &mcs.hOwner, sizeof mcs - 2 * sizeof(LPCWSTR)), 0);
}

TEST_F(CreateMessagesTest, ForwardingSendsAnAnsiCopyAndLeavesTheCallersRecord)
{
    if (!harness::AnsiPath())
        GTEST_SKIP() << "the W path hands the caller's own record on";
    const std::wstring name = L"Name " + harness::NonAsciiText();
    CREATESTRUCTW cs = MakeRecord(name.c_str(), L"Class");
    const CREATESTRUCTW before = cs;
    harness::HeapLog log;
    EXPECT_EQ(AtFORWARD_WM_NCCREATEW(nullptr, &cs, ChangeAnsiRecord), 0x6666);
    EXPECT_EQ(forwarded, 1);
    EXPECT_EQ(ansiName, harness::ToAnsi(name));
    EXPECT_EQ(memcmp(&cs, &before, sizeof cs), 0);
    EXPECT_EQ(log.allocationSizes(),
              (std::vector<SIZE_T>{harness::ToAnsi(name).size() + 1, sizeof "Class"}))
        << "the name is converted first";
    EXPECT_TRUE(log.freedInReverseOrder());
}

// A wide procedure of a real window cracks its creation, renames the window by
// forwarding a changed record to DefWindowProcW, or stops it.
TEST_F(CreateMessagesTest, WindowsCreatedThroughTheCrackers)
{
    const std::wstring title = L"Title " + harness::NonAsciiText();
    const std::wstring renamed = L"Renamed " + harness::NonAsciiText();
    TestWindow::handler = [&](HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) -> LRESULT {
        if (msg == WM_CREATE)
            return AtHANDLE_WM_CREATEW(hwnd, wParam, lParam, OnCreate);
        if (msg != WM_NCCREATE)
            return DefWindowProcW(hwnd, msg, wParam, lParam);
        AtHANDLE_WM_NCCREATEW(hwnd, wParam, lParam, OnCreate);
        EXPECT_EQ(seenName, title);
        CREATESTRUCTW changed = seenRecord;
        changed.lpszName = renamed.c_str();
        changed.lpszClass = TestWindow::className;
        return AtFORWARD_WM_NCCREATEW(hwnd, &changed, DefWindowProcW);
    };
    {
        TestWindow window(title.c_str());
        ASSERT_TRUE(window.hwnd);
        EXPECT_EQ(seenClass, TestWindow::className);
        EXPECT_EQ(TextOf(window.hwnd), renamed);
        handlerAnswer = FALSE;
        TestWindow::handler = [](HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) {
            if (msg == WM_CREATE)
                return AtHANDLE_WM_CREATEW(hwnd, wParam, lParam, OnCreate);
            return DefWindowProcW(hwnd, msg, wParam, lParam);
        };
        TestWindow refused(title.c_str());
        EXPECT_EQ(refused.hwnd, nullptr);
    }

    MdiClient client;
    MDICREATESTRUCTW mcs = {MdiClient::childClass, title.c_str(), GetModuleHandleW(nullptr),
                            CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, 0, 0};
    HWND child = reinterpret_cast<HWND>(AtFORWARD_WM_MDICREATEW(client.hwnd, &mcs, SendMessageW));
    ASSERT_TRUE(child);
    EXPECT_EQ(GetParent(child), client.hwnd);
    EXPECT_EQ(TextOf(child), title);
}

TEST_F(CreateMessagesTest, FailuresAnswerTheFailureValue)
{
    if (!harness::AnsiPath())
        GTEST_SKIP() << "the W path allocates nothing";
    CREATESTRUCTW cs = MakeRecord(L"Name", L"Class");
    MDICREATESTRUCTW mcs = {L"Class", L"Title", nullptr, 0, 0, 0, 0, 0, 0};
    CREATESTRUCTA csA = {};
    csA.lpszName = "Name";
    csA.lpszClass = "Class";
    MDICREATESTRUCTA mcsA = {"Class", "Title", nullptr, 0, 0, 0, 0, 0, 0};
    const LPARAM a = reinterpret_cast<LPARAM>(&csA), mdiA = reinterpret_cast<LPARAM>(&mcsA);
    const std::pair<LRESULT, std::function<LRESULT()>> members[] = {
        {0, [&] { return AtFORWARD_WM_CREATEW(nullptr, &cs, Count); }},
        {0, [&] { return AtFORWARD_WM_NCCREATEW(nullptr, &cs, Count); }},
        {0, [&] { return AtFORWARD_WM_MDICREATEW(nullptr, &mcs, Count); }},
        {-1, [&] { return AtHANDLE_WM_CREATEW(nullptr, 0, a, OnCreate); }},
        {0, [&] { return AtHANDLE_WM_NCCREATEW(nullptr, 0, a, OnCreate); }},
        {0, [&] { return AtHANDLE_WM_MDICREATEW(nullptr, 0, mdiA, OnMDICreate); }},
    };
    for (const auto& [failure, call] : members) {
        EXPECT_EQ(harness::SweepAllocationFailures([&](int k) {
            forwarded = handled = 0;
            SetLastError(0);
            LRESULT r = call();
            if (harness::HeapAllocCalls() < k)
                return;
            EXPECT_EQ(r, failure);
            EXPECT_EQ(forwarded + handled, 0) << "nothing is called";
            EXPECT_EQ(GetLastError(), DWORD(ERROR_OUTOFMEMORY));
        }), 2);
    }
}

}  // namespace
