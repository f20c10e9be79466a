#!/usr/bin/env bash
# The installed torwen as a project uses it: cmake --install lays out the folder,
# a CMake project finds the package, links torwen::torwen and checks its imports
# after the link, a program is built with the flags of torwen.pc, and both run on
# the ANSI path with their W calls bound to torwen.dll.
# usage: package_test.sh SOURCE-DIR TORWEN-BUILD-DIR WINE-ROOT SCRATCH-DIR
set -uo pipefail
src=$1 build=$2 wine_root=$3 scratch=$4
here=$src/tests/dist
prefix=$scratch/prefix
wine() { "$src/tools/wine-run" a-1252 "$wine_root" "$@"; }
fail() {
  echo "FAILED: $*"
  exit 1
}
rm -rf "$scratch" && mkdir -p "$scratch" && cd "$scratch" || exit 1

cmake --install "$build" --prefix "$prefix" >/dev/null || fail "cmake --install"
for file in bin/torwen.dll bin/torwen-imports.exe lib/libtorwen.a lib/torwen.lib \
  lib/cmake/torwen/torwenConfig.cmake lib/cmake/torwen/torwenConfigVersion.cmake \
  lib/pkgconfig/torwen.pc include/torwen.h; do
  [ -f "$prefix/$file" ] || fail "the installed folder lacks $file"
done

# The CMake package. The import check runs the installed checker under Wine.
cmake -S "$here/consumer" -B consumer -G Ninja -DCMAKE_TOOLCHAIN_FILE="$src/cmake/mingw-i686.cmake" \
  -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CROSSCOMPILING_EMULATOR="$src/tools/wine-run;a-1252;$wine_root" \
  >configure.log 2>&1 || { cat configure.log; fail "the consumer project does not configure"; }
cmake --build consumer --target app >app.log 2>&1 || { cat app.log; fail "app does not build"; }
grep -q "no wide function imported from the system" app.log || { cat app.log; fail "app's imports were not checked"; }
if cmake --build consumer --target late >late.log 2>&1; then
  cat late.log
  fail "the import check let through a program that takes GetVersionExW from kernel32"
fi
grep -q "KERNEL32.dll!GetVersionExW: use torwen.dll's _GetVersionExW@4" late.log ||
  { cat late.log; fail "the failed check does not name the import"; }
out=$(wine consumer/app.exe) || fail "app.exe: $out"
[[ "$out" == *"GetVersionExW from torwen; RegisterWindowMessageW from torwen"* ]] || fail "app.exe: $out"

# The pkg-config file, relocated with the folder.
mv "$prefix" "$scratch/moved"
flags=$(PKG_CONFIG_LIBDIR="$scratch/moved/lib/pkgconfig" pkg-config --cflags --libs torwen) ||
  fail "pkg-config does not find torwen"
i686-w64-mingw32-gcc -DUNICODE -D_UNICODE "$here/consumer/app.c" "$here/probe.c" $flags -o app-pc.exe ||
  fail "the program does not build with: $flags"
cp "$scratch/moved/bin/torwen.dll" .
out=$(wine app-pc.exe) || fail "app-pc.exe: $out"
[[ "$out" == *"GetVersionExW from torwen; RegisterWindowMessageW from torwen"* ]] || fail "app-pc.exe: $out"
out=$(wine "$scratch/moved/bin/torwen-imports.exe" app-pc.exe) || fail "app-pc.exe's imports: $out"
echo "all checks passed"
