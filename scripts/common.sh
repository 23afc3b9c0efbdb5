# What the scripts share. To be sourced.

repository=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

# Installs the named Debian packages that are missing; asks the package sources only when one is.
install_missing() {
  local package missing=()
  for package in "$@"; do
    dpkg-query --show --showformat='${db:Status-Status}' "$package" 2>/dev/null | grep -qx installed ||
      missing+=("$package")
  done
  [ ${#missing[@]} -eq 0 ] && return
  local as_root=()
  [ "$(id -u)" -eq 0 ] || as_root=(sudo)
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
test_packages=(cmake g++ ninja-build pkg-config git libssl-dev libgtest-dev libfuse3-dev fuse3 python3 e2fsprogs
  xfsprogs btrfs-progs util-linux util-linux-extra mount openssl dpkg-dev man-db mandoc bash-completion zsh fish
  parallel dropbear-bin openssh-client)
clang_packages=(clang-14 clang clang-format-14 clang-tidy-14 llvm-14 libclang-rt-14-dev)

# Names the program and what its tests put beneath it in the environment. What is named there already is used as it
# is; otherwise the release preset is built.
use_tested_build() {
  [ -n "${RVXCOPY:-}" ] && return
  install_missing "${test_packages[@]}"
  build_preset release
  export RVXCOPY=$repository/build/release/rvxcopy
  export RVX_FAULT_SHIM=$repository/build/release/tests/librvx_fault_shim.so
  export RVX_FAULT_FS=$repository/build/release/tests/rvx_fault_fs
}
