#!/bin/bash
# `cmake --install` and the Debian package put the program and its manual page where they
# belong, and the installed program runs a macro.
set -u
prog=$(readlink -f "$1")
build=$(dirname "$prog")
source "$(dirname "$(readlink -f "$0")")/../skip.sh"
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
DESTDIR="$dir/root" cmake --install "$build" --prefix /usr > "$dir/install.log" 2>&1 || { cat "$dir/install.log"; exit 1; }
for f in usr/bin/quorvex usr/share/man/man1/quorvex.1 usr/share/doc/quorvex/commands.md; do
  [ -s "$dir/root/$f" ] || { echo "missing after install: $f"; exit 1; }
done
run() {   # run <installed binary>: a small macro that writes and reads a volume
  mkdir -p "$dir/run" && cd "$dir/run" && rm -f ./*
  printf 'scalar.new 4 4 4\nscalar.save v.nii.gz\nscalar.load v.nii.gz\na := max 3 1 7\nprint a\n' > t.macro
  "$1" -strict -macro=t.macro > out.txt 2>&1
  grep -qx '7' out.txt && [ -s v.nii.gz ] || { echo "installed $1 did not run the macro:"; cat out.txt; exit 1; }
  cd - > /dev/null
}
run "$dir/root/usr/bin/quorvex"
command -v dpkg-deb > /dev/null || reader_missing "dpkg-deb not installed"
(cd "$build" && cpack -G DEB -B "$dir/pkg" > "$dir/cpack.log" 2>&1) || { cat "$dir/cpack.log"; exit 1; }
deb=$(ls "$dir"/pkg/*.deb 2>/dev/null | head -1)
[ -n "$deb" ] || { echo "no package made"; cat "$dir/cpack.log"; exit 1; }
dpkg-deb -f "$deb" Depends | grep -q zlib1g || { echo "package does not depend on zlib1g"; exit 1; }
dpkg-deb -f "$deb" Suggests | grep -q libfreeimage || { echo "package does not suggest FreeImage"; exit 1; }
dpkg-deb -x "$deb" "$dir/deb"
[ -s "$dir/deb/usr/share/man/man1/quorvex.1.gz" ] || [ -s "$dir/deb/usr/share/man/man1/quorvex.1" ] || {
  echo "package lacks the manual page"; exit 1; }
run "$dir/deb/usr/bin/quorvex"
echo "installed and packaged program runs; $(basename "$deb")"
