# Sourced by the other scripts. Sets `root`, and leaves the working directory as it is.
# shellcheck shell=bash

root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd -P)

say() { printf '%s\n' "$*" >&2; }

die() {
  say "$*"
  exit 1
}

# configure PRESET: makes the build tree. The build itself notices later changes of the CMake files, but
# not of the presets.
configure() {
  local tree=$root/build/$1
  if [[ ! -f $tree/build.ninja || $root/CMakePresets.json -nt $tree/build.ninja ]]; then
    (cd "$root" && cmake --preset "$1")
  fi
}

# configure_and_build PRESET [TARGET...]
configure_and_build() {
  local preset=$1
  shift
  local -a targets=()
  [[ $# -gt 0 ]] && targets=(--target "$@")
  configure "$preset" || return
  cmake --build "$root/build/$preset" "${targets[@]}"
}

# quietly LOG COMMAND...: runs the command with its output going to build/logs/LOG.log, and shows that
# if the command fails.
quietly() {
  local log=$root/build/logs/$1.log
  shift
  mkdir -p "$root/build/logs"
  "$@" >"$log" 2>&1 </dev/null && return
  local code=$?
  {
    echo
    cat "$log"
  } >&2
  return "$code"
}

# An absolute path of this machine as Windows programs see it under Wine.
windows_path() { printf 'Z:%s' "${1//\//\\}"; }

# Everything that starts a Windows program does so in a prefix of this build tree, never in the one
# in the developer's home. VORDA_WINEPREFIX names another.
export_wine_environment() {
  export WINEPREFIX=${VORDA_WINEPREFIX:-$root/build/wine}
  export WINEARCH=win64
  # Wine translates names and arguments by the locale; in any other one, letters would be lost.
  export LC_ALL=C.UTF-8
  export WINEDEBUG=${WINEDEBUG:--all}
  # A crash must not wait for a debugger's window; nothing is to be put into menus or fetched.
  export WINEDLLOVERRIDES='winedbg.exe=;winemenubuilder.exe=;mscoree=;mshtml='
  # The recycle bin ends in this folder instead of the developer's own trash.
  export XDG_DATA_HOME=${VORDA_XDG_DATA_HOME:-$WINEPREFIX/xdg-data}
  wine=/usr/lib/wine/wine64
  wineserver=/usr/lib/wine/wineserver64
}

# Makes the prefix if it is not ready. Programs that arrive at the same time wait for the first.
ensure_wine_prefix() {
  [[ -f $WINEPREFIX/vorda-ready ]] && return
  mkdir -p "$WINEPREFIX"
  (
    flock 9
    [[ -f $WINEPREFIX/vorda-ready ]] && exit 0
    # The server that these start must not inherit the lock, or it would be held as long as that
    # server lives.
    {
      # With a home of its own the prefix gets no links into the developer's documents.
      mkdir -p "$WINEPREFIX/home" "$XDG_DATA_HOME"
      HOME=$WINEPREFIX/home "$wine" wineboot -i
      # Windows, messages and timers without a display.
      "$wine" reg add 'HKCU\Software\Wine\Drivers' /v Graphics /d null /f
      "$wineserver" -k || true
      "$wineserver" -w
    } >"$WINEPREFIX/setup.log" 2>&1 9>&- </dev/null || {
      cat "$WINEPREFIX/setup.log" >&2
      die "the Wine prefix $WINEPREFIX could not be made"
    }
    touch "$WINEPREFIX/vorda-ready"
  ) 9>"$WINEPREFIX.lock"
}
