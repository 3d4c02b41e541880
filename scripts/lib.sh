# shellcheck shell=bash
# Functions for the scripts. Sourced from the root of the tree by scripts with "set -euo pipefail".

# Report every command that ends a script.
set -E
trap 'printf "%s, line %s: failed: %s\n" "${BASH_SOURCE[0]}" "$LINENO" "$BASH_COMMAND" >&2' ERR

say() { printf '\n== %s\n' "$1"; }
ok() { printf '   ok: %s\n' "$1"; }
die() {
    printf 'FAILED: %s\n' "$1" >&2
    exit 1
}

# ---- a temporary folder and processes, removed at the end of the script, also on Ctrl-C

work=
pids=()

# make_work NAME [FOLDER]: creates a temporary folder and sets work to it. At the end of the script,
# the processes in pids are ended, newest first, and before_removal is called if the script defines
# it.
make_work() {
    work=$(mktemp -d "${2:-${TMPDIR:-/tmp}}/zel-$1.XXXXXX")
    trap clean_up EXIT
    trap 'exit 130' INT
    trap 'exit 143' TERM
}

clean_up() {
    trap - EXIT INT TERM
    local i
    # A signal may arrive before the last process started is in pids.
    mapfile -t -O "${#pids[@]}" pids < <(jobs -p)
    for ((i = ${#pids[@]} - 1; i >= 0; i--)); do
        kill "${pids[i]}" 2>/dev/null || true
        wait "${pids[i]}" 2>/dev/null || true
    done
    if declare -F before_removal >/dev/null; then
        before_removal
    fi
    rm -rf --one-file-system "$work"
}

# wait_until SECONDS COMMAND...: repeats the command until it succeeds; fails on a timeout.
wait_until() {
    local end=$((SECONDS + $1))
    shift
    until "$@" >/dev/null 2>&1; do
        [[ $SECONDS -lt $end ]] || return 1
        sleep 0.1
    done
}

# ---- servers

# start_display SIZE [OPTION...]: starts a virtual X server and sets DISPLAY.
start_display() {
    Xvfb -displayfd 3 -screen 0 "$1x24" -nolisten tcp -noreset "${@:2}" \
        3>"$work/display" 2>/dev/null &
    pids+=($!)
    wait_until 60 test -s "$work/display" || die "Xvfb did not start"
    DISPLAY=:$(<"$work/display")
    export DISPLAY
}

# start_bus [ADDRESS]: starts a session bus, through which widgets can be read, and sets
# DBUS_SESSION_BUS_ADDRESS.
# shellcheck disable=SC2120 # the address is optional
start_bus() {
    dbus-daemon --session --nofork --nopidfile ${1:+--address="$1"} --print-address=3 \
        3>"$work/bus" >/dev/null 2>&1 &
    pids+=($!)
    wait_until 60 test -s "$work/bus" || die "dbus-daemon did not start"
    DBUS_SESSION_BUS_ADDRESS=$(<"$work/bus")
    export DBUS_SESSION_BUS_ADDRESS QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1
}

# start_nginx ROOT [DIRECTIVES] [ssl]: serves ROOT on a free port and sets server_url.
# shellcheck disable=SC2034 # for the scripts that source this
start_nginx() {
    local port pid _
    for _ in {1..20}; do
        rm -f "$work/nginx.pid" # of another nginx of this script
        port=$((20000 + RANDOM % 12000))
        cat >"$work/nginx.conf" <<CONF
daemon off;
master_process off;
pid $work/nginx.pid;
error_log $work/nginx-error.log;
events {}
http {
    access_log off;
    client_body_temp_path $work/nginx-body;
    proxy_temp_path $work/nginx-proxy;
    fastcgi_temp_path $work/nginx-fastcgi;
    uwsgi_temp_path $work/nginx-uwsgi;
    scgi_temp_path $work/nginx-scgi;
    ${2:-}
    server {
        listen 127.0.0.1:$port ${3:-};
        root $1;
    }
}
CONF
        "$(command -v nginx || echo /usr/sbin/nginx)" -c "$work/nginx.conf" \
            -e "$work/nginx-error.log" 2>/dev/null &
        pid=$!
        # The PID file shows that this nginx, not another program, listens on the port.
        while kill -0 "$pid" 2>/dev/null; do
            if [[ -s $work/nginx.pid ]] && : 2>/dev/null <"/dev/tcp/127.0.0.1/$port"; then
                pids+=("$pid")
                server_url=http${3:+s}://127.0.0.1:$port
                return
            fi
            sleep 0.1
        done
    done
    die "nginx did not start: $(tail -n 1 "$work/nginx-error.log" 2>/dev/null)"
}

# ---- reading the launcher's window through AT-SPI and clicking in it

read_widget() { tests/support/windows/screen_reader.py "$@" 2>/dev/null; }

# click ROLE NAME: waits for a widget and clicks it.
click() {
    local where
    where=$(read_widget center "$1" "$2" 60) || die "no $1 '$2' appeared"
    # shellcheck disable=SC2086 # x and y are two words
    xdotool mousemove $where click 1
}
