# Sourced by ./check and ./desk. install_missing GROUP… installs the Debian packages of the groups
# that are not there yet, with sudo when not root, and says so; it does nothing when all is there.

packages_run=(librnp0 libgmime-3.0-0 libcurl4 libedit2)
packages_demo=(python3)
packages_build=(g++ cmake ninja-build pkg-config librnp-dev libgmime-3.0-dev libcurl4-openssl-dev
  libcli11-dev nlohmann-json3-dev libedit-dev libgtest-dev libgmock-dev libbenchmark-dev)
packages_lint=(clang-format clang-tidy)
packages_test=(gnupg gpg-agent sks python3 python3-pexpect procps)

install_missing() {
  local wanted=() missing=() package group
  for group in "$@"; do
    local -n group_packages="packages_$group"
    wanted+=("${group_packages[@]}")
  done
  if ! command -v dpkg-query >/dev/null; then
    echo "This is no Debian system: install what stands for ${wanted[*]}, then build with cmake." >&2
    return 1
  fi
  for package in "${wanted[@]}"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || missing+=("$package")
  done
  [ ${#missing[@]} -eq 0 ] && return
  echo "Installing: ${missing[*]}" >&2
  local as_root=()
  [ "$(id -u)" -eq 0 ] || as_root=(sudo)
  "${as_root[@]}" apt-get update -qq >&2
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq "${missing[@]}" >&2
}
