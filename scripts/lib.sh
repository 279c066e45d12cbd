# shellcheck shell=bash
# What the scripts of this folder share: packages, builds, progress lines. Sourced, not run.
#
# Each step's output goes to build/logs/NAME.log; the terminal gets one line a step with the seconds it took.
# A step that fails shows the end of its log and one last line that names the step and the log.

cRoot=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cLogs=$cRoot/build/logs
cd "$cRoot" || exit 1
export CCACHE_BASEDIR=${CCACHE_BASEDIR:-$cRoot} CCACHE_NOHASHDIR=${CCACHE_NOHASHDIR:-1}

# fail TEXT: the one line that says what went wrong.
fail()
{
    printf 'FAILED: %s\n' "$1" >&2
    exit 1
}

# seconds_since START: whole seconds.
seconds_since() { printf '%d' $(($(date +%s) - $1)); }

# step NAME LOG COMMAND...: runs the command quietly; shows "NAME … 12 s", or the log's end and a failure line.
step()
{
    local name=$1 log=$cLogs/$2.log start status=0 ticker=
    shift 2
    mkdir -p "$cLogs"
    start=$(date +%s)
    printf '%s … ' "$name"
    if [ -t 1 ]; then
        while sleep 1; do printf '\r%s … %d s ' "$name" "$(seconds_since "$start")"; done &
        ticker=$!
        # shellcheck disable=SC2064   # the ticker of this step, not of a later one
        trap "kill $ticker 2>/dev/null" EXIT
    fi
    "$@" >"$log" 2>&1 </dev/null || status=$?
    if [ -n "$ticker" ]; then
        kill "$ticker" 2>/dev/null || true
        wait "$ticker" 2>/dev/null || true
        trap - EXIT
        printf '\r%s … ' "$name"
    fi
    printf '%d s\n' "$(seconds_since "$start")"
    [ "$status" -eq 0 ] && return 0
    # What a compiler had to say may stand far from the end.
    if [ "$(wc -l <"$log")" -gt 30 ]; then
        grep -n -m 10 -E '(error|ERROR):|FAILED' "$log" | cut -c 1-300 | sed 's/^/    /' >&2 || true
        echo "    …" >&2
    fi
    tail -n 30 "$log" | sed 's/^/    /' >&2
    fail "$name (exit $status), see ${log#"$cRoot"/}"
}

# need PURPOSE...: installs the missing packages of scripts/packages for these purposes; silent when all are there.
need()
{
    local purpose package missing=() sudo=()
    command -v dpkg-query >/dev/null || return 0   # not a Debian: the tools are the user's affair
    for purpose in "$@"; do
        while read -r package; do
            [ "$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null)" = installed ] || missing+=("$package")
        done < <(awk -v purpose="$purpose" '$1 == purpose { print $2 }' "$cRoot/scripts/packages")
    done
    [ "${#missing[@]}" -eq 0 ] && return 0
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null || fail "packages are missing and neither root nor sudo is at hand: ${missing[*]}"
        sudo=(sudo)
    fi
    step "Packages: installing ${missing[*]}" packages install_packages "${sudo[@]}" -- "${missing[@]}"
}

install_packages()
{
    local prefix=()
    while [ "$1" != -- ]; do prefix+=("$1"); shift; done
    shift
    prefix+=(env DEBIAN_FRONTEND=noninteractive apt-get -y -q -o DPkg::Lock::Timeout=300)
    "${prefix[@]}" update && "${prefix[@]}" install --no-install-recommends "$@"
}

# configure LABEL PRESET / build LABEL PRESET [TARGET...]: a preset's two halves.
configure() { step "$1: configuring" "$2-configure" cmake --preset "$2"; }
build()
{
    local label=$1 preset=$2
    shift 2
    step "$label: building" "$preset-build" cmake --build --preset "$preset" ${1+--target "$@"}
}

# run_ctest LABEL PRESET [WRAPPER...]: runs a preset's tests and shows ctest's own closing lines.
run_ctest()
{
    local label=$1 preset=$2
    shift 2
    step "$label: tests" "$preset-tests" "$@" ctest --preset "$preset"
    sed -n '/tests passed, /,$p' "$cLogs/$preset-tests.log" | grep .
}
