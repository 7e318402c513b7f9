# Shared by the scripts: saying, failing, installing, building. To be sourced from bash with `set -eu`.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
build=$root/build/release
logs=$root/build/logs

say() { printf '%s\n' "$*"; }

# fail STEP ADVICE: the last words of every script.
fail() {
  printf '\n%s failed.\n%s\n' "$1" "$2" >&2
  exit 1
}

# logged STEP ADVICE COMMAND…: runs quietly; on failure shows the end of what was printed.
logged() {
  local step=$1 advice=$2 log
  shift 2
  mkdir -p "$logs"
  log=$logs/$(printf '%s' "$step" | tr -c 'a-zA-Z0-9' '-').log
  if ! "$@" >"$log" 2>&1; then
    tail -n 25 "$log" >&2
    fail "$step" "$advice
Everything that it printed: $log"
  fi
}

# packages KIND…: the names in packages.txt that are needed for these kinds.
packages() {
  awk -v kinds=" $* " '!/^#/ && NF == 2 && index(kinds, " " $1 " ") { print $2 }' "$root/packages.txt" | sort -u
}

missing_packages() {
  local wanted installed
  wanted=$(packages "$@")
  # shellcheck disable=SC2086
  installed=$({ dpkg-query -W -f '${db:Status-Status} ${Package}\n' $wanted 2>/dev/null || true; } | # fails over unknown ones
    sed -n 's/^installed //p' | sort -u)
  comm -23 <(printf '%s\n' "$wanted") <(printf '%s\n' "$installed") | while read -r name; do
    [ "$name" = npm ] && command -v npm >/dev/null && continue # from wherever it came
    printf '%s\n' "$name"
  done
}

# install KIND…: what is missing of packages.txt; nothing and no network when all is there.
install() {
  local missing=() administrator=()
  command -v dpkg-query >/dev/null ||
    fail "Installing packages" "This system has no dpkg. Install what packages.txt lists by the means of your system."
  mapfile -t missing < <(missing_packages "$@")
  [ ${#missing[@]} -gt 0 ] || return 0
  if [ "$(id -u)" != 0 ]; then
    command -v sudo >/dev/null || fail "Installing packages" "Run as root or install sudo; needed are: ${missing[*]}"
    administrator=(sudo)
  fi
  say "Installing ${#missing[@]} Debian packages: ${missing[*]}"
  logged "Updating the package lists" "Check the network and /etc/apt/sources.list." \
    "${administrator[@]}" apt-get update
  logged "Installing packages" "Read the message above; \`apt-get install -f\` often helps." \
    "${administrator[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends "${missing[@]}"
}

# compile [TARGET…] of the release build; everything without targets.
compile() {
  local targets=()
  [ $# -gt 0 ] && targets=(--target "$@")
  [ -f "$build/build.ninja" ] ||
    logged "Configuring" "Read the message above." cmake -S "$root" --preset release
  # Whatever else ninja says, errors too, is for the build to tell.
  if [[ $(ninja -C "$build" -n "$@" 2>&1 || true) != *"no work to do"* ]]; then
    say "Building (a few minutes the first time)"
    logged "Building" "Read the message above." cmake --build "$build" "${targets[@]}"
  fi
}

engines() {
  "$root/scripts/engines" "$build/lib/tallowfern"
}
