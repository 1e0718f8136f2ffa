# For the drivers of tests, which set `work` to a folder of their own.

# Runs a command, and shows what it said when it fails, which ends the test.
quietly() {
  "$@" >"$work/log" 2>&1 && return
  echo "failed: $*" >&2
  cat "$work/log" >&2
  exit 1
}
