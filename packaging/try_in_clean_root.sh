#!/usr/bin/env bash
# try_in_clean_root.sh FOLDER: installs the packages of FOLDER in minimal systems that have nothing else, with the packages
# that they declare and no others, and renders a frame in each. Needs root and debootstrap.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
packages=$(realpath -m "$1")
[ "$(id -u)" -eq 0 ] || { printf 'try_in_clean_root.sh: chroot needs root\n' >&2; exit 1; }
# What is mounted below is nobody else's and goes with the last process.
[ -n "${OWN_MOUNTS-}" ] || OWN_MOUNTS=yes exec unshare --mount "${BASH_SOURCE[0]}" "$packages"
# one PATTERN: the package of that name; nothing when it isn't there.
one() { find "$packages" -maxdepth 1 -name "$1" 2>/dev/null || true; }
deb=$(one '*.deb') archive=$(one '*.tar.gz') plugin=$(one '*plugin*standalone*.zip')
if [ -z "$deb" ] || [ -z "$archive" ] || [ -z "$plugin" ]; then
  printf 'try_in_clean_root.sh: not all packages are in %s; make them with ./dev package\n' "$packages" >&2
  exit 1
fi
scratch=$(mktemp -d)

leave() {
  local root
  for root in "$scratch"/*/; do
    umount "$root/proc" "$root/dev" 2>/dev/null || true
  done
  rm -rf --one-file-system "$scratch"
}
trap leave EXIT

say() { printf '\n== %s\n' "$*"; }
inside() { chroot "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C.UTF-8 HOME=/tmp DEBIAN_FRONTEND=noninteractive "$@"; }
install_in() { inside apt-get install -y -qq --no-install-recommends "$@" >"$scratch/apt.log" || { cat "$scratch/apt.log"; exit 1; }; }

# enter ROOT: the kernel's folders, and this machine's way to the package archive.
enter() {
  root=$1
  mount --bind /proc "$root/proc"
  mount --bind /dev "$root/dev"
  inside apt-get update -qq
}

# render_with QUILLMERE MAKE_HARBOUR: as somebody who may write nowhere but to /tmp.
render_with() {
  cp "$here/render_one_frame.sh" "$root/tmp/"
  inside setpriv --reuid=65534 --regid=65534 --clear-groups /tmp/render_one_frame.sh "$@" /tmp/render
}

say 'a minimal system'
# shellcheck disable=SC2016 # the name is one of apt's own
mirror=$(apt-get indextargets --format '$(REPO_URI)' 'Created-By: Packages' 'Codename: bookworm' | head -n 1)
debootstrap --variant=minbase --include=ca-certificates bookworm "$scratch/deb" "${mirror:-http://deb.debian.org/debian}" >"$scratch/debootstrap.log" ||
  { tail "$scratch/debootstrap.log"; exit 1; }
for place in sources.list sources.list.d apt.conf.d; do
  cp -r "/etc/apt/$place" "$scratch/deb/etc/apt/" 2>/dev/null || true
done
cp -a "$scratch/deb" "$scratch/archive"

say "$(basename "$deb")"
enter "$scratch/deb"
cp "$deb" "$root/tmp/quillmere.deb"
install_in /tmp/quillmere.deb
render_with quillmere /usr/share/quillmere/examples/make_harbour.py

say "$(basename "$plugin")"
unzip -q "$plugin" -d "$root/tmp"
inside quillmere doctor --plugin /tmp/quillmere --write-dir /tmp/render/data

say "$(basename "$deb"), removed again"
inside dpkg -r quillmere
left=$(find "$root/usr/bin/quillmere" "$root/usr/lib/quillmere" "$root/usr/share/quillmere" 2>/dev/null || true)
[ -z "$left" ] || { printf 'left behind:\n%s\n' "$left"; exit 1; }

say "$(basename "$archive")"
enter "$scratch/archive"
mkdir "$root/opt/quillmere"
tar xzf "$archive" -C "$root/opt/quillmere" --strip-components=1
mapfile -t needed < <(sed 's/ .*//' "$root/opt/quillmere/share/doc/quillmere/dependencies.txt")
install_in "${needed[@]}"
render_with /opt/quillmere/bin/quillmere /opt/quillmere/share/quillmere/examples/make_harbour.py
say 'all packages work'
