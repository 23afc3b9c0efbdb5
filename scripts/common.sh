# What the scripts share. To be sourced.

repository=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

# Whether a Debian package's program is there, also on a machine that calls the package otherwise. Libraries have none:
# where dpkg does not know them either, CMake names what it misses.
is_there() {
  local program=$1
  case $1 in
    ninja-build) program=ninja ;;
    rpm) program=rpmbuild ;;
    lib* | bash-completion | e2fsprogs | xfsprogs | btrfs-progs | util-linux* | dpkg-dev | man-db | dropbear-bin | \
      fuse3 | openssh-client | llvm-14) program= ;;
  esac
  [ -z "$program" ] || ! command -v "$program" >/dev/null || return 0
  if command -v dpkg-query >/dev/null; then
    dpkg-query --show --showformat='${db:Status-Status}' "$1" 2>/dev/null | grep -qx installed
  else
    [ -z "$program" ]
  fi
}

# Installs the named Debian packages that are missing; asks the package sources only when one is. Where it can't, it
# says what is missing.
install_missing() {
  local package missing=()
  for package in "$@"; do
    is_there "$package" || missing+=("$package")
  done
  [ ${#missing[@]} -eq 0 ] && return
  local as_root=()
  if ! command -v apt-get >/dev/null; then
    echo "Missing: ${missing[*]} (their names in Debian). There is no apt-get here to install them:" \
      "README.md, \"Other machines\", says what other distributions call them." >&2
    exit 1
  elif [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null; then
      echo "Missing: ${missing[*]}. Only root can install them: apt-get install ${missing[*]}" >&2
      exit 1
    fi
    as_root=(sudo)
  fi
  echo "Installing ${missing[*]} ..."
  "${as_root[@]}" apt-get update -qq
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends \
    "${missing[@]}" >/dev/null
}

# Configures and builds a preset, with its options for cmake.
build_preset() {
  local preset=$1
  shift
  (
    cd "$repository"
    cmake --preset "$preset" "$@" >/dev/null
    cmake --build --preset "$preset" -- --quiet | { grep -v '^ninja: no work to do' || true; }
  )
}

# Runs a sanitizer's program without address space randomization, where that can be had: the runtimes do not
# know where the newest kernels map things.
without_randomization() {
  if setarch --addr-no-randomize true 2>/dev/null; then
    setarch --addr-no-randomize "$@"
  else
    "$@"
  fi
}

# What building and testing needs, and what building with Clang needs besides.
test_packages=(cmake g++ ninja-build pkg-config git libssl-dev libexpat1-dev libxxhash-dev libgtest-dev libfuse3-dev
  fuse3 python3 e2fsprogs xfsprogs btrfs-progs util-linux util-linux-extra mount openssl dpkg-dev rpm man-db mandoc
  bash-completion zsh fish parallel dropbear-bin openssh-client rhash strace libxml2-utils)
clang_packages=(clang-14 clang clang-format-14 clang-tidy-14 llvm-14 libclang-rt-14-dev)

# Names the program and what its tests put beneath it in the environment. What is named there already is used as it
# is; otherwise the release preset is built.
use_tested_build() {
  [ -n "${RVXCOPY:-}" ] && return
  install_missing "${test_packages[@]}"
  build_preset release
  export RVXCOPY=$repository/build/release/rvxcopy
  export RVXCHECK=$repository/build/release/rvxcheck
  export RVX_FAULT_SHIM=$repository/build/release/tests/librvx_fault_shim.so
  export RVX_FAULT_FS=$repository/build/release/tests/rvx_fault_fs
}
