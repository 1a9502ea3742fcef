# Sourced by the tests of the scripts: a copy of the scripts in a folder of its own, commands that
# stand in for the system's, and the checks.

work=$( mktemp -d )
trap 'rm -rf "$work"' EXIT
root=$( cd "$( dirname "$0" )/../.." && pwd )
mkdir "$work/bin" "$work/tree"
cp -r "$root/scripts" "$work/tree/scripts"
failures=0

# Makes real commands visible to the scripts under test, which see nothing else of the system.
real() {
    for name in "$@"; do
        ln -sf "$( command -v "$name" )" "$work/bin/$name"
    done
}

# stand_in NAME BODY: a command made of the lines of BODY, which notes its call in $work/calls.
stand_in() {
    {
        echo "#!/bin/sh"
        echo "echo \"$1 \$*\" >> '$work/calls'"
        echo "$2"
    } > "$work/bin/$1"
    chmod +x "$work/bin/$1"
}

# run COMMAND...: leaves its exit code in $status, what it prints in $work/output, and the calls
# of stand-ins in $work/calls.
run() {
    : > "$work/calls"
    status=0
    ( cd "$work/tree" && PATH="$work/bin" "$@" ) > "$work/output" 2>&1 < /dev/null || status=$?
}

# check TEXT COMMAND...: counts a failure unless COMMAND succeeds.
check() {
    text=$1
    shift
    if ! "$@"; then
        echo "FAILED: $text (exit code $status; output and calls follow)"
        cat "$work/output" "$work/calls"
        failures=$(( failures + 1 ))
    fi
}

status_is() { [ "$status" -eq "$1" ]; }
prints() { grep -qF -e "$1" "$work/output"; }
prints_nothing() { [ ! -s "$work/output" ]; }
ends_with() { [ "$( tail -n 1 "$work/output" )" = "$1" ]; }
calls() { grep -qF -e "$1" "$work/calls"; }
does_not_call() { ! grep -q -e "^$1 " "$work/calls"; }

finish() {
    if [ "$failures" -ne 0 ]; then
        echo "$failures checks failed"
        exit 1
    fi
    echo "All checks passed"
}
