# need PACKAGE...: installs the Debian packages that are missing, and says what to do where it can't. Quiet when all is
# there. To be sourced.
source "${BASH_SOURCE[0]%/*}/quietly.sh"

need() {
  # Where there are no such packages, everything is installed by hand, and the build says what it misses.
  command -v dpkg-query >/dev/null || return 0
  local missing=() package
  for package in "$@"; do
    dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null | grep -qx installed || missing+=("$package")
  done
  [ ${#missing[@]} -gt 0 ] || return 0
  local as_root=()
  if [ "$(id -u)" -ne 0 ]; then
    as_root=(sudo)
    # Without a terminal nobody can be asked for the password.
    if ! command -v sudo >/dev/null || ! { sudo -n true 2>/dev/null || { [ -t 0 ] && [ -t 2 ] && ask_for_root; }; }; then
      echo "Missing packages: ${missing[*]}" >&2
      echo "To install them, as root: apt-get update && apt-get install ${missing[*]}" >&2
      return 1
    fi
  fi
  quietly "Installing ${missing[*]}" get_packages "${missing[@]}"
}

ask_for_root() {
  echo "Packages are missing; installing them takes root's rights." >&2
  sudo -v
}

# The lists are renewed only where they don't do, and the packages may be there although a list can't be had: some other
# repository of the machine may be out of order.
get_packages() {
  local install=("${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q -y --no-install-recommends
    -o DPkg::Lock::Timeout=300 install)
  "${install[@]}" "$@" || { "${as_root[@]}" apt-get -q update || true; "${install[@]}" "$@"; }
}

# What the module and the host are built from, and what their tests need beside that. What only one check needs stands in
# that check.
build_packages=(cmake fuse3 g++ libcli11-dev libfmt-dev libfuse3-dev libhowardhinnant-date-dev ninja-build
  nlohmann-json3-dev pkgconf uuid-dev)
test_packages=(binutils diffutils googletest libgtest-dev locales procps python3 rsync sqlite3 tzdata util-linux)

# The one version of clang and what belongs to it. LOCALDISK_CLANG, by which the presets find the compiler, may name
# another.
llvm=19
clang_packages=("clang-$llvm" "libc++-$llvm-dev" "libc++abi-$llvm-dev" "libclang-rt-$llvm-dev" "llvm-$llvm")
clang_format=14  # the one that formatted the sources; others differ in a few places
export LOCALDISK_CLANG=${LOCALDISK_CLANG:-clang++-$llvm}
