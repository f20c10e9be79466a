// Creation messages moved across the wide/ANSI boundary.
#include <functional>
#include <string>
#include <vector>

#include "harness/harness.h"
#include "torwen.h"
#include "user/test_window.h"

namespace {

// The record the handlers saw, with its strings copied out.
struct Seen {
    int calls = 0;
    CREATESTRUCTW cs = {};
    MDICREATESTRUCTW mcs = {};
    std::wstring name, className;
    bool nameNull = false;
} seen;

BOOL handlerAnswer;
HWND mdiAnswer;

void Keep(LPCWSTR s, std::wstring& text, bool* wasNull = nullptr)
{
    if (wasNull)
        *wasNull = !s;
    text = !s ? L"" : IS_INTRESOURCE(s) ? L"#" + std::to_wstring(UINT_PTR(s)) : s;
}

BOOL CALLBACK OnCreate(HWND, LPCREATESTRUCTW cs)
{
    ++seen.calls;
    seen.cs = *cs;
    Keep(cs->lpszName, seen.name, &seen.nameNull);
    Keep(cs->lpszClass, seen.className);
    return handlerAnswer;
}

HWND CALLBACK OnMDICreate(HWND, LPMDICREATESTRUCTW mcs)
{
    ++seen.calls;
    seen.mcs = *mcs;
    Keep(mcs->szClass, seen.className);
    Keep(mcs->szTitle, seen.name);
    return mdiAnswer;
}

// A receiving procedure cracking every creation message; it answers what the
// handler exports answer.
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

// What a forwarding function received.
std::vector<std::pair<UINT, WPARAM>> calls;
CREATESTRUCTA ansiSeen;
std::string ansiNameSeen, ansiClassSeen;

LRESULT CALLBACK Record(HWND, UINT msg, WPARAM wParam, LPARAM lParam)
{
    calls.emplace_back(msg, wParam);
    if (harness::AnsiPath() && msg != WM_MDICREATE) {
        auto a = reinterpret_cast<CREATESTRUCTA*>(lParam);
        ansiSeen = *a;
        ansiNameSeen = a->lpszName;
        ansiClassSeen = a->lpszClass;
        // Changes to the copy stay in the copy.
        a->lpszName = "changed";
        a->x = -1;
    }
    return 0x6666;
}

CREATESTRUCTW MakeRecord(LPCWSTR name, LPCWSTR className)
{
    CREATESTRUCTW cs;
    cs.lpCreateParams = reinterpret_cast<LPVOID>(0xC0FFEE);
    cs.hInstance = reinterpret_cast<HINSTANCE>(0x1001);
    cs.hMenu = reinterpret_cast<HMENU>(0x1002);
    cs.hwndParent = reinterpret_cast<HWND>(0x1003);
    cs.cy = 11;
    cs.cx = 12;
    cs.y = 13;
    cs.x = 14;
    cs.style = 0x50000000;
    cs.lpszName = name;
    cs.lpszClass = className;
    cs.dwExStyle = 0x20;
    return cs;
}

class CreateMessagesTest : public harness::TorwenTest {
protected:
    void SetUp() override
    {
        harness::TorwenTest::SetUp();
        seen = Seen();
        calls.clear();
        handlerAnswer = TRUE;
        mdiAnswer = nullptr;
    }
};

TEST_F(CreateMessagesTest, CreateRecordRoundTripsThroughForwarderAndHandler)
{
    const std::wstring name = L"Name " + harness::NonAsciiText();
    for (LPCWSTR className : {LPCWSTR(L"Class"), LPCWSTR(MAKEINTATOM(0xC123))}) {
        CREATESTRUCTW cs = MakeRecord(name.c_str(), className);
        for (UINT msg : {UINT(WM_CREATE), UINT(WM_NCCREATE)}) {
            seen = Seen();
            LRESULT r = msg == WM_CREATE ? AtFORWARD_WM_CREATEW(nullptr, &cs, Receiver)
                                         : AtFORWARD_WM_NCCREATEW(nullptr, &cs, Receiver);
            EXPECT_EQ(r, msg == WM_CREATE ? 0 : 1);
            ASSERT_EQ(seen.calls, 1);
            EXPECT_EQ(seen.name, name);
            EXPECT_EQ(seen.className, IS_INTRESOURCE(className) ? L"#49443" : L"Class")
                << "a class atom passes as it is";
            const CREATESTRUCTW& w = seen.cs;
            EXPECT_EQ(w.lpCreateParams, cs.lpCreateParams) << "passed bit for bit";
            EXPECT_EQ(w.hInstance, cs.hInstance);
            EXPECT_EQ(w.hMenu, cs.hMenu);
            EXPECT_EQ(w.hwndParent, cs.hwndParent);
            EXPECT_EQ(w.cy, 11);
            EXPECT_EQ(w.cx, 12);
            EXPECT_EQ(w.y, 13);
            EXPECT_EQ(w.x, 14);
            EXPECT_EQ(w.style, cs.style);
            EXPECT_EQ(w.dwExStyle, cs.dwExStyle);
        }
    }

    CREATESTRUCTW unnamed = MakeRecord(nullptr, L"Class");
    AtFORWARD_WM_CREATEW(nullptr, &unnamed, Receiver);
    EXPECT_TRUE(seen.nameNull) << "a null name stays null";
}

TEST_F(CreateMessagesTest, HandlersAnswerAsTheWindowManagerExpects)
{
    CREATESTRUCTW cs = MakeRecord(L"n", L"c");
    struct Case {
        BOOL handler;
        LRESULT create, ncCreate;
    };
    for (Case c : {Case{TRUE, 0, 1}, Case{5, 0, 1}, Case{FALSE, -1, 0}}) {
        handlerAnswer = c.handler;
        // On the W path the message carries the wide record itself; on the ANSI path the
        // forwarder makes the ANSI one the handler expects.
        EXPECT_EQ(AtFORWARD_WM_CREATEW(nullptr, &cs, Receiver), c.create) << c.handler;
        EXPECT_EQ(AtFORWARD_WM_NCCREATEW(nullptr, &cs, Receiver), c.ncCreate) << c.handler;
    }

    MDICREATESTRUCTW mcs = {L"c", L"t", nullptr, 0, 0, 0, 0, 0, 0};
    mdiAnswer = reinterpret_cast<HWND>(0xFFFFFFFE);
    EXPECT_EQ(AtFORWARD_WM_MDICREATEW(nullptr, &mcs, Receiver), LRESULT(0xFFFFFFFE));
}

TEST_F(CreateMessagesTest, MDIRecordRoundTripsThroughForwarderAndHandler)
{
    const std::wstring title = L"Title " + harness::NonAsciiText();
    for (LPCWSTR className : {LPCWSTR(L"Child"), LPCWSTR(MAKEINTATOM(0xC124))}) {
        seen = Seen();
        MDICREATESTRUCTW mcs;
        mcs.szClass = className;
        mcs.szTitle = title.c_str();
        mcs.hOwner = reinterpret_cast<HANDLE>(0x2001);
        mcs.x = 21;
        mcs.y = 22;
        mcs.cx = 23;
        mcs.cy = 24;
        mcs.style = 0x00CF0000;
        mcs.lParam = 0x2005;
        mdiAnswer = reinterpret_cast<HWND>(0x12345678);
        EXPECT_EQ(AtFORWARD_WM_MDICREATEW(nullptr, &mcs, Receiver), 0x12345678);
        ASSERT_EQ(seen.calls, 1);
        EXPECT_EQ(seen.className, IS_INTRESOURCE(className) ? L"#49444" : L"Child");
        EXPECT_EQ(seen.name, title);
        EXPECT_EQ(seen.mcs.hOwner, mcs.hOwner);
        EXPECT_EQ(seen.mcs.x, 21);
        EXPECT_EQ(seen.mcs.y, 22);
        EXPECT_EQ(seen.mcs.cx, 23);
        EXPECT_EQ(seen.mcs.cy, 24);
        EXPECT_EQ(seen.mcs.style, mcs.style);
        EXPECT_EQ(seen.mcs.lParam, mcs.lParam);
    }
}

TEST_F(CreateMessagesTest, ForwardingSendsAnAnsiCopyAndLeavesTheCallersRecord)
{
    if (!harness::AnsiPath())
        GTEST_SKIP() << "the W path hands the caller's own record on";
    const std::wstring name = L"Name " + harness::NonAsciiText();
    CREATESTRUCTW cs = MakeRecord(name.c_str(), L"Class");
    const CREATESTRUCTW before = cs;
    harness::HeapLog log;
    EXPECT_EQ(AtFORWARD_WM_NCCREATEW(nullptr, &cs, Record), 0x6666) << "the procedure's answer";
    // The name is converted first and freed last.
    EXPECT_EQ(log.allocationSizes(),
              (std::vector<SIZE_T>{harness::ToAnsi(name).size() + 1, sizeof "Class"}));
    EXPECT_TRUE(log.freedInReverseOrder());
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0], std::make_pair(UINT(WM_NCCREATE), WPARAM(0)));
    EXPECT_EQ(ansiNameSeen, harness::ToAnsi(name));
    EXPECT_EQ(ansiClassSeen, "Class");
    EXPECT_EQ(ansiSeen.lpCreateParams, cs.lpCreateParams);
    EXPECT_EQ(cs.lpszName, before.lpszName);
    EXPECT_EQ(cs.x, before.x);
}

// A wide procedure of a real window cracks its creation messages, and renames the
// window by forwarding a changed record to DefWindowProcW.
TEST_F(CreateMessagesTest, WindowProcedureSeesItsCreationInWideForm)
{
    const std::wstring title = L"Title " + harness::NonAsciiText();
    const std::wstring renamed = L"Renamed " + harness::NonAsciiText();
    std::vector<std::wstring> names;
    TestWindow::handler = [&](HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) -> LRESULT {
        if (msg == WM_NCCREATE) {
            AtHANDLE_WM_NCCREATEW(hwnd, wParam, lParam, OnCreate);
            names.push_back(seen.name);
            CREATESTRUCTW changed = seen.cs;
            changed.lpszName = renamed.c_str();
            changed.lpszClass = TestWindow::className;
            return AtFORWARD_WM_NCCREATEW(hwnd, &changed, DefWindowProcW);
        }
        if (msg == WM_CREATE) {
            LRESULT r = AtHANDLE_WM_CREATEW(hwnd, wParam, lParam, OnCreate);
            names.push_back(seen.className);
            return r;
        }
        return DefWindowProcW(hwnd, msg, wParam, lParam);
    };
    {
        TestWindow window(title.c_str());
        ASSERT_TRUE(window.hwnd);
        EXPECT_EQ(names, (std::vector<std::wstring>{title, TestWindow::className}));
        WCHAR buf[64];
        EXPECT_EQ(GetWindowTextW(window.hwnd, buf, 64), int(renamed.size()));
        EXPECT_EQ(std::wstring(buf), renamed);
    }

    // A handler answering FALSE to WM_CREATE stops the creation.
    handlerAnswer = FALSE;
    TestWindow::handler = [](HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) -> LRESULT {
        if (msg == WM_CREATE)
            return AtHANDLE_WM_CREATEW(hwnd, wParam, lParam, OnCreate);
        return DefWindowProcW(hwnd, msg, wParam, lParam);
    };
    TestWindow refused(title.c_str());
    EXPECT_EQ(refused.hwnd, nullptr);
}

TEST_F(CreateMessagesTest, MDIChildIsCreatedFromAWideRecord)
{
    MdiClient client;
    ASSERT_TRUE(client.hwnd);
    const std::wstring title = L"Child " + harness::NonAsciiText();
    MDICREATESTRUCTW mcs = {MdiClient::childClass, title.c_str(), GetModuleHandleW(nullptr),
                            CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, 0, 0};
    HWND child = reinterpret_cast<HWND>(AtFORWARD_WM_MDICREATEW(client.hwnd, &mcs, SendMessageW));
    ASSERT_TRUE(child);
    EXPECT_EQ(GetParent(child), client.hwnd);
    WCHAR buf[64];
    EXPECT_EQ(GetWindowTextW(child, buf, 64), int(title.size()));
    EXPECT_EQ(std::wstring(buf), title);
}

TEST_F(CreateMessagesTest, AllocationFailureAnswersTheFailureValue)
{
    if (!harness::AnsiPath())
        GTEST_SKIP() << "the W path allocates nothing";
    const std::wstring name = harness::NonAsciiText();
    CREATESTRUCTW cs = MakeRecord(name.c_str(), L"Class");
    MDICREATESTRUCTW mcs = {L"Class", name.c_str(), nullptr, 0, 0, 0, 0, 0, 0};
    CREATESTRUCTA csA = {};
    csA.lpszName = "Name";
    csA.lpszClass = "Class";
    MDICREATESTRUCTA mcsA = {"Class", "Title", nullptr, 0, 0, 0, 0, 0, 0};
    mdiAnswer = reinterpret_cast<HWND>(0x7777);
    auto failed = [](int k) { return harness::HeapAllocCalls() >= k; };
    auto sweep = [&](LRESULT failure, const std::function<LRESULT()>& call) {
        return harness::SweepAllocationFailures([&](int k) {
            calls.clear();
            seen.calls = 0;
            SetLastError(0);
            LRESULT r = call();
            if (!failed(k))
                return;
            EXPECT_EQ(r, failure);
            EXPECT_TRUE(calls.empty());
            EXPECT_EQ(seen.calls, 0);
            EXPECT_EQ(GetLastError(), DWORD(ERROR_OUTOFMEMORY));
        });
    };
    EXPECT_EQ(sweep(0, [&] { return AtFORWARD_WM_CREATEW(nullptr, &cs, Record); }), 2);
    EXPECT_EQ(sweep(0, [&] { return AtFORWARD_WM_NCCREATEW(nullptr, &cs, Record); }), 2);
    EXPECT_EQ(sweep(0, [&] { return AtFORWARD_WM_MDICREATEW(nullptr, &mcs, Record); }), 2);
    const LPARAM ansiRecord = reinterpret_cast<LPARAM>(&csA);
    const LPARAM ansiMDIRecord = reinterpret_cast<LPARAM>(&mcsA);
    EXPECT_EQ(sweep(-1, [&] { return AtHANDLE_WM_CREATEW(nullptr, 0, ansiRecord, OnCreate); }), 2);
    EXPECT_EQ(sweep(0, [&] { return AtHANDLE_WM_NCCREATEW(nullptr, 0, ansiRecord, OnCreate); }), 2);
    EXPECT_EQ(sweep(0, [&] { return AtHANDLE_WM_MDICREATEW(nullptr, 0, ansiMDIRecord, OnMDICreate); }),
              2);
}

}  // namespace
