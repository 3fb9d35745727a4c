# What the scripts share; to be sourced. Leaves the caller in the repository's root with strict error handling.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

heading() { printf '\n== %s\n' "$*"; }

die() {
    printf '%s: %s\n' "${0##*/}" "$*" >&2
    exit 1
}

# build PRESET [TARGET...]: configures the preset if that was not done yet, and builds the targets, or all.
build() {
    local preset=$1
    shift
    [[ build/$preset/build.ninja -nt CMakePresets.json ]] || cmake --preset "$preset" || return
    cmake --build --preset "$preset" ${1:+--target "$@"}
}

# One total over several suites and checks.

passed=0
failed=0

# tally COMMAND...: runs a command whose last summary line is CTest's or ours, and adds what it counted. A command that
# fails without having counted a failure is one.
tally() {
    local log status=0 line before=$failed
    log=$(mktemp)
    "$@" 2>&1 | tee "$log" || status=$?
    line=$(grep -E '^([0-9]+ passed, [0-9]+ failed|[0-9]+% tests passed, .*)$' "$log" | tail -n 1) || true
    rm -f "$log"
    if [[ $line =~ ^([0-9]+)\ passed,\ ([0-9]+)\ failed$ ]]; then
        passed=$((passed + BASH_REMATCH[1]))
        failed=$((failed + BASH_REMATCH[2]))
    elif [[ $line =~ \ ([0-9]+)\ tests\ failed\ out\ of\ ([0-9]+)$ ]]; then
        passed=$((passed + BASH_REMATCH[2] - BASH_REMATCH[1]))
        failed=$((failed + BASH_REMATCH[1]))
    elif ((status == 0)); then
        passed=$((passed + 1))
    fi
    if ((status != 0 && failed == before)); then
        failed=$((failed + 1))
    fi
}

# suite PRESET: builds a preset and runs its tests, into the total.
suite() {
    heading "Build: $1"
    if ! build "$1"; then
        failed=$((failed + 1))
        return
    fi
    heading "Test: $1"
    tally ctest --preset "$1" --parallel "$(nproc)" --no-tests=error
}

# Prints the total as the last line and ends the script, with success only when nothing failed.
finish() {
    printf '\n%d passed, %d failed\n' "$passed" "$failed"
    exit $((failed > 0))
}
