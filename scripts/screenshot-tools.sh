#!/bin/sh
# What the disk tools' screens show in the generated home of scripts/screenshots.sh.
#   fixture WORK   Local models (one weight stored twice), big files kept twice, apps in
#                  ~/Applications with what they keep in ~/Library and what a removed app
#                  left, git state for the generated projects (one gone stale), a Docker
#                  engine's disk file, and stand-ins for docker and flatpak in WORK/bin.
#                  HOME must be the generated home.
#   system REPORT  The system folders a whole-disk scan measures, added to the report's
#                  tree: the generated scan covers the home only.
#   run WORK CMD…  CMD with the stand-ins answering from /usr/local/bin, where Tallyfin
#                  looks for them, in a mount namespace of CMD's own: nothing outside it
#                  changes. Where no namespace can be made, CMD runs as it is and the
#                  Docker and Apps screens show this machine's own state.
set -eu

day=86400
ago() { date -d "@$(($(date +%s) - $1 * day))" '+%Y%m%d%H%M.%S'; }

# bundle PATH ID NAME VERSION SIZE: an app bundle with its Info.plist and executable.
bundle() {
  mkdir -p "$1/Contents/MacOS"
  cat >"$1/Contents/Info.plist" <<EOF
<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0"><dict>
<key>CFBundleIdentifier</key><string>$2</string>
<key>CFBundleName</key><string>$3</string>
<key>CFBundleExecutable</key><string>$3</string>
<key>CFBundleShortVersionString</key><string>$4</string>
</dict></plist>
EOF
  fallocate -l "$5" "$1/Contents/MacOS/$3"
}

# quiet PATH DAYS: nothing under PATH changed for DAYS days.
quiet() { find "$1" -depth -exec touch -h -t "$(ago "$2")" {} +; }

fixture() {
  work=$1
  # Models: one GGUF in LM Studio and again in the Hugging Face cache, an MLX model, and Ollama's own.
  lm=$HOME/.lmstudio/models
  mkdir -p "$lm/lmstudio-community/Meta-Llama-3.1-8B-Instruct-GGUF" "$lm/mlx-community/Qwen2.5-7B-Instruct-4bit"
  fallocate -l 480M "$lm/lmstudio-community/Meta-Llama-3.1-8B-Instruct-GGUF/Meta-Llama-3.1-8B-Instruct-Q4_K_M.gguf"
  fallocate -l 300M "$lm/mlx-community/Qwen2.5-7B-Instruct-4bit/model.safetensors"
  hf=$HOME/.cache/huggingface/hub/models--bartowski--Meta-Llama-3.1-8B-Instruct-GGUF/snapshots/5a1f
  mkdir -p "$hf"
  fallocate -l 480M "$hf/Meta-Llama-3.1-8B-Instruct-Q4_K_M.gguf"
  digest=6a0746a1ec1aef3e7ec53868f220ff6e389f6f8ef87a01d77c96807de94ca2aa
  mkdir -p "$HOME/.ollama/models/blobs" "$HOME/.ollama/models/manifests/registry.ollama.ai/library/llama3.2"
  fallocate -l 350M "$HOME/.ollama/models/blobs/sha256-$digest"
  printf '{"layers":[{"digest":"sha256:%s","size":367001600,"mediaType":"application/vnd.ollama.image.model"}]}\n' \
    "$digest" >"$HOME/.ollama/models/manifests/registry.ollama.ai/library/llama3.2/3b"

  # Big files kept twice (identical bytes), the copies made later than the originals.
  mkdir -p "$HOME/Documents/Installers" "$HOME/Movies" "$HOME/Desktop"
  fallocate -l 320M "$HOME/Downloads/debian-12.7.0-amd64-DVD-1.iso"
  fallocate -l 320M "$HOME/Documents/Installers/debian-12.7.0-amd64-DVD-1.iso"
  fallocate -l 210M "$HOME/Movies/Family trip 2024.mov"
  fallocate -l 210M "$HOME/Desktop/Family trip 2024 (export).mov"
  touch -t "$(ago 120)" "$HOME/Downloads/debian-12.7.0-amd64-DVD-1.iso" "$HOME/Movies/Family trip 2024.mov"
  touch -t "$(ago 20)" "$HOME/Documents/Installers/debian-12.7.0-amd64-DVD-1.iso"

  # Apps: one of the user's with what it keeps, one that is part of the system, one more,
  # and what a removed app left a month ago.
  bundle "$HOME/Applications/Sketchbook.app" com.example.sketchbook Sketchbook 2.4.1 180M
  bundle "$HOME/Applications/Calculator.app" com.apple.calculator Calculator 11.0 8M
  bundle "$HOME/Applications/Focus Timer.app" io.focustimer.app "Focus Timer" 1.2 40M
  lib=$HOME/Library
  mkdir -p "$lib/Caches/com.example.sketchbook" "$lib/Application Support/Sketchbook" \
    "$lib/Containers/com.example.sketchbook/Data/Documents" "$lib/Preferences" \
    "$lib/Application Support/com.example.retired-notes" "$lib/Caches/com.example.retired-notes"
  fallocate -l 60M "$lib/Caches/com.example.sketchbook/cache.db"
  fallocate -l 25M "$lib/Application Support/Sketchbook/brushes.db"
  fallocate -l 4M "$lib/Containers/com.example.sketchbook/Data/Documents/harbour.sketch"
  echo '<plist/>' >"$lib/Preferences/com.example.sketchbook.plist"
  fallocate -l 40M "$lib/Application Support/com.example.retired-notes/notes.sqlite"
  fallocate -l 15M "$lib/Caches/com.example.retired-notes/thumbnails.db"
  quiet "$lib/Application Support/com.example.retired-notes" 40
  quiet "$lib/Caches/com.example.retired-notes" 40
  mkdir -p "$HOME/.var/app/org.gimp.GIMP/config" "$HOME/.var/app/com.spotify.Client/cache"
  fallocate -l 120M "$HOME/.var/app/com.spotify.Client/cache/data"
  quiet "$HOME/.var/app/com.spotify.Client" 40

  # Git state for the generated projects: branches, last commits and index dates; the
  # first Rust project untouched for half a year.
  n=0
  for project in "$HOME"/projects/*/; do
    [ -d "$project.git" ] || continue
    n=$((n + 1))
    case $n in
      1) branch=main days=2 ;; 2) branch=feature/checkout days=9 ;; 3) branch=fix/login-timeout days=40 ;;
      *) branch=main days=$((n * 25)) ;;
    esac
    case $project in */rs-000-*) branch=release/1.4 days=190 ;; esac
    echo "ref: refs/heads/$branch" >"${project}.git/HEAD"
    when=$(($(date +%s) - days * day))
    printf '0000000 1a2b3c4 Ann Example <ann@example.com> %s +0100\tcommit: work in progress\n' "$when" \
      >"${project}.git/logs/HEAD"
    touch -t "$(ago "$days")" "${project}.git/index"
    if [ "$days" -gt 100 ]; then quiet "$project" "$days"; fi
    # The most recent one has work not committed yet.
    if [ "$n" = 1 ] && [ -d "${project}src" ]; then touch "$(find "${project}src" -type f | head -1)"; fi
  done

  # A Docker engine's disk file: 64 GB as the file says, 512 MB really on the disk.
  mkdir -p "$HOME/.docker/desktop/vms/0/data"
  truncate -s 64G "$HOME/.docker/desktop/vms/0/data/Docker.raw"
  fallocate -o 0 -l 512M "$HOME/.docker/desktop/vms/0/data/Docker.raw"

  mkdir -p "$work/bin"
  cat >"$work/bin/docker" <<'EOF'
#!/bin/sh
[ "$1 $2" = "system df" ] || exit 1
cat <<'LINES'
{"Active":"3","Reclaimable":"4.213GB (61%)","Size":"6.871GB","TotalCount":"14","Type":"Images"}
{"Active":"2","Reclaimable":"118.4MB (35%)","Size":"336.2MB","TotalCount":"5","Type":"Containers"}
{"Active":"1","Reclaimable":"1.09GB (73%)","Size":"1.493GB","TotalCount":"4","Type":"Local Volumes"}
{"Active":"0","Reclaimable":"2.86GB","Size":"2.86GB","TotalCount":"37","Type":"Build Cache"}
LINES
EOF
  cat >"$work/bin/flatpak" <<'EOF'
#!/bin/sh
[ "$1" = list ] || exit 1
printf 'org.gimp.GIMP\tGNU Image Manipulation Program\t2.10.38\t1.1 GB\n'
printf 'org.mozilla.Thunderbird\tThunderbird\t128.3.1esr\t312 MB\n'
EOF
  chmod 755 "$work/bin/docker" "$work/bin/flatpak"
}

system() {
  python3 - "$1" <<'PY'
import json, os, sys
path = sys.argv[1]
with open(path) as f:
    report = json.load(f)
root = report["tree"]
def folder(name, size, children=()):
    node = {"name": name, "size": int(size)}
    if children:
        node["children"] = list(children)
    return node
added = [
    folder("usr", 9.8e9),
    folder("var", 15.3e9, [
        folder("lib", 11.9e9, [folder("docker", 8.2e9), folder("snapd", 1.8e9), folder("flatpak", 1.5e9),
                               folder("systemd", 0.4e9, [folder("coredump", 0.4e9)])]),
        folder("log", 2.1e9),
        folder("cache", 1.3e9, [folder("apt", 1.3e9)]),
    ]),
    folder("tmp", 0.19e9),
]
root.setdefault("children", []).extend(added)
root["size"] += sum(node["size"] for node in added)
with open(path + ".tmp", "w") as f:
    json.dump(report, f)
os.replace(path + ".tmp", path)
PY
}

run() {
  work=$1
  shift
  for namespace in "unshare --mount --propagation private" "unshare --user --map-root-user --mount --propagation private"; do
    if $namespace true 2>/dev/null; then
      exec $namespace sh -c 'mount --bind "$0" /usr/local/bin && exec "$@"' "$work/bin" "$@"
    fi
  done
  echo "screenshots: no mount namespace here, so Docker and Apps show this machine's own state" >&2
  exec "$@"
}

"$@"
