# Sourced by the tests of this folder. The build folder, the compiler and the version come from the
# test command, in $BUILD, $CXX and $VERSION. The installation that the tests share is $prefix.

: "${BUILD:?is the folder of a finished build}" "${CXX:?is a C++ compiler}" "${VERSION:?}"
root=$( cd "$( dirname "$0" )/../.." && pwd )
prefix=$BUILD/packaging/prefix
failures=0

# A folder outside the tree, so that nothing of the tree is found by chance.
work=$( mktemp -d )
trap 'rm -rf "$work"' EXIT

# Nothing of what this machine has installed or set is to be found instead.
unset PKG_CONFIG_PATH CMAKE_PREFIX_PATH CPLUS_INCLUDE_PATH LIBRARY_PATH LD_LIBRARY_PATH \
    CXXFLAGS LDFLAGS DESTDIR
# The one that building the tree needs; make may be missing.
CMAKE_GENERATOR=Ninja
export CMAKE_GENERATOR

# check TEXT COMMAND...: counts a failure unless COMMAND succeeds; shows its output then.
check() {
    text=$1
    shift
    if ! "$@" > "$work/check.log" 2>&1; then
        echo "FAILED: $text: $*"
        cat "$work/check.log"
        failures=$(( failures + 1 ))
        return
    fi
    succeeded=yes
}

# must TEXT COMMAND...: the same for what nothing can go on without.
must() {
    succeeded=no
    check "$@"
    if [ "$succeeded" = no ]; then
        echo "The other checks need this one"
        exit 1
    fi
}

prints() { "$root/tests/packaging/prints" "$@"; }

# find_one FOLDER NAME: prints the path of the one file of that name in the folder.
find_one() {
    found=$( find "$1" -name "$2" )
    [ "$( echo "$found" | wc -l )" -eq 1 ] && [ -n "$found" ] || {
        echo "Not one $2 in $1 but: $found" >&2
        return 1
    }
    echo "$found"
}

finish() {
    if [ "$failures" -ne 0 ]; then
        echo "$failures checks failed"
        exit 1
    fi
    echo "All checks passed"
}
