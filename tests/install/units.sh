# For the drivers of tests of an installed server, which set `work` to a folder of their own and
# `prefix` to the installation.

fail() {
  echo "$*" >&2
  exit 1
}

# The arguments that the service starts a program with, one a line.
#
# Usage: service_arguments PROGRAM
service_arguments() {
  local service=$prefix/lib/systemd/system/$1.service command options
  command=$(sed -n 's/^ExecStart=//p' "$service")
  options=$(sed -n 's/^Environment="OPTIONS=\(.*\)"$/\1/p' "$service")
  [ "${command%% *}" = "$prefix/sbin/$1" ] || fail "the service names another program: $command"
  [ "${command##* }" = '$OPTIONS' ] && [ -n "$options" ] || fail "the service has no options"
  command=${command#* }
  printf '%s\n' ${command/'$OPTIONS'/$options}
}

# Fails unless the program takes its arguments: those of the service.
#
# Usage: check_arguments PROGRAM ARGUMENT ...
check_arguments() {
  local status=0
  "$prefix/sbin/$1" "${@:2}" --listen / 2>"$work/said" || status=$?
  # 71: no socket can be made there; 77: not as the superuser. Both come after the options.
  [ "$status" -eq 71 ] || [ "$status" -eq 77 ] || fail "the service's options: $(cat "$work/said")"
}

# Fails unless systemd understands the units of a program.
#
# Usage: verify_units PROGRAM
verify_units() {
  local units=$prefix/lib/systemd/system/$1
  if ! command -v systemd-analyze >/dev/null; then
    echo "the units were not verified: there is no systemd-analyze"
    return
  fi
  systemd-analyze verify --man=no "$units.service" "$units.socket" >"$work/said" 2>&1 ||
    fail "$(cat "$work/said")"
  [ ! -s "$work/said" ] || fail "$(cat "$work/said")"
}
