#!/usr/bin/env bash
# wine-run.sh PROGRAM.exe ARGUMENT…: runs a Windows program under Wine, as CTest does with those of
# the windows presets. Each program has a Wine prefix of its own beside it, PROGRAM.wine, so that none
# sees another's registry and files; what a run leaves there stays for the next one. WINE_RUN_PREFIX
# names another one.
#
# A run that takes longer than WINE_RUN_SECONDS (110 unless set) is ended with all that it started,
# and fails with exit code 124. There is no display unless WINE_RUN_DISPLAY names one; "own" is one
# that is there for this run only.
set -euo pipefail

program="$(realpath "$1")"
shift

header="$(od -An -tu4 -j60 -N4 "$program")"
case "$(od -An -tx2 -j$((header + 4)) -N2 "$program")" in
  *014c) export WINEARCH=win32 ;;
  *) export WINEARCH=win64 ;;
esac

# A prefix takes many seconds to make, so there is one template, made again when Wine or this script
# has changed. Windows without a window manager have their captions drawn by Wine, and a crash is an
# exit code instead of a dialog.
templates="$(cd "$(dirname "$0")/.." && pwd)/build/wine"
template="$templates/$WINEARCH-$(wine --version | tr -cd 'A-Za-z0-9.')-$(sha256sum "$0" | cut -c1-8)"
prefix="${WINE_RUN_PREFIX:-${program%.exe}.wine}"

export WINEPREFIX="$prefix" HOME="$prefix" WINEDEBUG="${WINEDEBUG:--all}" LC_ALL=C.UTF-8
export WINEDLLOVERRIDES="mscoree,mshtml,winemenubuilder.exe="
export DISPLAY="${WINE_RUN_DISPLAY:-}"
if [ "$DISPLAY" = own ]; then
  # The desktop of an earlier run stands on a display that is gone.
  wineserver -k || true
  wineserver -w
  coproc Xvfb -displayfd 1 -screen 0 1280x1024x24 -nolisten tcp -noreset 2>/dev/null
  trap 'wineserver -k || true; kill "$COPROC_PID"' EXIT
  read -r DISPLAY <&"${COPROC[0]}"
  DISPLAY=":$DISPLAY"
fi
unset WAYLAND_DISPLAY

# Wine makes links to the user's own folders for documents; a test has its own.
own_user_folders() {
  local link
  find "$1/drive_c/users" -type l -print0 | while IFS= read -r -d '' link; do
    rm "$link"
    mkdir "$link"
  done
}

make_template() {
  [ ! -d "$template" ] || return 0
  local new="$template.new"
  export WINEPREFIX="$new" HOME="$new"
  rm -rf "$new"
  mkdir -p "$new"
  wineboot --init
  ln -sf /usr/share/wine/fonts/* "$new/drive_c/windows/Fonts/"
  wine reg add 'HKCU\Software\Wine\X11 Driver' /v Managed /d N /f
  wine reg add 'HKCU\Software\Wine\WineDbg' /v ShowCrashDialog /t REG_DWORD /d 0 /f
  wineserver -k
  wineserver -w
  own_user_folders "$new"
  mv "$new" "$template"
}

# Wine never writes to its own programs in a prefix, which are most of it; they are hard links.
copy_template() {
  [ "$(cat "$prefix/template" 2>/dev/null)" != "$template" ] || return 0
  rm -rf "$prefix" "$prefix.new"
  cp -al "$template" "$prefix.new"
  cp -a --remove-destination "$template"/*.reg "$prefix.new"
  echo "$template" >"$prefix.new/template"
  mv "$prefix.new" "$prefix"
}

# locked FILE FUNCTION: one run at a time; what the function says is shown when it fails.
locked() {
  (
    flock 9
    "$2" >"$1.log" 2>&1 </dev/null 9>&- || {
      cat "$1.log" >&2
      exit 1
    }
  ) 9>"$1.lock"
}
mkdir -p "$templates"
locked "$template" make_template
locked "$prefix" copy_template

# A program waits for whatever holds its output open, as CTest does. Wine's services are started before
# the program, so that they do not inherit it, and stay 10 s for the next one.
start_services() {
  ! wineserver -p10 || wine cmd /c exit
}
start_services >/dev/null 2>&1 </dev/null

status=0
timeout -k 5 "${WINE_RUN_SECONDS:-110}" wine "$program" "$@" || status=$?
if [ $status -eq 124 ] || [ $status -eq 137 ]; then
  wineserver -k || true
fi
exit $status
