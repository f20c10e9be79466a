// Directory listings in list boxes and combo boxes, and the dialog's directory list.
//
// On the ANSI platforms the listing is built here from FindFirstFileA and
// FindNextFileA rather than by LB_DIR or CB_DIR, and gives what those messages give:
//   - a file matching the pattern by its name; with DDL_EXCLUSIVE only a file whose
//     read-only, hidden, system and archive attributes are exactly those of the
//     flags; without it every file;
//   - with DDL_DIRECTORY a directory matching the pattern as "[name]" ("." is left
//     out, ".." is not);
//   - with DDL_DRIVES each drive as "[-x-]", after the rest; DDL_DRIVES with
//     DDL_EXCLUSIVE and nothing else lists the drives alone.
// Each entry goes where the list keeps its files, directories and drives in that
// order: files and directories by their names compared without case, drives by
// their letters. The answer is the highest index an entry ended up at (the last
// drive's when drives were listed), LB_ERR when nothing was added or the directory
// could not be read, LB_ERRSPACE when the list is full.
#include "core/core.h"

// Without SendMessage the listing answers LB_ERR, as when the list refuses.
AT_SYSTEM_FUNCTION(user32, SendMessageW, LB_ERR)
AT_SYSTEM_FUNCTION(user32, SendMessageA, LB_ERR)
#include "controls/controls.h"

AT_SYSTEM_FUNCTION(user32, GetDlgItem, 0)
AT_SYSTEM_FUNCTION(user32, SetWindowTextA, FALSE)
AT_SYSTEM_FUNCTION(user32, CharUpperA, 0)
AT_SYSTEM_FUNCTION(user32, CharLowerA, 0)
AT_SYSTEM_FUNCTION(user32, DlgDirListW, 0)

namespace
{

constexpr UINT FileAttributesListed = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN
    | FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_ARCHIVE;
constexpr int EntryRoom = MAX_PATH + 3; // a name in brackets

// The messages of one kind of list.
struct ListMessages {
    UINT count, getTextLen, getText, insert, dir;
};
constexpr ListMessages ListBox
    = { LB_GETCOUNT, LB_GETTEXTLEN, LB_GETTEXT, LB_INSERTSTRING, LB_DIR };
constexpr ListMessages ComboBox
    = { CB_GETCOUNT, CB_GETLBTEXTLEN, CB_GETLBTEXT, CB_INSERTSTRING, CB_DIR };

enum EntryKind { File, Directory, Drive };

EntryKind KindOf(const char* entry)
{
    if (entry[0] != '[')
        return File;
    return entry[1] == '-' ? Drive : Directory;
}

// The order the list keeps: files, then directories, then drives.
int CompareEntries(const char* a, const char* b)
{
    EntryKind ka = KindOf(a), kb = KindOf(b);
    if (ka != kb)
        return ka < kb ? -1 : 1;
    if (ka == Drive)
        return static_cast<BYTE>(a[2]) - static_cast<BYTE>(b[2]);
    return lstrcmpiA(a, b);
}

class Listing
{
public:
    Listing(HWND hwnd, const ListMessages& msg)
        : hwnd(hwnd)
        , msg(msg)
    {
    }

    // Where an entry goes among the entries the list holds: found by halving, as
    // the list's own order allows.
    int positionOf(const char* entry)
    {
        int low = 0, high = static_cast<int>(AtSendA(hwnd, msg.count, 0, 0));
        while (low < high) {
            int middle = (low + high) / 2;
            int c = CompareEntries(entry, itemText(middle));
            if (c == 0)
                return middle;
            if (c < 0)
                high = middle;
            else
                low = middle + 1;
        }
        return high;
    }

    // Adds an entry in its place; false when the list refuses it (no room).
    bool add(const char* entry, int position)
    {
        LRESULT index = AtSendA(hwnd, msg.insert, position, reinterpret_cast<LPARAM>(entry));
        if (index < 0) {
            result = index;
            return false;
        }
        // An entry placed at or before the highest one moves that one down.
        result = index <= result ? result + 1 : index;
        return true;
    }

    bool add(const char* entry) { return add(entry, positionOf(entry)); }

    LRESULT result = LB_ERR;

private:
    const char* itemText(int index)
    {
        AtFreeString(item);
        LRESULT length = AtSendA(hwnd, msg.getTextLen, index, 0);
        AtAllocEmptyAnsiOut(item, static_cast<DWORD>(length < 0 ? 0 : length) + 1);
        AtSendA(hwnd, msg.getText, index, reinterpret_cast<LPARAM>(item.value));
        return item;
    }

    HWND hwnd;
    const ListMessages& msg;
    AtStringSlot item;
};

bool Listed(const WIN32_FIND_DATAA& found, UINT attrs)
{
    if (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)
        return (attrs & DDL_DIRECTORY) && lstrcmpA(found.cFileName, ".") != 0;
    return !(attrs & DDL_EXCLUSIVE)
        || (attrs & FileAttributesListed) == (found.dwFileAttributes & FileAttributesListed);
}

// A search closed however the listing ends, also when a failed allocation unwinds it.
class Search {
public:
    Search(LPCSTR pathPattern, WIN32_FIND_DATAA& found) : handle(FindFirstFileA(pathPattern, &found)) {}
    ~Search()
    {
        if (handle != INVALID_HANDLE_VALUE)
            FindClose(handle);
    }
    Search(const Search&) = delete;
    Search& operator=(const Search&) = delete;

    HANDLE handle;
};

LRESULT ListDirectory(HWND hwnd, const ListMessages& msg, UINT attrs, LPCSTR pathPattern)
{
    Listing list(hwnd, msg);
    if (attrs != (DDL_DRIVES | DDL_EXCLUSIVE)) {
        WIN32_FIND_DATAA found;
        Search search(pathPattern, found);
        if (search.handle == INVALID_HANDLE_VALUE) {
            DWORD error = GetLastError();
            if (error != ERROR_FILE_NOT_FOUND && error != ERROR_NO_MORE_FILES)
                return LB_ERR;
        } else {
            bool room = true;
            do {
                if (!Listed(found, attrs))
                    continue;
                char entry[EntryRoom] = "";
                bool directory = found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY;
                lstrcatA(entry, directory ? "[" : "");
                lstrcatA(entry, found.cFileName);
                lstrcatA(entry, directory ? "]" : "");
                room = list.add(entry);
            } while (room && FindNextFileA(search.handle, &found));
            if (!room)
                return list.result;
        }
    }
    if (attrs & DDL_DRIVES) {
        char root[] = "A:\\";
        char entry[] = "[-a-]";
        for (; root[0] <= 'Z'; ++root[0], ++entry[2]) {
            if (GetDriveTypeA(root) > DRIVE_NO_ROOT_DIR && !list.add(entry, -1))
                break;
        }
    }
    return list.result;
}

int DirectoryListW(HWND hwnd, const ListMessages& msg, UINT attrs, LPCWSTR pathPattern)
{
    return AtExport(Sys::SendMessageW, hwnd, msg.dir, WPARAM(attrs), reinterpret_cast<LPARAM>(pathPattern))
        .orAnsiWithoutSavedError(
            LB_ERR, [=] { return ListDirectory(hwnd, msg, attrs, AtAnsiTemp(pathPattern)); });
}

// The next character of the code page. Paths are walked with kernel32's lead-byte
// test: the walk needs no function bound from another DLL, so it always ends.
template <typename Char> Char* NextChar(Char* s)
{
    if (IsDBCSLeadByte(static_cast<BYTE>(*s)) && s[1])
        return s + 2;
    return *s ? s + 1 : s;
}

bool HasWildcard(const char* s)
{
    for (; *s; s = NextChar(s))
        if (*s == '*' || *s == '?')
            return true;
    return false;
}

// Where the file pattern starts: after the last separator or drive colon.
char* PatternOf(char* pathPattern)
{
    char* pattern = pathPattern;
    for (char* p = pathPattern; *p; p = NextChar(p))
        if (*p == '\\' || *p == '/' || *p == ':')
            pattern = p + 1;
    return pattern;
}

// A path pattern splits into a directory, which becomes the current one, and a
// file pattern, which is written back upper-cased. A pattern without
// wildcards names a directory and lists everything in it ("*"). False when the
// directory does not exist.
bool EnterDirectory(char* pathPattern, char* pattern)
{
    if (!HasWildcard(pathPattern)) {
        if (pathPattern[0] && !SetCurrentDirectoryA(pathPattern))
            return false;
        lstrcpyA(pattern, "*");
        return true;
    }
    char* start = PatternOf(pathPattern);
    lstrcpyA(pattern, start);
    if (start != pathPattern) {
        char saved = *start;
        *start = '\0';
        // "C:" alone is the drive's current directory; a root keeps its separator.
        if (start - pathPattern > 1 && (start[-1] == '\\' || start[-1] == '/') && start[-2] != ':')
            start[-1] = '\0';
        BOOL entered = SetCurrentDirectoryA(pathPattern);
        *start = saved;
        if (!entered)
            return false;
    }
    Sys::CharUpperA(pattern);
    return true;
}

} // namespace

int WINAPI AtListBox_DirW(HWND hwnd, UINT attrs, LPCWSTR pathPattern)
{
    return DirectoryListW(hwnd, ListBox, attrs, pathPattern);
}

int WINAPI AtComboBox_DirW(HWND hwnd, UINT attrs, LPCWSTR pathPattern)
{
    return DirectoryListW(hwnd, ComboBox, attrs, pathPattern);
}

// The static control shows the new current directory in lower case. With
// DDL_DIRECTORY the directories are listed whatever the pattern.
int WINAPI DlgDirListW(HWND dialog, LPWSTR pathSpec, int listId, int staticId, UINT attrs)
{
    return AtExport(Sys::DlgDirListW, dialog, pathSpec, listId, staticId, attrs)
        .orAnsiWithoutSavedError(0, [=]() -> int {
            if (!pathSpec)
                return 0;
            HWND list = listId ? Sys::GetDlgItem(dialog, listId) : nullptr;
            // A dialog without the list is listed into nothing, but without the
            // window manager's functions nothing can be listed at all.
            if (listId && !list && GetLastError() == ERROR_CALL_NOT_IMPLEMENTED)
                return 0;
            if (list)
                AtSendA(list, LB_RESETCONTENT, 0, 0);
            AtStringSlot pathA, pattern;
            AtAllocBuffer(pathA, MAX_PATH);
            AtAllocBuffer(pattern, MAX_PATH);
            // A pattern longer than a path names no directory.
            if (!WideCharToMultiByte(CP_ACP, 0, pathSpec, -1, pathA, MAX_PATH, nullptr, nullptr) ||
                !EnterDirectory(pathA, pattern))
                return 0;
            // The drives alone are listed alone.
            const UINT listed = attrs == DDL_DRIVES ? DDL_DRIVES | DDL_EXCLUSIVE : attrs;
            if (staticId) {
                char current[MAX_PATH];
                DWORD n = GetCurrentDirectoryA(MAX_PATH, current);
                if (n && n < MAX_PATH) {
                    Sys::CharLowerA(current);
                    if (HWND label = Sys::GetDlgItem(dialog, staticId))
                        Sys::SetWindowTextA(label, current);
                }
            }
            if (list) {
                LRESULT r;
                if (listed & DDL_DIRECTORY) {
                    r = LB_OKAY;
                    if (!(listed & DDL_EXCLUSIVE))
                        r = ListDirectory(
                            list, ListBox, listed & ~(DDL_DIRECTORY | DDL_DRIVES), pattern);
                    LRESULT dirs = ListDirectory(list, ListBox,
                        (listed & (DDL_DIRECTORY | DDL_DRIVES)) | DDL_EXCLUSIVE, "*.*");
                    if (dirs != LB_ERR)
                        r = dirs;
                } else {
                    r = ListDirectory(list, ListBox, listed, pattern);
                }
                if (r == LB_ERR)
                    return 0;
            }
            AtAnsiToWideOut(pattern, pathSpec, MAX_PATH);
            return 1;
        });
}
