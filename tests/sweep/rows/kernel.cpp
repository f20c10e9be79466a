#include "sweep/sweep.h"

namespace sweep {

std::vector<Row> KernelRows()
{
    return {
        Row("GetVersionExW",
            [] {
                OSVERSIONINFOW info = {};
                info.dwOSVersionInfoSize = sizeof info;
                return R(GetVersionExW(&info));
            },
            FALSE)
            .Kernel(),
        Row("GlobalAddAtomW", [] { return R(GlobalAddAtomW(L"torwen sweep")); }, 0)
            .Kernel()
            .Undo([](Result atom) { GlobalDeleteAtom(ATOM(atom)); })
            .Fuzz([](Fuzz& f) { GlobalDeleteAtom(GlobalAddAtomW(f.Str(Fuzz::NullOk))); }),
    };
}

}  // namespace sweep
