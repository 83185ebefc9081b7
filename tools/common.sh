# What ./run, ./test and .ci/run share. Sourced by bash with OC_ME set to the command's name.
#
# oc_packages SET…         installs what is missing of these sets of packages.txt
# oc_step LABEL LOG CMD…   runs a command silently: one line on success, the log's end on failure
# oc_build PRESET [TARGET…] configures and builds
# oc_ctest PRESET [ARG…]   runs the tests of a built preset, adds to the totals
# oc_totals                prints the totals and the closing line

set -u
OC_ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)
export LC_ALL=C.UTF-8
# A closed standard input would hand its number to the next file that is opened.
{ : <&0; } 2>/dev/null || exec </dev/null

OC_PASSED=0 OC_FAILED=0 OC_SKIPPED=0

oc_say() { printf '%s: %s\n' "$OC_ME" "$*"; }

oc_die() {
    printf '%s: %s\n' "$OC_ME" "$*" >&2
    exit 1
}

oc_step() {
    local label=$1 log=$2 start=$SECONDS status
    shift 2
    printf '%s: %s ... ' "$OC_ME" "$label"
    if "$@" >"$log" 2>&1 </dev/null 9>&-; then
        printf 'done, %d s\n' $((SECONDS - start))
        return 0
    else
        status=$?
    fi
    printf 'FAILED (%d)\n' "$status"
    tail -n 60 "$log" >&2
    printf '%s: %s failed; the whole log is %s\n' "$OC_ME" "$label" "$log" >&2
    return "$status"
}

# The project's build folder, with a lock so that two commands at once in one folder take turns.
oc_folder() {
    mkdir -p "$OC_ROOT/build/logs" 2>/dev/null && [ -w "$OC_ROOT/build" ] && [ -w "$OC_ROOT/build/logs" ] ||
        oc_die "cannot write to $OC_ROOT/build: whose is it?"
    { exec 9>"$OC_ROOT/build/.lock"; } 2>/dev/null || oc_die "cannot write to $OC_ROOT/build/.lock: whose is it?"
    flock -n 9 || {
        oc_say "another build or test run is at work in this folder, waiting for it"
        flock 9
    }
}
oc_unlock() { exec 9>&-; }

# Names of the packages of the given sets that are not installed.
oc_missing() {
    local wanted
    wanted=$(awk -v sets=" $* " '!/^#/ && NF >= 2 && index(sets, " " $2 " ") {print $1}' "$OC_ROOT/packages.txt")
    # shellcheck disable=SC2086  # one word a package
    { dpkg-query -W -f '${Package} ${db:Status-Status}\n' $wanted 2>/dev/null | awk '$2 == "installed" {print $1}'
      printf '%s\n' -- $wanted; } |
        awk '$1 == "--" {rest = 1; next} !rest {have[$1] = 1; next} !have[$1]'
}

oc_packages() {
    local missing sudo=() answer log=$OC_ROOT/build/logs/packages.log
    if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
        oc_say "packages: this is no Debian system; packages.txt tells what must be there"
        return 0
    fi
    missing=$(oc_missing "$@" | tr '\n' ' ')
    missing=${missing% }
    if [ -z "$missing" ]; then
        oc_say "packages ... all there"
        return 0
    fi
    oc_say "missing packages: $missing"
    if [ "$(id -u)" != 0 ]; then
        command -v sudo >/dev/null || oc_die "become root and type: apt-get install --no-install-recommends $missing"
        if [ -t 0 ] && [ -z "${CI:-}" ]; then
            printf '%s: install them with sudo apt-get? [Y/n] ' "$OC_ME"
            read -r answer || answer=n
            case $answer in '' | [Yy]*) ;; *) oc_die "nothing was installed" ;; esac
            sudo -v || oc_die "sudo refused; nothing was installed"
        else
            sudo -n true 2>/dev/null ||
                oc_die "sudo wants a password; type: sudo apt-get install --no-install-recommends $missing"
        fi
        sudo=(sudo -n)
    fi
    local apt=("${sudo[@]}" env DEBIAN_FRONTEND=noninteractive LC_ALL=C apt-get -q -y -o DPkg::Lock::Timeout=300)
    local install=("${apt[@]}" install --no-install-recommends)
    # shellcheck disable=SC2086  # one word a package
    if ! "${apt[@]}" install --no-install-recommends --dry-run $missing >"$log" 2>&1 </dev/null; then
        oc_step "update the list of packages" "$log" "${apt[@]}" update || exit 1
    fi
    # shellcheck disable=SC2086
    if ! oc_step "install packages" "$log" "${install[@]}" $missing; then
        # A list of packages that has aged names versions that are gone.
        oc_step "update the list of packages" "$log" "${apt[@]}" update || exit 1
        # shellcheck disable=SC2086
        oc_step "install packages, second try" "$log" "${install[@]}" $missing || exit 1
    fi
}

oc_build() {
    local preset=$1 targets=() log=$OC_ROOT/build/logs
    shift
    [ $# -gt 0 ] && targets=(--target "$@")
    # A build folder that was copied or moved along with the project names its old place: begin it anew.
    if [ -f "$OC_ROOT/build/$preset/CMakeCache.txt" ] &&
        ! grep -qxF "CMAKE_HOME_DIRECTORY:INTERNAL=$OC_ROOT" "$OC_ROOT/build/$preset/CMakeCache.txt"; then
        rm -rf "$OC_ROOT/build/$preset"
    fi
    cd "$OC_ROOT" || return 1
    oc_step "configure $preset" "$log/configure-$preset.log" cmake --preset "$preset" || return 1
    oc_step "build $preset" "$log/build-$preset.log" cmake --build "build/$preset" "${targets[@]}"
}

# Test programs write their cases beside the list of CTest, so that the totals count cases where there are any.
oc_ctest() {
    local preset=$1 status=0 counts label start=$SECONDS passed failed skipped
    shift
    label="$OC_ROOT/build/$preset"
    rm -rf "$label/cases" "$label/junit.xml"
    cd "$OC_ROOT" || return 1
    # One more than processors: whole sessions wait for pointer and clock most of their time.
    GTEST_OUTPUT="xml:$label/cases/" ctest --test-dir "$label" -j "${OC_JOBS:-3}" --output-on-failure --no-tests=error \
        --output-junit "$label/junit.xml" "$@" </dev/null 9>&- || status=$?
    counts=$(python3 "$OC_ROOT/tools/test-totals" "$label/junit.xml" "$label/cases") || {
        [ "$status" != 0 ] || status=1
    }
    read -r passed failed skipped <<<"${counts:-0 1 0}"
    OC_PASSED=$((OC_PASSED + passed)) OC_FAILED=$((OC_FAILED + failed)) OC_SKIPPED=$((OC_SKIPPED + skipped))
    oc_say "tests of $preset: $passed passed, $failed failed, $skipped skipped, $((SECONDS - start)) s"
    [ "$failed" = 0 ] || [ "$status" != 0 ] || status=1
    return "$status"
}

oc_totals() {
    local line="$OC_PASSED passed, $OC_FAILED failed"
    [ "$OC_SKIPPED" = 0 ] || line+=", $OC_SKIPPED skipped"
    printf '%s\n' "$line"
}
