#!/bin/bash
# The manual page names every registered command, and docs/commands.md in the tree is the
# one the command tables give now (regenerate: build/quorvex-docs build/quorvex build/quorvex.1
# docs/commands.md).
set -u
prog=$(readlink -f "$1")
bin=$(dirname "$prog")
root=$(cd "$(dirname "$(readlink -f "$0")")/../.." && pwd)
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
cd "$dir"
"$bin/quorvex-docs" "$prog" quorvex.1 commands.md || exit 1
"$bin/quorvex-docs" "$prog" quorvex.1 --check | tail -1
"$bin/quorvex-docs" "$prog" quorvex.1 --check > check.txt || { grep missing check.txt | head; exit 1; }
grep -q '^\.SH OPTIONS' quorvex.1 && grep -q '^\.B \\-macro$' quorvex.1 || { echo "no option listing"; exit 1; }
diff -q "$root/docs/commands.md" commands.md > /dev/null || {
  echo "docs/commands.md is out of date:"; diff "$root/docs/commands.md" commands.md | head; exit 1; }
if command -v groff > /dev/null; then
  warnings=$(groff -man -Tutf8 -ww quorvex.1 2>&1 > /dev/null | head -5)
  [ -z "$warnings" ] || { echo "$warnings"; exit 1; }
fi
echo "manual page and command index agree with the command tables"
