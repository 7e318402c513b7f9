#!/usr/bin/env bash
# The package as its users have it, on a bare Debian of its own: installed, used for a Dictation, put over itself in a
# newer version, removed without a trace. Exit status 77 where this system does not let us mount.
set -euo pipefail
. "$(dirname "$0")/../../scripts/lib/setup.sh"

debian=$root/build/package/debian
home=/home/speaker
project=/opt/project

in_debian() { chroot "$debian" env -i PATH=/usr/sbin:/usr/bin DEBIAN_FRONTEND=noninteractive "$@"; }
as_user() { chroot --userspec=speaker:speaker "$debian" env -i PATH=/usr/bin HOME=$home "$@"; }

on_desktop() { # keeps the user's own folders, where the desktop would give empty ones
  as_user "$project/scripts/desktop" env HOME=$home XDG_CONFIG_HOME=$home/.config XDG_DATA_HOME=$home/.local/share "$@"
}

make_debian() {
  local sources
  mapfile -t sources < <(find /etc/apt -name sources.list -o -path '*/sources.list.d/*.list' \
    -o -path '*/sources.list.d/*.sources')
  logged "Making a bare Debian" "Check the network and the sources of apt." \
    mmdebstrap --variant=minbase "$(. /etc/os-release && echo "$VERSION_CODENAME")" "$debian" "${sources[@]}"
  mount --bind "$debian" "$debian" # or nobody inside can tell what is free on its disk
  mount --rbind /dev "$debian/dev"
  mount -t proc proc "$debian/proc"
  apt-config dump Acquire >"$debian/etc/apt/apt.conf.d/90machine" # a proxy, say
  in_debian useradd --create-home speaker
  as_user mkdir -p $home/.config $home/.local/share
  mkdir -p "$debian$project/resources"
  cp -r "$root/scripts" "$root/packages.txt" "$debian$project"
  cp -r "$root/resources/samples" "$debian$project/resources"
  logged "Updating its package lists" "Check the network." in_debian apt-get update
}

apt_get() { # STEP ARGUMENT…
  logged "$1" "Read the message above." in_debian apt-get --yes --no-install-recommends "${@:2}"
}

installed_version() { in_debian dpkg-query -W -f '${Version}' tallowfern; }

install_package() {
  cp "$package" "$debian/tmp/"
  apt_get "Installing the package" install "/tmp/$(basename "$package")"
  in_debian sh -c 'find /usr/bin/tallowfern /usr/lib/tallowfern -maxdepth 1 -type f -executable -exec ldd {} +' | grep "not found" &&
    fail "Installing the package" "It lacks the libraries named above."
  in_debian dpkg -L tallowfern | sed 1d >"$debian/tmp/files" # the first one is /.
}

install_desktop() {
  local names
  mapfile -t names < <(packages test)
  apt_get "Installing the virtual desktop" install "${names[@]}"
}

use() {
  local said
  said=$(on_desktop /usr/bin/python3 "$project/scripts/lib/demo.py" /usr "$project/resources/samples/01.wav" /tmp/demo.png)
  printf '%s\n' "$said"
  grep -qF "editor: $(awk -F '\t' '$1 == "01.wav" { print $2 }' "$root/resources/samples/transcripts.tsv")" <<<"$said" ||
    fail "The Dictation" "These are not the words of the recording."
  (cd "$debian$home" && find . -name '*.json' -exec sha256sum {} + | sort) >"$debian/tmp/data"
  grep -q history.json "$debian/tmp/data" || fail "The Dictation" "It left no history."
}

data_stays() {
  (cd "$debian$home" && sha256sum --quiet --check "$debian/tmp/data") || fail "$1" "It changed what is the user's."
}

upgrade() {
  local tree=$debian/tmp/newer newer
  newer=$(installed_version)+newer
  dpkg-deb -R "$package" "$tree"
  sed -i "s/^Version: .*/Version: $newer/" "$tree/DEBIAN/control"
  dpkg-deb --root-owner-group -Znone --build "$tree" "$debian/tmp/newer.deb" >/dev/null
  apt_get "Installing the newer version" install /tmp/newer.deb
  [ "$(installed_version)" = "$newer" ] || fail "Installing the newer version" "The old one is still there."
  logged "Looking at the newer version" "It cannot dictate." on_desktop tallowfern doctor
  data_stays "Installing the newer version"
}

remove() {
  local path left_over=()
  apt_get "Removing the package" remove tallowfern
  logged "Purging the package" "Read the message above." in_debian dpkg --purge tallowfern # apt forgets what kept no settings
  data_stays "Removing the package"
  while read -r path; do
    [ ! -e "$debian$path" ] || in_debian dpkg -S "$path" >/dev/null 2>&1 || left_over+=("$path")
  done <"$debian/tmp/files"
  mapfile -t -O ${#left_over[@]} left_over < <(cd "$debian" && find usr etc var -iname '*tallowfern*')
  [ ${#left_over[@]} = 0 ] || fail "Removing the package" "This stays behind: ${left_over[*]}"
}

step() { # SENTENCE FUNCTION
  local begun=$SECONDS
  "$2"
  say "$1 ($((SECONDS - begun)) s)"
}

if [ "${1:-}" = --inside ]; then
  package=$2
  step "A bare Debian is there" make_debian
  step "The package is installed" install_package
  step "The virtual desktop is installed" install_desktop
  step "A Dictation was made and pasted" use
  step "A newer version is installed, and the user's data is as it was" upgrade
  step "The package is removed, and nothing but the user's data stays" remove
  exit 0
fi

if ! unshare --mount --pid --fork true 2>/dev/null; then
  say "Skipped: the test of the package mounts and changes roots, which needs root."
  exit 77
fi
"$root/scripts/package"
rm -rf --one-file-system "$debian"
# Processes and mounts end with the namespaces, however this script ends.
setpriv --pdeathsig KILL unshare --mount --pid --fork --kill-child --mount-proc \
  timeout 1800 "$0" --inside "$root"/build/package/tallowfern_*.deb &
inside=$!
end() {
  kill -KILL $inside 2>/dev/null && wait $inside
  rm -rf --one-file-system "$debian" || { sleep 1; rm -rf --one-file-system "$debian"; } # some may still be ending
}
trap end EXIT
trap 'exit 143' INT TERM HUP
wait $inside
