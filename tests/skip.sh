# skip.sh: sourced by the check scripts. `reader_missing <what>` ends a check whose
# third-party reader is not installed: exit 77, which CTest shows as skipped. Under
# CI (the variable CI set, other than "false" or "0") the setup has installed every
# reader, so a missing one is a failure there, never a silent skip.
reader_missing() {
  if [ -n "${CI:-}" ] && [ "$CI" != "false" ] && [ "$CI" != "0" ]; then
    echo "FAIL: $1 (CI installs every reader)"
    exit 1
  fi
  echo "skipped: $1"
  exit 77
}
