# shellcheck shell=bash disable=SC2034
# What the measuring scripts share: a private display, processes and files that end with the script, waits, CPU times
# and medians. The arguments of the script are the number of rounds and the seconds of each.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
rounds=${1:-3}
seconds=${2:-10}
build=$PWD/build/linux
folder=$(mktemp -d)
hertz=$(getconf CLK_TCK)
pids=()
cleanup() {
    for pid in "${pids[@]}"; do kill -9 "$pid" 2>/dev/null || true; done
    wait 2>/dev/null || true
    rm -rf "$folder"
}
trap cleanup EXIT

fail() {
    echo "$1" >&2
    exit 1
}
ticks() { # CPU ticks of the processes, user and system
    local sum=0 pid stat fields
    for pid in "$@"; do
        stat=$(cat "/proc/$pid/stat" 2>/dev/null) || continue
        read -ra fields <<<"${stat##*) }"
        sum=$((sum + fields[11] + fields[12]))
    done
    echo "$sum"
}
median() { printf '%s\n' "$@" | sort -g | awk '{ v[NR] = $1 } END { print NR % 2 ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2 }'; }
wait_for() { # wait_for SECONDS COMMAND...
    local n=$(($1 * 10))
    shift
    while ((n-- > 0)); do "$@" && return 0; sleep 0.1; done
    return 1
}

Xvfb -displayfd 7 -screen 0 1920x1080x24 -noreset -nolisten tcp 7>"$folder/display" >/dev/null 2>&1 &
server=$!
pids+=("$server")
wait_for 30 test -s "$folder/display" || fail "The X server did not start."
DISPLAY=:$(tr -d '[:space:]' <"$folder/display")
export DISPLAY
