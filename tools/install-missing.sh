# Sourced by ./check and ./desk. install_missing GROUP… installs the Debian packages of the groups
# that are not there yet, with sudo when not root, and says so; it does nothing when all is there.
# install_wine gets what runs the Windows programs.

packages_run=(librnp0 libbotan-2-19 libuchardet0 libgmime-3.0-0 libcurl4 libedit2)
packages_demo=(python3)
packages_picture=(python3 python3-pexpect python3-pyte gpg)
packages_build=(g++ cmake ninja-build pkg-config librnp-dev libbotan-2-dev libuchardet-dev
  libgmime-3.0-dev libcurl4-openssl-dev libcli11-dev nlohmann-json3-dev libedit-dev libgtest-dev libgmock-dev libbenchmark-dev)
packages_lint=(clang-format clang-tidy)
packages_deb=(dpkg-dev xz-utils python3)
packages_test=(gnupg gpg-agent openssl sks python3 python3-jsonschema python3-pexpect python3-aiosmtpd msmtp
  procps dpkg-dev lintian desktop-file-utils man-db zsh fish)
packages_windows=(g++-mingw-w64-i686-posix mingw-w64-tools libz-mingw-w64-dev dpkg-dev make python3
  googletest fonts-wine faketime xvfb xdotool imagemagick)
packages_windows_x86_64=(g++-mingw-w64-x86-64-posix wine wine64)
packages_package=(nsis wixl msitools)
packages_package_test=(chromium mmdebstrap thunderbird xvfb xauth)
packages_wine32=(wine wine32:i386)

installed() {
  dpkg-query -W -f='${Status}' "$1" 2>/dev/null | grep -q 'ok installed'
}

as_root() {
  if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi
}

# One source that is out of step need not matter: what cannot be installed fails later and says so.
update_package_lists() {
  as_root apt-get update -qq >&2 || true
}

apt_install() {
  as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq "$@" >&2
}

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
    installed "$package" || missing+=("$package")
  done
  [ ${#missing[@]} -eq 0 ] && return
  echo "Installing: ${missing[*]}" >&2
  update_package_lists
  apt_install "${missing[@]}"
}

# Makes sure that there is a Wine, for 32-bit programs where possible, and sets windows_target to the
# kind of program that it runs: i686, or x86_64 where wine32 cannot be installed or is not wanted.
# wine32 comes from the foreign architecture i386. A CI machine adds it unasked; a person is asked,
# once, and never gets a package replaced by an older one.
install_wine() {
  windows_target=i686
  installed wine32:i386 && return
  if [ "${CI:-}" = true ]; then
    install_wine32_on_ci && return
  elif [ -t 0 ] && [ -t 2 ] && ! installed wine64; then
    offer_wine32 && return
  fi
  echo "wine32:i386 is not installed: the Windows tests run as 64-bit programs under wine64." >&2
  windows_target=x86_64
  install_missing windows_x86_64
}

install_wine32_on_ci() {
  echo "Adding the architecture i386 and installing: ${packages_wine32[*]}" >&2
  as_root dpkg --add-architecture i386 && update_package_lists
  apt_install --no-install-recommends "${packages_wine32[@]}" 2>/dev/null ||
    install_wine32_with_downgrades
}

# The security archive may have a package newer for amd64 than for i386, while both architectures
# must have the same version. The base release has that of both; only a machine that is thrown away
# may go back to it.
install_wine32_with_downgrades() {
  local preferences status=0
  preferences="$(mktemp)"
  cat >"$preferences" <<'END'
Package: *
Pin: release n=bookworm
Pin-Priority: 1001

Package: *
Pin: release n=bookworm-security
Pin-Priority: 50
END
  chmod a+r "$preferences"
  echo "Retrying with the versions of the base release, downgrading where necessary." >&2
  apt_install --allow-downgrades --no-install-recommends -o Dir::Etc::Preferences="$preferences" \
    "${packages_wine32[@]}" || status=1
  rm -f "$preferences"
  return $status
}

offer_wine32() {
  local answer known
  echo "The 32-bit Windows tests need ${packages_wine32[*]}. That adds the architecture i386 to this" >&2
  echo "system, with about 110 of its libraries; apt lists them and asks again before it installs." >&2
  read -r -p "Add i386 and install them? Otherwise 64-bit tests run instead. [y/N] " answer
  [ "$answer" = y ] || [ "$answer" = Y ] || return 1
  known="$(dpkg --print-foreign-architectures)"
  as_root dpkg --add-architecture i386 && update_package_lists
  as_root apt-get install --no-install-recommends "${packages_wine32[@]}" >&2 && return
  grep -qx i386 <<<"$known" || as_root dpkg --remove-architecture i386
  return 1
}
