# Shell code that the scripts share. Source it; it moves to the top of the tree.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"

die() {
  echo "$(basename "$0"): $*" >&2
  exit 1
}

# Runs a command without its output, which is shown only when it fails.
quietly() {
  local log
  log=$(mktemp)
  if ! "$@" >"$log" 2>&1 </dev/null; then
    cat "$log" >&2
    rm -f "$log"
    die "failed: $*"
  fi
  rm -f "$log"
}

# build PRESET [TARGET...]: configures and builds in build/PRESET.
build() {
  local preset=$1
  shift
  quietly cmake --preset "$preset"
  quietly cmake --build --preset "$preset" -j "$(nproc)" ${@:+--target "$@"}
}

# ------------------------------------------------------ a desktop under Wine

display_pid=
wine_started=
wine_lock=
helper_pids=()

stop_wine() {
  local pid
  for pid in "${helper_pids[@]}"; do
    kill "$pid" 2>/dev/null || true
  done
  helper_pids=()
  if [ -n "$wine_started" ]; then
    wineserver -k 2>/dev/null || true
    wineserver -w 2>/dev/null || true
    wine_started=
  fi
  if [ -n "$display_pid" ]; then
    kill "$display_pid" 2>/dev/null || true
    wait "$display_pid" 2>/dev/null || true
    display_pid=
  fi
}

# start_display WIDTHxHEIGHT: an X server of our own on a free display.
start_display() {
  local dir number
  dir=$(mktemp -d)
  mkfifo "$dir/ready"
  Xvfb -displayfd 3 -screen 0 "$1x24" -nolisten tcp -noreset \
    3>"$dir/ready" >"$dir/log" 2>&1 </dev/null &
  display_pid=$!
  # The server writes its number when it accepts clients, and nothing if it ends.
  if ! read -r number <"$dir/ready"; then
    cat "$dir/log" >&2
    die "Xvfb did not start"
  fi
  rm -rf "$dir"
  export DISPLAY=:$number
}

# use_wine10 ARGUMENT...: starts the script again, with these arguments, so that the
# programs of Wine are those of build/wine10-root. What is mounted for that ends with
# the mount namespace, and so with the script and Wine.
use_wine10() {
  local folder=$root/build/wine10-root bin=$root/build/wine10-bin name
  if [ -z "${QX_WINE10-}" ]; then
    scripts/setup wine10
    QX_WINE10=yes exec unshare --mount "scripts/$(basename "$0")" "$@"
  fi
  mkdir -p "$bin" "$folder$root"
  mount --rbind /dev "$folder/dev"
  mount --rbind /proc "$folder/proc"
  mount --bind /tmp "$folder/tmp"
  mount --bind "$root" "$folder$root"
  for name in wine wineboot winecfg wineserver; do
    ln -sf ../../scripts/wine10 "$bin/$name"
  done
  PATH=$bin:$PATH
}

# start_wine win7|win10|win11 WIDTHxHEIGHT: a display and a Wine of our own that says
# it is that version. Ends with the script. Scripts that this one runs find QX_WINE set.
start_wine() {
  trap stop_wine EXIT
  stop_wine
  export WINEPREFIX=$root/build/wine${QX_WINE10:+10} WINEARCH=win64 WINEDEBUG=-all
  export WINEDLLOVERRIDES="mscoree,mshtml="
  # Direct3D draws with Mesa on the processor here, whose anisotropic filter blurs even
  # a picture of equal size, which no graphics card does. Without it Wine filters
  # linearly.
  export MESA_EXTENSION_OVERRIDE="-GL_ARB_texture_filter_anisotropic -GL_EXT_texture_filter_anisotropic"
  export HOME=${HOME:-/root}
  # Two scripts at once would end each other's programs.
  mkdir -p build
  if [ -z "$wine_lock" ]; then
    exec {wine_lock}>build/wine.lock
    flock "$wine_lock"
  fi
  start_display "$2"
  wine_started=yes
  if [ ! -f "$WINEPREFIX/.ready" ]; then
    rm -rf "$WINEPREFIX"
    mkdir -p "$WINEPREFIX"
    quietly wineboot --init
    # A crash must end the program, not wait for someone to close a dialog.
    quietly wine reg add 'HKCU\Software\Wine\WineDbg' /v ShowCrashDialog /t REG_DWORD /d 0 /f
    # There is no window manager. Wine would wait for its answer, two seconds for
    # every window that is hidden.
    quietly wine reg add 'HKCU\Software\Wine\X11 Driver' /v Managed /t REG_SZ /d N /f
    wineserver -w
    touch "$WINEPREFIX/.ready"
  fi
  wineserver -p  # else every program would boot a Windows of its own
  quietly winecfg -v "$1"
  export QX_WINE=$1
}

# start_windows PROGRAM [ARGUMENT...]: runs one of our programs that opens
# windows, in the background, until the script ends. Returns once it has said
# "ready".
start_windows() {
  local dir line
  dir=$(mktemp -d)
  mkfifo "$dir/out"
  wine "$@" >"$dir/out" 2>/dev/null </dev/null &
  helper_pids+=($!)
  exec {windows_output}<"$dir/out"  # kept open, so that the program can write on
  rm -rf "$dir"
  read -r line <&"$windows_output" || die "$1 ended early"
  [ "${line%$'\r'}" = ready ] || die "$1 said: $line"
}
