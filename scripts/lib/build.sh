# build PRESET [OPTION...]: configures with the options and builds. Where that takes time it says so beforehand; the log is
# shown only when it fails. To be sourced, from the project's root.
source "${BASH_SOURCE[0]%/*}/quietly.sh"

build() {
  local preset=$1 what= steps
  shift
  [ -f "build/$preset/CMakeCache.txt" ] || what="Configuring build/$preset"
  quietly "$what" cmake --preset "$preset" "$@" || return
  # A dry run says one line for each step; none begins so when there is nothing to do.
  steps=$(cmake --build --preset "$preset" -- -n 2>/dev/null | grep -c '^\[') || true
  [ "$steps" -gt 0 ] || return 0
  quietly "Building build/$preset, $(duration_of "$steps")" cmake --build --preset "$preset"
}

# duration_of STEPS: what to expect, at four seconds of a processor for each step.
duration_of() {
  local minutes=$((($1 * 4 / $(getconf _NPROCESSORS_ONLN) + 30) / 60))
  case $minutes in
    0) echo "less than a minute" ;;
    1) echo "about a minute" ;;
    *) echo "about $minutes minutes" ;;
  esac
}
