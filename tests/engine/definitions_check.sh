#!/usr/bin/env bash
# Processes that share `parallel` passes, by options and by a job array's environment,
# together print what one process prints; a runaway recursion ends in a report.
set -u
exe="$(realpath "$1")"
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
cd "$dir"
fail=0
check() {   # name, condition result
  if [ "$2" -eq 0 ]; then echo "ok $1"; else echo "FAIL $1"; fail=1; fi
}
body() { sed -n '/^Script runs\.\.\.$/,/^Script ends\.$/p' | grep -v '^Script\|^  debug.no|'; }

cat > share.macro <<'M'
debug.no
procedure share.a
parallel 7
if parallel.length
then print "pass " parallel.count
end
end
procedure share.b
parallel 3 6
if parallel.length
then print "range " parallel.count
end
end
share.a
share.b
print "after"
M
env -u SLURM_ARRAY_TASK_ID "$exe" -strict -macro=share.macro -parallel.count=1 </dev/null | body | sort -u > single.txt
[ "$(wc -l < single.txt)" -eq 12 ] && grep -qx "pass 7" single.txt && grep -qx "range 3" single.txt
check "single process runs every pass" $?

for i in 0 1 2; do
  env -u SLURM_ARRAY_TASK_ID "$exe" -strict -macro=share.macro -parallel.index=$i -parallel.count=3 </dev/null | body
done > all.txt
sort -u all.txt > options.txt
cmp -s single.txt options.txt && [ "$(grep -c '^pass \|^range ' all.txt)" -eq 11 ]
check "three processes by options share the passes of the single run" $?

printf '%s\n' 11 12 13 | xargs -P 3 -I{} env SLURM_ARRAY_TASK_ID={} SLURM_ARRAY_TASK_MIN=11 SLURM_ARRAY_TASK_COUNT=3 \
  sh -c "'$exe' -strict -macro=share.macro </dev/null > out.{}.txt"
cat out.1[123].txt | body | sort -u > environment.txt
cmp -s single.txt environment.txt && [ "$(cat out.1[123].txt | grep -c '^pass \|^range ')" -eq 11 ]
check "a job array of three shares the passes of the single run" $?

for i in 0 4 8; do
  env SLURM_ARRAY_TASK_ID=$i SLURM_ARRAY_TASK_MIN=0 SLURM_ARRAY_TASK_MAX=8 SLURM_ARRAY_TASK_STEP=4 \
    "$exe" -strict -macro=share.macro </dev/null | body
done | sort -u > stepped.txt
cmp -s single.txt stepped.txt
check "a stepped job array without a count gives the single run" $?

out=$(env SLURM_ARRAY_TASK_ID=5 SLURM_ARRAY_TASK_COUNT=9 "$exe" -strict -macro=share.macro -parallel.count=1 </dev/null)
grep -qx "pass 7" <<<"$out"
check "options win over the environment" $?

out=$(env SLURM_ARRAY_TASK_ID=x SLURM_ARRAY_TASK_COUNT=3 "$exe" -strict -macro=share.macro </dev/null)
grep -qF "Error (Wrong parallel initialization (-1,3)!) in line 3 (share.macro)!" <<<"$out" && grep -qF "Done (" <<<"$out"
check "a bad environment gives the validity report" $?

out=$(env -u SLURM_ARRAY_TASK_ID "$exe" -strict -macro=share.macro -parallel.index=2 </dev/null)
grep -qF "Wrong parallel initialization (2,0)!" <<<"$out"
check "an index without a count gives the validity report" $?

printf 'debug.no\nprocedure again\nprocess\nagain\nend\nend\nagain\nprint "not reached"\n' > deep.macro
for stack in 1024 8192; do
  out=$( (ulimit -s $stack; "$exe" -strict -macro=deep.macro </dev/null 2>&1); echo "rc=$?")
  grep -qE "^Error \(recursion too deep: again after [0-9]+ nested calls\) in line 4 \(deep.macro\)!$" <<<"$out" &&
    grep -qx "rc=0" <<<"$out" && ! grep -q "not reached" <<<"$out"
  check "runaway recursion is reported with a $stack KiB stack" $?
done
exit $fail
