# quietly WHAT COMMAND...: says WHAT, runs the command with its output put aside, and says how long it took; with an empty
# WHAT it says nothing. Only when the command fails the output's end is shown, and where the whole of it is. Leaves nothing
# behind when it is interrupted. `set -e` is off inside a COMMAND that is a function. To be sourced.
quietly() (
  what=$1
  shift
  log=$(mktemp "${TMPDIR:-/tmp}/localdisk-log-XXXXXX")
  trap 'rm -f "$log"' EXIT
  trap 'exit 129' HUP
  trap 'exit 130' INT
  trap 'exit 143' TERM
  [ -z "$what" ] || echo "$what…" >&2
  start=$SECONDS
  status=0
  "$@" >"$log" 2>&1 </dev/null || status=$?
  if [ $status -ne 0 ]; then
    trap - EXIT
    tail -n 60 "$log" >&2
    echo "Failed: ${what:-$*}; the whole log is $log" >&2
    exit $status
  fi
  [ -z "$what" ] || echo "… done in $((SECONDS - start)) s" >&2
)
