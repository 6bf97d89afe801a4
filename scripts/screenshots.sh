#!/bin/sh
# Renders the app's built screens into docs/screenshots/*.png: a generated home
# folder in a temp folder, scanned twice by the command line (with some growth in
# between) and given a few weeks of earlier history, then the real app on a virtual
# display (xvfb-run), switched from screen to screen by later starts with --route,
# each captured with ImageMagick's import. Nothing of the real home is read or written.
# Needs: a release build (cmake --preset release && cmake --build --preset release),
# xvfb, xauth and imagemagick (scripts/install-deps.sh --screenshots), and
# ../shared/bench/make-tree.py beside the repository.
set -eu

if [ "${1:-}" = --on-display ]; then
  # Later starts hand their --route (or --map) to the running app, which switches screens.
  shoot() {
    case "${2:-}" in
      "") ;;
      map:*) "$app" --map "${2#map:}" ;;
      *) "$app" --route "$2" ;;
    esac
    sleep "${3:-1.5}"
    import -window root -crop "$size+0+0" +repage "$out/$1$SUFFIX.png"
  }
  "$app" &
  pid=$!
  sleep 3
  shoot overview
  shoot cleanup cleanup
  shoot map-sunburst map:sunburst 2
  shoot map-treemap map:treemap 2
  shoot map-city map:city 2
  shoot large-files largeFiles
  shoot history history
  shoot ai-models aiModels 3
  shoot projects projects 3
  shoot duplicates duplicates 3
  shoot apps apps 3
  shoot docker docker 3
  shoot system-data systemData 3
  shoot agents agents 2
  shoot help help
  shoot whats-new whatsNew
  shoot profile profile 2
  kill "$pid"
  wait "$pid" 2>/dev/null || true
  exit 0
fi

cd "$(dirname "$0")/.."
repo=$(pwd)
build=${BUILD:-$repo/build/release}
app=$build/app/tallyfin-app
cli=$build/cli/tallyfin
out=$repo/docs/screenshots
size=1180x780
[ -x "$app" ] && [ -x "$cli" ] || { echo "screenshots: build the release preset first" >&2; exit 1; }

# Not under /tmp: the System Data screen measures /tmp, which must not hold the home.
work=$(mktemp -d "$build/screenshots.XXXXXX")
trap 'rm -rf "$work"' EXIT
python3 "$repo/../shared/bench/make-tree.py" "$work/home" --files 20000 --no-special --quiet >/dev/null
mkdir -m 700 "$work/run"
export HOME="$work/home" XDG_DATA_HOME="$work/data" XDG_CONFIG_HOME="$work/config" XDG_RUNTIME_DIR="$work/run"

sh "$repo/scripts/screenshot-tools.sh" fixture "$work"
# Two assistants installed, one of them already connected, for the AI Agents screen.
mkdir -p "$HOME/.cursor" "$HOME/.codex"
"$cli" connect cursor >/dev/null
"$cli" --root "$HOME" >/dev/null
# Growth for the second scan to report: a model download and an installer.
mkdir -p "$HOME/.cache/huggingface/hub/models--acme--coder-7b/blobs" "$HOME/Downloads"
fallocate -l 420M "$HOME/.cache/huggingface/hub/models--acme--coder-7b/blobs/weights.safetensors"
fallocate -l 260M "$HOME/Downloads/Ubuntu-24.04-desktop.iso"
fallocate -l 180M "$HOME/Downloads/conference-talk.mp4"
"$cli" --root "$HOME" >/dev/null

# Earlier scans, every five days, each a little smaller: the history chart, the
# weekly growth and the growing folders need more than two scans.
python3 - "$XDG_DATA_HOME/Tallyfin" <<'PY'
import json, os, sys
store = sys.argv[1]
def load(name):
    with open(os.path.join(store, name)) as f:
        return json.load(f)
def save(name, value):
    path = os.path.join(store, name)
    with open(path + ".tmp", "w") as f:
        json.dump(value, f)
    os.replace(path + ".tmp", path)
day = 86400.0
history = load("history.json")
first = history[0]
older = []
for step in range(8, 0, -1):
    entry = dict(first)
    entry["date"] = first["date"] - step * 5 * day
    entry["used"] = int(first["used"] - step * 1.6e9)
    entry["free"] = int(first["free"] + step * 1.6e9)
    entry["trigger"] = "scheduled"
    older.append(entry)
save("history.json", older + history)
samples = load("folder-history.json")
oldest = samples[0]
earlier = []
for step in range(3, 0, -1):
    sizes = {path: int(size * (1 - 0.08 * step)) for path, size in oldest["sizes"].items()}
    earlier.append({"date": oldest["date"] - step * 5 * day, "sizes": sizes})
save("folder-history.json", earlier + samples)
PY
sh "$repo/scripts/screenshot-tools.sh" system "$XDG_DATA_HOME/Tallyfin/report.json"

mkdir -p "$out"
export app out size
capture() {  # capture SUFFIX: every built screen of a fresh app on its own virtual display
  SUFFIX=$1 sh "$repo/scripts/screenshot-tools.sh" run "$work" \
    xvfb-run -a -s "-screen 0 ${size}x24" sh "$repo/scripts/screenshots.sh" --on-display
}
capture ""
mkdir -p "$XDG_CONFIG_HOME/Tallyfin"
echo '{"appearance": "dark"}' >"$XDG_CONFIG_HOME/Tallyfin/preferences.json"
capture "-dark"
ls "$out"
