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
  # Of Wine's own messages only those about why it ended a program, which would otherwise end without a word.
  export WINEDEBUG=${WINEDEBUG:--all,err+seh,err+virtual}
  # A crash must not wait for a debugger's window; nothing is to be put into menus or fetched.
  export WINEDLLOVERRIDES='winedbg.exe=;winemenubuilder.exe=;mscoree=;mshtml='
  # The recycle bin ends in this folder instead of the developer's own trash.
  export XDG_DATA_HOME=${VORDA_XDG_DATA_HOME:-$WINEPREFIX/xdg-data}
  # Wine's server keeps its socket and lock here, so they go when the prefix goes.
  export TMPDIR=$WINEPREFIX/tmp
  wine=/usr/lib/wine/wine64
  wineserver=/usr/lib/wine/wineserver64
}

# Starts the prefix's server on its own. In a new prefix this comes before the first program: of two
# programs that both find no server there, one may fail. The server, and with it Wine's services, stays
# up for ten minutes after the last program.
start_wine_server() {
  "$wineserver" -p600 || [[ $? -eq 2 ]] # 2: it is running already
}

# Ends every program of the prefix and waits for the server to finish.
end_wine() {
  "$wineserver" -k || true # fails if no server is running
  "$wineserver" -w
  # Where the user has a runtime folder, Wine prefers that to TMPDIR.
  local device inode runtime
  read -r device inode < <(stat -c '%d %i' "$WINEPREFIX")
  runtime=/run/user/$(id -u)/wine/server-$(printf '%x-%x' "$device" "$inode")
  [[ ! -d $runtime ]] || rm -r "$runtime"
}

wine_prefix_is_ready() { [[ -f $WINEPREFIX/vorda-ready && -d $TMPDIR ]]; }

# Makes the prefix if it is not ready. Programs that arrive at the same time wait for the first.
ensure_wine_prefix() {
  wine_prefix_is_ready && return
  mkdir -p "$WINEPREFIX"
  (
    flock 9
    wine_prefix_is_ready && exit 0
    # The server started here must not inherit the lock, or it would hold it for as long as it lives.
    {
      # With a home of its own the prefix gets no links into the developer's documents.
      mkdir -p "$WINEPREFIX/home" "$XDG_DATA_HOME" "$TMPDIR" &&
        rm -f "$WINEPREFIX/wineserver" && # names a folder in an earlier TMPDIR
        start_wine_server &&
        HOME=$WINEPREFIX/home "$wine" wineboot -i &&
        # Windows, messages and timers without a display.
        "$wine" reg add 'HKCU\Software\Wine\Drivers' /v Graphics /d null /f &&
        end_wine
    } >"$WINEPREFIX/setup.log" 2>&1 9>&- </dev/null || {
      cat "$WINEPREFIX/setup.log" >&2
      die "the Wine prefix $WINEPREFIX could not be made"
    }
    touch "$WINEPREFIX/vorda-ready"
  ) 9>"$WINEPREFIX.lock"
}
