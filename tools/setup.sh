# Sourced by ./run and ./test. Expects $root, the checkout. Everything said here goes to standard error.

say() { printf '%s\n' "$*" >&2; }

# packages GROUP…: the packages of these groups, one a line.
packages() {
    local groups=" $* "
    while read -r group package _; do
        [[ $groups == *" $group "* ]] && printf '%s\n' "$package"
    done < "$root/tools/packages"
    return 0
}

# missing_packages GROUP…: those that dpkg does not report as installed.
missing_packages() {
    local installed
    installed=" $(packages "$@" | xargs dpkg-query -W -f '${Package}:${db:Status-Status} ' 2>/dev/null || true)"
    for package in $(packages "$@"); do
        [[ $installed == *" $package:installed "* ]] || printf '%s\n' "$package"
    done
}

# apt_get COMMAND…: apt-get without questions, through sudo unless we are root. It waits for another apt's lock.
apt_get() {
    local as_root=()
    [[ $(id -u) == 0 ]] || as_root=(sudo)
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -qq -o DPkg::Lock::Timeout=300 "$@" >&2
}

# ensure_packages GROUP…: installs what is missing, or says what somebody with the right to must do.
ensure_packages() {
    if ! command -v apt-get >/dev/null || ! command -v dpkg-query >/dev/null; then
        explain_other_system "$@"
        return 0
    fi
    local missing
    mapfile -t missing < <(missing_packages "$@")
    [[ ${#missing[@]} -gt 0 ]] || return 0

    if [[ $(id -u) != 0 ]] && ! command -v sudo >/dev/null; then
        say "Vantry needs packages that are not installed. An administrator has to run:"
        say "    apt-get install --no-install-recommends ${missing[*]}"
        return 1
    fi
    say "Installing with apt-get: ${missing[*]}"
    # The package lists may be absent or stale: fetch them only when they are needed.
    apt_get install -y --no-install-recommends "${missing[@]}" 2>/dev/null && return 0
    apt_get update && apt_get install -y --no-install-recommends "${missing[@]}" && return 0
    say "apt-get could not install them. Once this command works, try again:"
    say "    sudo apt-get install --no-install-recommends ${missing[*]}"
    return 1
}

# Said once: the note lies in build/ as a mark that it was.
explain_other_system() {
    local note="$root/build/.other-system-$*"
    [[ ! -e ${note// /-} ]] || return 0
    say "This is not Debian or a relative of it. Vantry needs what these Debian packages hold; building with what is here:"
    say "    $(packages "$@" | xargs)"
    mkdir -p "$root/build" && touch "${note// /-}"
}

# build PRESET [TARGET…]: configures when needed, then builds. Says nothing when there is nothing to do.
build() {
    local preset=$1 folder="$root/build/$1"
    shift
    mkdir -p "$folder"
    (
        flock 9 # Two builds in one folder would spoil each other's files.
        cd "$root"
        if ! configured "$folder"; then
            say "Configuring build/$preset"
            cmake --fresh --preset "$preset" >"$folder/configure.log" 2>&1 || { cat "$folder/configure.log" >&2; exit 1; }
        fi
        [[ $(ninja -C "$folder" -n "$@" 2>&1) == *"no work to do"* ]] || ninja -C "$folder" "$@" >&2
    ) 9>"$folder/.lock"
}

# configured FOLDER: whether CMake's files there are whole, and were made from these presets in this place.
configured() {
    [[ $1/build.ninja -nt $root/CMakePresets.json ]] &&
        grep -qxF "CMAKE_HOME_DIRECTORY:INTERNAL=$root" "$1/CMakeCache.txt"
}
