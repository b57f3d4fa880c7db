#!/bin/bash
# Tables read cell by cell as Python's csv module reads the same files: tab and ';'
# separators, CRLF line ends, a last row without a line feed, quotes left in the cells.
set -u
prog=$(readlink -f "$1")
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
cd "$dir"
/usr/bin/python3 - <<'PY'
rows = [["name", "x", "y z"], ["a b", "1,5", "-2e3"], ["", "q", ""], ["last", "7", "8"]]
open("tab.txt", "w", newline="").write("\r\n".join("\t".join(r) for r in rows))
open("semi.txt", "w", newline="").write("".join(";".join(r) + "\n" for r in rows + [["x", "y", "z", "w"]]))
PY
fail=0
for f in "tab.txt" "semi.txt ;"; do
  set -- $f
  printf 'debug.no\ntable.load %s %s\nqvcols := table.lengthx\nqvrows := table.lengthy\nfor 1 @qvrows\n  qvj := for.count\n  for 1 @qvcols\n    qvv := table.get @for.count @qvj\n    print "cell " for.count " " qvj " [" qvv "]"\n  end\nend\n' "$1" "${2:-}" > t.macro
  "$prog" -strict -macro=t.macro 2>&1 | grep '^cell ' > got.txt
  /usr/bin/python3 - "$1" "${2:-	}" <<'PY' > want.txt
import csv, sys
rows = list(csv.reader(open(sys.argv[1], newline=""), delimiter=sys.argv[2], quoting=csv.QUOTE_NONE))
width = max(len(r) for r in rows)
for j, r in enumerate(rows, 1):
    for i in range(1, width + 1):
        print(f"cell {i} {j} [{r[i - 1] if i <= len(r) else ''}]")
PY
  if diff want.txt got.txt > diff.txt; then echo "ok $1: $(wc -l < got.txt) cells as csv reads them"
  else echo "FAIL $1"; head diff.txt; fail=1; fi
done
exit $fail
