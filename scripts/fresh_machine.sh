#!/usr/bin/env bash
# Makes a bare Debian 12 with debootstrap, puts a clone of this checkout's last commit into it and runs there, as root,
# what it is told: so it shows when a list of ours lacks a package. Installs debootstrap and git if they are missing.
#
# usage: scripts/fresh_machine.sh [RECIPE...]     each in a system of its own; demo when nothing is said
#        scripts/fresh_machine.sh -- COMMAND      in the clone's folder, such as -- './demo.sh && ls out/demo'
#        scripts/fresh_machine.sh --list          the recipes: NAME for each ./NAME.sh and for each block of README.md
#                                                 and docs/ under a line <!-- recipe: NAME -->, run as it is printed
#
# Needs root (and calls sudo for it) and some GB under TMPDIR, /var/tmp unless set. Packages come from the mirror, and
# through the proxy, that apt uses on this machine. What comes of a run stays in out/fresh/RECIPE/: all it said, in
# log.txt, the logs of its builds and tests, and the clone's out/ with the pictures.
#
# All happens in a mount and a process namespace. So this machine never sees the mounts, and they and the processes end
# with the first process in there, however that ends.
set -euo pipefail
if [ "$(id -u)" -ne 0 ] && [ "${1:-}" != --list ]; then exec sudo -- "$0" "$@"; fi
cd "$(dirname "$0")/.."

fail() { echo "fresh_machine.sh: $*" >&2; exit 1; }

list_recipes() {
  printf '%s\n' ./*.sh | sed 's,^\./\(.*\)\.sh$,\1,'
  sed -n 's/^<!-- recipe: \([^ ]*\).* -->$/\1/p' README.md docs/*.md
}

# The commands of a recipe; before them those of another where it says <!-- recipe: NAME after OTHER -->.
print_recipe() {
  local other
  if [ -x "$1.sh" ]; then echo "./$1.sh"; return; fi
  list_recipes | grep -qxF -- "$1" || fail "no such recipe: $1 (--list names them)"
  other=$(sed -n "s/^<!-- recipe: $1 after \(.*\) -->$/\1/p" README.md docs/*.md)
  [ -z "$other" ] || print_recipe "$other"
  awk -v name="$1" '
    $1 == "<!--" && $2 == "recipe:" && $3 == name { found = 1 }
    /^```/ { if (inside) exit; inside = found; next }
    inside' README.md docs/*.md
}

case "${1:-}" in
  --list) list_recipes; exit ;;
  --) shift; own_command=$*; recipes=(command) ;;
  -*) fail "no such option: $1" ;;
  *) recipes=("${@:-demo}") ;;
esac

scripts/install_packages.sh fresh
echo "Runs with $(git log -1 --format='%h, "%s"')."
changed=$(git status --short)
[ -z "$changed" ] || printf 'Not committed, and so left out:\n%s\n' "$changed"

work=$(mktemp -d "${TMPDIR:-/var/tmp}/orbisk_fresh.XXXXXX")
running=
clean_up() {
  trap '' INT TERM HUP
  if [ -n "$running" ]; then
    # Not unshare itself: it waits until the first process inside is gone, which is when all the others are.
    kill -KILL "$(cat "/proc/$running/task/$running/children")" 2>/dev/null || true
    wait "$running" || true
  fi
  if grep -qF " $work" /proc/self/mounts; then fail "something is mounted there, so it stays: $work"; fi
  rm -rf --one-file-system "$work"
}
trap clean_up EXIT
trap 'exit 129' HUP
trap 'exit 130' INT
trap 'exit 143' TERM

# The first thing, so that all recipes run with the same commit, whatever is committed meanwhile.
git clone --quiet --no-hardlinks . "$work/clone"
for recipe in "${recipes[@]}"; do
  if [ -n "${own_command:-}" ]; then echo "$own_command"; else (cd "$work/clone" && print_recipe "$recipe"); fi \
    >"$work/$recipe.sh"
done

# Runs a command in namespaces of its own. In the background, as a signal is answered at once only in `wait`.
contained() {
  unshare --mount --pid --fork --kill-child -- "$@" &
  running=$!
  local status=0
  wait "$running" || status=$?
  running=
  return "$status"
}

# mirror_of LABEL     where apt gets the archive with this label in its release file
mirror_of() {
  apt-get indextargets --format "\$(LABEL)|\$(REPO_URI)" "Created-By: Packages" | sed -n "s/^$1|//p" | head -n 1
}

make_bare_system() {
  local mirror security
  mirror=$(mirror_of Debian)
  security=$(mirror_of Debian-Security)
  [ -n "$mirror" ] || fail "apt knows no Debian mirror: run apt-get update"
  apt-config dump | grep -E '^Acquire::(https?::|Check-)' | grep -v Auto-Detect >"$work/apt.conf" || true
  eval "$(apt-config shell proxy Acquire::http::Proxy)"
  [ -z "${proxy:-}" ] || export http_proxy="$proxy"

  contained debootstrap --variant=minbase bookworm "$work/bare" "$mirror" >"$work/debootstrap.log" ||
    { cat "$work/debootstrap.log" >&2; fail "debootstrap failed"; }
  cp "$work/apt.conf" "$work/bare/etc/apt/apt.conf.d/90machine"
  {
    echo "deb $mirror bookworm main"
    echo "deb $mirror bookworm-updates main"
    [ -z "$security" ] || echo "deb $security bookworm-security main"
  } >"$work/bare/etc/apt/sources.list"
  cp --dereference /etc/resolv.conf /etc/hosts "$work/bare/etc/"
  # For npm, where this machine reaches the registry through somebody who signs for it.
  [ ! -r "${NODE_EXTRA_CA_CERTS:-}" ] || cp --dereference "$NODE_EXTRA_CA_CERTS" "$work/bare/etc/machine_ca.crt"
}

# The board's file system that the recipe `sysroot` names by way of example, with Debian's development files.
make_sysroot() {
  local package
  contained debootstrap --foreign --arch=arm64 --variant=minbase \
    --include=libc6-dev,libstdc++-12-dev,libegl-dev,libgles-dev,libgbm-dev,libx11-dev bookworm "$1" "$(mirror_of Debian)"
  for package in "$1"/var/cache/apt/archives/*.deb; do
    dpkg-deb --fsys-tarfile "$package" | tar --extract --keep-directory-symlink --directory "$1"
  done
}

# What runs as the first process: mounts what any system has, then becomes the recipe's shell.
# shellcheck disable=SC2016
enter='
  mount -t proc proc "$1/proc"
  mount -t sysfs -o ro sysfs "$1/sys"
  mount -t tmpfs -o mode=1777 tmpfs "$1/dev/shm"
  mount -t devpts -o newinstance,ptmxmode=0666 devpts "$1/dev/pts"
  exec chroot "$1" env --ignore-environment HOME=/root TERM="${TERM:-dumb}" ${http_proxy:+http_proxy="$http_proxy"} \
    ${NODE_EXTRA_CA_CERTS:+NODE_EXTRA_CA_CERTS=/etc/machine_ca.crt} \
    PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin \
    bash -c "cd ~/orbisk && exec bash -ex ../recipe.sh"'

run_recipe() {
  local recipe=$1 root="$work/system" results="out/fresh/$1" status=0 log tee
  rm -rf "$results"
  mkdir -p "$results"
  cp -a "$work/bare" "$root"
  cp -a "$work/clone" "$root/root/orbisk"
  cp "$work/$recipe.sh" "$root/root/recipe.sh"
  [ "$recipe" != sysroot ] || make_sysroot "$root/path/to/sysroot" >"$results/sysroot.txt"

  SECONDS=0
  exec {log}> >(tee "$results/log.txt")
  tee=$!
  contained bash -euc "$enter" enter "$root" >&"$log" 2>&1 || status=$?
  exec {log}>&-
  wait "$tee"
  echo "$recipe: exit status $status after $SECONDS s; what came of it is in $results/"
  [ "$status" -eq 0 ] || failed+=("$recipe")
  (cd "$root/root/orbisk" && find build -name '*.log' -exec cp --parents -t "$OLDPWD/$results" {} + 2>/dev/null) || true
  [ ! -d "$root/root/orbisk/out" ] || cp -r "$root/root/orbisk/out" "$results"
  [ -z "${SUDO_UID:-}" ] || chown -R "$SUDO_UID:${SUDO_GID:?}" out
  rm -rf --one-file-system "$root"
}

echo "Making a bare system in $work."
make_bare_system
failed=()
for recipe in "${recipes[@]}"; do run_recipe "$recipe"; done
[ "${#failed[@]}" -eq 0 ] || fail "failed: ${failed[*]}"
