#!/usr/bin/env bash
# run.sh <seconds> [target ...]: runs every fuzz target (or the named ones) for the given
# time on a copy of its seeds, and reports executions and findings. The build folder is
# $QV_FUZZ_BUILD (default build-fuzz). Crash inputs are kept in fuzz/findings/<target>/.
set -u
here=$(cd "$(dirname "$0")" && pwd)
seconds=${1:-60}; shift || true
build=${QV_FUZZ_BUILD:-$here/../build-fuzz}
targets=("$@")
[ ${#targets[@]} -gt 0 ] || targets=($(cd "$build/fuzz" && ls fuzz_* | sed 's/^fuzz_//'))
status=0
for t in "${targets[@]}"; do
  work=$(mktemp -d)
  [ -d "$here/corpus/$t" ] && cp -r "$here/corpus/$t/." "$work/" 2>/dev/null
  mkdir -p "$here/findings/$t"
  log=$(mktemp)
  ASAN_OPTIONS="allocator_may_return_null=1:detect_leaks=1" \
    "$build/fuzz/fuzz_$t" "$work" -max_total_time="$seconds" -timeout=20 -rss_limit_mb=4096 \
    -artifact_prefix="$here/findings/$t/" -print_final_stats=1 > "$log" 2>&1
  rc=$?
  runs=$(grep -m1 "stat::number_of_executed_units" "$log" | awk '{print $2}')
  found=$(ls "$here/findings/$t" | wc -l)
  echo "$t: ${runs:-0} executions in ${seconds} s, exit $rc, findings $found"
  if [ $rc -ne 0 ]; then status=1; grep -m3 -E "ERROR|SUMMARY" "$log"; fi
  rm -rf "$work" "$log"
done
exit $status
