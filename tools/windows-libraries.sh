#!/usr/bin/env bash
# windows-libraries.sh [i686|x86_64]: cross-builds the libraries of the Windows programs from Debian's
# source packages. They end up in build/windows-libraries/TARGET, with static libraries and headers
# only. Does nothing when they are there already: a copy is keyed by all that makes it.
#
# To add a library, name it and its version here and write a function build_NAME, which runs in its
# unpacked source and installs into $prefix. Patches of ours go to packaging/windows/patches/NAME.
set -euo pipefail
cd "$(dirname "$0")/.."

versions=(
  bzip2=1.0.8-5
  json-c=0.16-2
  botan=2.19.3+dfsg-1+deb12u1
  rnp=0.16.3-1
  uchardet=0.0.7-1
)
# Beside those that librnp asks for.
botan_modules=system_rng,locking_allocator,aes_ni,sha1_x86,sha2_32_x86

target="${1:-i686}"
triple="$target-w64-mingw32"
root="$PWD"
home="$root/build/windows-libraries"
sources="$home/sources"
patches="$root/packaging/windows/patches"

ingredients() {
  echo "${versions[@]}"
  "$triple-g++-posix" --version
  cat "$root/tools/windows-libraries.sh" "$root/cmake/windows-toolchain.cmake"
  [ ! -d "$patches" ] || find "$patches" -type f -print0 | sort -z | xargs -0 cat
}
key="$(ingredients | sha256sum | cut -c1-12)"
finished="$home/$target-$key"
[ "$(readlink "$home/$target" || true)" != "$target-$key" ] || exit 0

mkdir -p "$home"
exec 9>"$home/lock"
flock 9
if [ -d "$finished" ]; then
  ln -sfn "$target-$key" "$home/$target"
  exit 0
fi

work="$home/work-$target"
prefix="$work/prefix"
rm -rf "$work"
mkdir -p "$prefix/lib" "$prefix/include"

# Equal compilations are found again from any checkout.
ccache="$(command -v ccache || true)"
export CCACHE_BASEDIR="$root" CCACHE_NOHASHDIR=1
# They read what strangers send: a function whose stack was overwritten ends the program.
protected=-fstack-protector-strong
cc="${ccache:+$ccache }$triple-gcc-posix $protected"
cxx="${ccache:+$ccache }$triple-g++-posix $protected"
jobs="$(nproc)"

# apt with lists of its own, so that no right to change the system's is needed. It takes only files
# that Debian's signatures vouch for.
apt_sources() {
  local lists="$work/apt"
  mkdir -p "$lists/lists/partial" "$lists/cache/archives/partial"
  apt-get indextargets 'Created-By: Packages' 'Origin: Debian' --format \
    'deb-src [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] $(REPO_URI) $(RELEASE) $(COMPONENT)' |
    sort -u >"$lists/sources.list"
  apt_options=(-qq -o "Dir::Etc::SourceList=$lists/sources.list" -o Dir::Etc::SourceParts=/dev/null
    -o "Dir::State::Lists=$lists/lists" -o "Dir::Cache=$lists/cache" -o APT::Sandbox::User=root)
  apt-get "${apt_options[@]}" update || true
}

dsc_of() {
  echo "$sources/${1%%=*}_${1#*=}.dsc"
}

download() {
  local pinned wanted=()
  for pinned in "${versions[@]}"; do
    [ -f "$(dsc_of "$pinned")" ] || wanted+=("$pinned")
  done
  [ ${#wanted[@]} -gt 0 ] || return 0
  mkdir -p "$sources"
  apt_sources
  (cd "$sources" && apt-get "${apt_options[@]}" source --download-only "${wanted[@]}")
}

# dpkg-source compares every file with the checksums of the .dsc and applies Debian's own patches.
unpack() {
  local pinned="$1" name="${1%%=*}" patch
  dpkg-source --no-check -x "$(dsc_of "$pinned")" "$work/$name"
  for patch in "$patches/$name"/*.patch; do
    [ ! -f "$patch" ] || patch -d "$work/$name" -p1 <"$patch"
  done
}

# cross_cmake OPTION…: configures the source of the current folder into cross/.
cross_cmake() {
  cmake -S . -B cross -G Ninja -DCMAKE_BUILD_TYPE=Release -DBUILD_SHARED_LIBS=OFF -DBUILD_TESTING=OFF \
    -DCMAKE_TOOLCHAIN_FILE="$root/cmake/windows-$target.cmake" \
    -DCMAKE_C_COMPILER_LAUNCHER="$ccache" -DCMAKE_CXX_COMPILER_LAUNCHER="$ccache" \
    -DCMAKE_C_FLAGS="$protected" \
    -DCMAKE_INSTALL_PREFIX="$prefix" -DCORVESSA_WINDOWS_LIBRARIES="$prefix" "$@"
}

build_bzip2() {
  make -j"$jobs" libbz2.a CC="$cc" AR="$triple-ar" RANLIB="$triple-ranlib" \
    CFLAGS="-O2 -D_FILE_OFFSET_BITS=64"
  cp libbz2.a "$prefix/lib"
  cp bzlib.h "$prefix/include"
}

build_json_c() {
  cross_cmake -DDISABLE_WERROR=ON -DENABLE_THREADING=OFF -DBUILD_APPS=OFF
  cmake --build cross
  cmake --install cross
}

build_uchardet() {
  cross_cmake -DBUILD_BINARY=OFF -DBUILD_STATIC=ON
  cmake --build cross
  cmake --install cross
}

# The modules that librnp asks for, the system's random numbers, memory that is never swapped out, and
# faster code for newer processors, which Botan looks for when it runs, all as Debian's own library
# has. That code keeps vectors on the stack, where 32-bit Windows aligns to 4 bytes only. SHA-1 for SSE2
# is slower than the plain one then.
build_botan() {
  local cpu=x86_32
  [ "$target" = i686 ] || cpu=x86_64
  mkdir cross && cd cross
  /usr/bin/python3 ../configure.py --os=mingw --cpu=$cpu --cc=gcc --cc-bin="$cxx" \
    --extra-cxxflags=-mstackrealign --ar-command="$triple-ar" --prefix="$prefix" --minimized-build \
    --enable-modules="$(tr '\n' ',' <"$work/rnp/ci/botan-modules")$botan_modules" \
    --amalgamation --disable-shared-library --build-targets=static --without-documentation
  make
  make install
}

# librnp looks for a POSIX regex library but is told to use the compiler's. Its version comes from the
# environment, as in Debian's own build.
build_rnp() {
  "$triple-ar" rc "$prefix/lib/libregex.a"
  export DEB_VERSION SOURCE_DATE_EPOCH PKG_CONFIG_LIBDIR="$prefix/lib/pkgconfig"
  DEB_VERSION="$(dpkg-parsechangelog -S Version)"
  SOURCE_DATE_EPOCH="$(dpkg-parsechangelog -S Timestamp)"
  cross_cmake -DENABLE_DOC=OFF -DDOWNLOAD_GTEST=OFF -DDOWNLOAD_RUBYRNP=OFF \
    -DCMAKE_CXX_FLAGS="$protected -DRNP_USE_STD_REGEX -D__MINGW_USE_VC2005_COMPAT" \
    -DZLIB_LIBRARY_RELEASE="/usr/$triple/lib/libz.a" -DZLIB_INCLUDE_DIR="/usr/$triple/include"
  cmake --build cross --target librnp
  cmake --install cross --component development
}

# start NAME: builds in the background, so that a failing command ends it; finish NAME: waits for it.
declare -A running=()
start() {
  (
    # One by one: in a list of commands, bash would not stop at the first that fails.
    cd "$work/$1"
    "build_${1//-/_}"
    echo "$1: $SECONDS s" >&3
  ) 3>&2 >"$work/$1.log" 2>&1 &
  running[$1]=$!
}
finish() {
  wait "${running[$1]}" || {
    tail -40 "$work/$1.log" >&2
    echo "$1 could not be built for $target." >&2
    exit 1
  }
}

echo "Building the Windows libraries (${versions[*]}) for $target; this takes some minutes, once." >&2
download >"$work/download.log" 2>&1 || {
  cat "$work/download.log" >&2
  echo "Cannot download the sources. If Debian has newer ones, set their versions in $0." >&2
  exit 1
}
for pinned in "${versions[@]}"; do
  unpack "$pinned" >>"$work/unpack.log" 2>&1
done
# Botan is one big file, which keeps one processor busy.
start botan
for name in bzip2 json-c uchardet; do
  start "$name"
  finish "$name"
done
finish botan
start rnp
finish rnp
# What programs of CMake and pkg-config are told there holds only for this folder.
rm -rf "$prefix/bin" "$prefix/share" "$prefix/lib/cmake" "$prefix/lib/pkgconfig"
mv "$prefix" "$finished"
ln -sfn "$target-$key" "$home/$target"
rm -rf "$work"
