#!/usr/bin/env bash
# Both import libraries as a user meets them: a wide program with no C runtime is
# linked against torwen.lib by lld-link (compiled by clang for the Microsoft ABI)
# and against libtorwen.a by mingw-w64, once with torwen ahead of the system
# libraries and once behind them, run on the ANSI path, and read by the import
# checker. Then the checker is given files that are no 32-bit image.
# usage: link_test.sh SOURCE-DIR TORWEN-OUT WINE-ROOT SCRATCH-DIR
set -uo pipefail
src=$1 out=$2 wine_root=$3 scratch=$4
here=$src/tests/dist
mingw_lib=/usr/i686-w64-mingw32/lib
rm -rf "$scratch" && mkdir -p "$scratch" && cd "$scratch" || exit 1
cp "$out/torwen.dll" .
failures=0

# run STATUS COMMAND... then TEXT...: the command ends with STATUS and prints
# every TEXT.
run() {
  local want=$1
  shift
  ran="$*"
  output=$("$@" 2>&1)
  local status=$?
  # Lines are compared as the checker prints them, without the console's CR.
  output=${output//$'\r'/}
  if [ "$status" -ne "$want" ]; then
    fail "status $status, not $want"
  fi
}
printed() {
  for text in "$@"; do
    [[ "$output" == *"$text"* ]] || fail "no \"$text\" in its output"
  done
}
fail() {
  echo "FAILED: $ran: $1; output:"
  echo "$output"
  failures=$((failures + 1))
}
wine() { "$src/tools/wine-run" a-1252 "$wine_root" "$@"; }
imports() { wine "$out/torwen-imports.exe" "$@"; }

# The mingw-w64 headers stand in for the Windows SDK's; they need the target
# named for them under clang's Microsoft mode.
clang --target=i686-pc-windows-msvc -O1 -Wall -isystem /usr/share/mingw-w64/include -D_X86_ \
  '-D__buildmemorybarrier()={}' -c "$here/probe.c" -o probe.obj || exit 1
# The system import libraries are mingw-w64's, whose objects carry no safe
# exception-handler table.
msvc_link() {
  lld-link /nologo /nodefaultlib /safeseh:no /entry:Probe /subsystem:console "/out:$1" probe.obj "${@:2}"
}
msvc_link probe-msvc.exe "$out/torwen.lib" "$mingw_lib/libkernel32.a" "$mingw_lib/libuser32.a" || exit 1
msvc_link probe-msvc-late.exe "$mingw_lib/libkernel32.a" "$mingw_lib/libuser32.a" "$out/torwen.lib" || exit 1

gnu_link() {
  i686-w64-mingw32-gcc -O1 -Wall -nostdlib -Wl,-e,_Probe@0 "$here/probe.c" -o "$1" -L"$out" "${@:2}"
}
gnu_link probe-gnu.exe -ltorwen -lkernel32 -luser32 || exit 1
gnu_link probe-gnu-late.exe -lkernel32 -luser32 -ltorwen || exit 1

# Files the checker must refuse, each with its reason and status 2: made before
# the first run, so that the runs follow one another in one Wine session.
printf 'int Main(void) { return 0; }\n' >main64.c
clang --target=x86_64-pc-windows-msvc -c main64.c -o main64.obj &&
  lld-link /nologo /nodefaultlib /entry:Main /subsystem:console /out:probe64.exe main64.obj || exit 1
# A program with a W import of each group: one torwen exports, one of the NT
# family only, one torwen does not replace, two Windows 95 implements itself.
printf '#include <windows.h>\nint main(void) { return SetConsoleTitleW(L"x") + GetDriveTypeW(NULL) +
  GetMonitorInfoW(NULL, NULL) + lstrlenW(L"x") + MessageBoxW(NULL, NULL, NULL, 0); }\n' >mixed.c
i686-w64-mingw32-gcc mixed.c -o mixed.exe || exit 1
cp "$here/probe.c" text.exe
head -c 200 probe-gnu.exe >headers-cut.exe
size=$(stat -c %s probe-gnu.exe)
for cut in 64 128 256 512 1024 $((size / 2)) $((size - 16)); do
  head -c "$cut" probe-gnu.exe >"cut-$cut.exe"
done
printf 'MZ' >mz-only.exe
# The import directory pointed far outside the image.
lfanew=$(od -An -tu4 -j60 -N4 probe-gnu.exe | tr -d ' ')
cp probe-gnu.exe bad-rva.exe
printf '\x00\xff\xff\x7f' | dd of=bad-rva.exe bs=1 seek=$((lfanew + 128)) conv=notrunc status=none

for linker in msvc gnu; do
  run 0 wine "probe-$linker.exe"
  printed "GetVersionExW from torwen; RegisterWindowMessageW from torwen; wsprintfW from torwen"
  run 1 wine "probe-$linker-late.exe"
  printed "GetVersionExW from the system; RegisterWindowMessageW from the system; wsprintfW from the system"
done
run 0 imports probe-msvc.exe probe-gnu.exe
printed "probe-msvc.exe: no wide function imported from the system; 3 import(s) from torwen.dll" \
  "probe-gnu.exe: no wide function imported from the system; 3 import(s) from torwen.dll"
run 1 imports probe-msvc-late.exe probe-gnu.exe probe-gnu-late.exe
printed "probe-msvc-late.exe imports wide functions" "probe-gnu-late.exe imports wide functions" \
  "  exported by torwen, imported from the system by link order:
    KERNEL32.dll!GetVersionExW: use torwen.dll's _GetVersionExW@4
    USER32.dll!RegisterWindowMessageW: use torwen.dll's _RegisterWindowMessageW@4
    USER32.dll!wsprintfW: use torwen.dll's wsprintfW" \
  "3 wide import(s) from the system: 3 exported by torwen, 0 only on the NT family, 0 without a replacement; 0 import(s) from torwen.dll."
[[ "$output" != *"  only on the NT family:"* && "$output" != *"implemented by"* ]] || fail "a group it has no import of"
run 1 imports mixed.exe
printed "  exported by torwen, imported from the system by link order:
    KERNEL32.dll!GetDriveTypeW: use torwen.dll's _GetDriveTypeW@4" \
  "  only on the NT family:
    KERNEL32.dll!SetConsoleTitleW: needs the NT family" \
  "  without a replacement in torwen yet:
    USER32.dll!GetMonitorInfoW: torwen has no replacement" \
  "implemented by Windows 95/98/Me itself: 2 (lstrlenW, MessageBoxW)" \
  "3 wide import(s) from the system: 1 exported by torwen, 1 only on the NT family, 1 without a replacement" \
  "Link torwen's import library ahead" "the program needs it, or looks the function up with GetProcAddress" \
  "Where torwen has no replacement, call the A function"
# Every file refused with its reason; a file cut anywhere is refused or read,
# never a crash; the worst status wins.
run 2 imports probe64.exe text.exe headers-cut.exe mz-only.exe bad-rva.exe missing.exe cut-*.exe \
  probe-gnu.exe
printed "probe64.exe: a 64-bit image" "text.exe: not a Windows program or DLL (no MZ header)" \
  "headers-cut.exe: truncated" "mz-only.exe: truncated" "missing.exe: cannot read the file" \
  "bad-rva.exe: damaged: the import table points outside every section" \
  "probe-gnu.exe: no wide function"
run 2 imports
printed "usage: torwen-imports"

[ "$failures" -eq 0 ] && echo "all checks passed"
exit $((failures > 0))
