// torwen-imports: reads the import table of a 32-bit program or DLL and lists the
// wide-character functions it takes from the system's DLLs instead of from
// torwen.dll. On Windows 95, 98 and Me those calls fail (the system DLLs there
// implement the ANSI forms only). They are listed in three groups, each with its
// remedy: those torwen exports (torwen's import library belongs ahead of the
// system's), those of the NT family only (no Windows 95, 98 or Me can run them),
// and those torwen has no replacement for yet. The few that Windows 95, 98 and Me
// implement themselves are counted on one line.
//
// Exit status: 0 when no import of the three groups was found, 1 when some were, 2
// when the file could not be read as a 32-bit PE image.
#include <cstdio>
#include <string>
#include <vector>

#include "imports.h"

namespace
{

using namespace torwen_imports;

int Check(const char* path)
{
    std::vector<unsigned char> bytes;
    switch (ReadImage(path, bytes)) {
    case Read::unreadable:
        std::fprintf(stderr, "torwen-imports: %s: cannot read the file\n", path);
        return 2;
    case Read::tooLarge:
        std::fprintf(stderr, "torwen-imports: %s: larger than any 32-bit image\n", path);
        return 2;
    case Read::ok:
        break;
    }
    std::vector<Import> imports;
    try {
        Image image(std::move(bytes));
        imports = PeReader(image).Imports();
    } catch (const BadImage& bad) {
        std::fprintf(stderr, "torwen-imports: %s: %s\n", path, bad.why.c_str());
        return 2;
    }

    // Each wide import of a system DLL in its group; the ones Windows 95, 98 and
    // Me implement themselves are only counted.
    struct Reported {
        Group group;
        const char* heading;
    };
    const Reported reported[] = {
        { Group::torwen, "exported by torwen, imported from the system by link order" },
        { Group::ntOnly, "only on the NT family" },
        { Group::missing, "without a replacement in torwen yet" },
    };
    std::vector<Import> groups[std::size(reported)];
    std::string native;
    int fromTorwen = 0, nativeCount = 0;
    for (const Import& imp : imports) {
        if (Lower(imp.dll) == "torwen.dll") {
            ++fromTorwen;
            continue;
        }
        Group group = Classify(imp.dll, imp.name);
        if (group == Group::windows9x) {
            native += (nativeCount++ ? ", " : "") + imp.name;
            continue;
        }
        for (size_t i = 0; i < std::size(reported); ++i)
            if (group == reported[i].group)
                groups[i].push_back(imp);
    }
    const int linkOrder = int(groups[0].size()), ntOnly = int(groups[1].size()),
              missing = int(groups[2].size());
    const int misplaced = linkOrder + ntOnly + missing;
    if (misplaced) {
        std::printf("%s imports wide functions from the system; on Windows 95, 98 and Me they "
                    "fail:\n",
            path);
        for (size_t i = 0; i < std::size(reported); ++i) {
            if (groups[i].empty())
                continue;
            std::printf("  %s:\n", reported[i].heading);
            for (const Import& imp : groups[i]) {
                std::printf("    %s!%s: ", imp.dll.c_str(), imp.name.c_str());
                if (reported[i].group == Group::torwen)
                    std::printf("use torwen.dll's %s\n", TorwenExportFor(imp.name).c_str());
                else if (reported[i].group == Group::ntOnly)
                    std::printf("needs the NT family\n");
                else
                    std::printf("torwen has no replacement\n");
            }
        }
    } else {
        std::printf("%s: no wide function imported from the system; %d import(s) from "
                    "torwen.dll\n",
            path, fromTorwen);
    }
    if (nativeCount)
        std::printf(
            "implemented by Windows 95/98/Me itself: %d (%s)\n", nativeCount, native.c_str());
    if (!misplaced)
        return 0;
    std::printf("%d wide import(s) from the system: %d exported by torwen, %d only on the NT "
                "family, %d without a replacement; %d import(s) from torwen.dll.\n",
        misplaced, linkOrder, ntOnly, missing, fromTorwen);
    if (linkOrder)
        std::printf("Link torwen's import library ahead of the system libraries.\n");
    if (ntOnly)
        std::printf("Where a function exists only on the NT family, the program needs it, or "
                    "looks the function up with GetProcAddress and does without it on Windows "
                    "95, 98 and Me.\n");
    if (missing)
        std::printf("Where torwen has no replacement, call the A function on Windows 95, 98 "
                    "and Me.\n");
    return 1;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 2) {
        std::fprintf(stderr,
            "usage: torwen-imports PROGRAM.exe|LIBRARY.dll...\n"
            "Lists the wide functions a 32-bit image imports from the system's "
            "DLLs instead of from torwen.dll.\n");
        return 2;
    }
    int status = 0;
    for (int i = 1; i < argc; ++i)
        status = std::max(status, Check(argv[i]));
    return status;
}
