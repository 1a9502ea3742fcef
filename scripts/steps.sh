# Sourced by the other scripts of this folder: how a step is announced, run and reported.

# step LOG TEXT COMMAND...
# Says TEXT, runs COMMAND with its output in LOG, and says how it went. The output is shown only
# if COMMAND fails; its exit code is the result.
step() {
    step_log=$1
    step_text=$2
    shift 2
    mkdir -p "$( dirname "$step_log" )"
    step_start=$( date +%s )
    printf '%s ... ' "$step_text"
    if "$@" > "$step_log" 2>&1 < /dev/null; then
        echo "done ($(( $( date +%s ) - step_start )) s)"
    else
        step_status=$?
        echo "failed"
        tail -n 200 "$step_log" >&2
        echo "The whole output is in $step_log" >&2
        return "$step_status"
    fi
}

# Prints how many compilers may run at once: one a processor, but no more than the free memory
# carries at 1.5 GB each.
build_jobs() {
    jobs=$( nproc )
    if [ -r /proc/meminfo ]; then
        while read -r name amount _; do
            if [ "$name" = "MemAvailable:" ] && [ "$jobs" -gt $(( amount / 1500000 )) ]; then
                jobs=$(( amount / 1500000 ))
            fi
        done < /proc/meminfo
    fi
    if [ "$jobs" -lt 1 ]; then
        jobs=1
    fi
    echo "$jobs"
}

# configure_and_build PRESET FOLDER [CMAKE-ARGUMENT...]
# Configures PRESET in build/FOLDER and builds it. A compiler cache is used if there is one.
configure_and_build() {
    preset=$1
    folder=$2
    shift 2
    launcher=$( command -v ccache || true )
    step "build/logs/configure-$folder.log" "Configuring build/$folder" \
        cmake --preset "$preset" -B "build/$folder" \
        "-DCMAKE_CXX_COMPILER_LAUNCHER=$launcher" "$@" || return
    step "build/logs/build-$folder.log" "Building build/$folder" \
        cmake --build "build/$folder" --parallel "$( build_jobs )" -- --quiet
}
