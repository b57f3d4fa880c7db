#!/usr/bin/env bash
# Odd macro files: the program ends normally and says what the rules say.
set -u
exe="$(realpath "$1")"
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
cd "$dir"
fail=0
run() {   # name, expected text in the output
  local out
  out=$("$exe" -strict -macro="$1" 2>&1 </dev/null)
  local rc=$?
  if [ $rc -ne 0 ] || ! grep -qF "Done (" <<<"$out" || ! grep -qF -- "$2" <<<"$out"; then
    echo "FAIL $1 (exit $rc): expected '$2'"
    tail -n 5 <<<"$out"
    fail=1
  else
    echo "ok $1"
  fi
}
run missing.macro "This is your first run of the program, please specify the file quorvex.macro!"
[ -f quorvex.macro ] || { echo "FAIL reference macro not written"; fail=1; }
: > empty.macro
run empty.macro "-macro : macro file = empty.macro"
head -c 65536 /dev/urandom > binary.macro
printf '\0\0print after zeros\n\xff\xfe\x80bad\n' >> binary.macro
run binary.macro "Script ends."
{ printf 'print '; head -c 100000 /dev/zero | tr '\0' 'x'; printf '\nprint fine\n'; } > long.macro
out=$("$exe" -strict -macro=long.macro 2>&1)
grep -qx "$(printf 'x%.0s' $(seq 254))" <<<"$out" && grep -qx fine <<<"$out" && echo "ok long.macro" || { echo "FAIL long.macro"; fail=1; }
printf 'print no line end' > noend.macro
run noend.macro "noline"
printf 'a := \x01\x02 "unclosed <( [\nprint $zz %%%% # ]]]\nprint ok\n' > junk.macro
run junk.macro "Script ends."
exit $fail
