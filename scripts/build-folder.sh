#!/usr/bin/env bash
# For ./run and ./test, which source it: long steps that end with their script, and the folder
# build/, which both can use whoever was there before and however that ended.

fail() {
    echo "${0##*/}: $*" >&2
    exit 1
}

user_name() {
    id -un 2>/dev/null || true  # a number where the user has no name
}

# start COMMAND...: begins a command in a process group of its own, whose number is then in $!. The
# terminal's Ctrl-C does not reach it; the script ends it with end_started. What a shell runs in the
# background ignores SIGINT, and so would all that the command starts.
start() {
    setsid env --default-signal=INT --default-signal=QUIT "$@" </dev/null &
}

# step COMMAND...: a command from start to end. A signal to the script does not wait for it.
step() {
    start "$@"
    wait "$!"
}

signal_all() {
    local pid
    for pid in $2; do
        # One that has no group yet, or never gets one, hears of it alone.
        kill -s "$1" -- "-$pid" || kill -s "$1" "$pid" || true
    done
}

# end_started: ends what was started and still runs; by force after 10 s or at the next signal.
end_started() {
    local pids tries
    pids=$(jobs -p)
    trap 'signal_all KILL "$pids"' INT TERM HUP QUIT
    signal_all TERM "$pids"
    for ((tries = 0; tries < 200; ++tries)); do
        any_lives "$pids" || break
        sleep 0.05
    done
    signal_all KILL "$pids"
} 2>/dev/null  # the shell itself tells of jobs that a signal has ended

# Whether a process of these groups runs. One that has ended may wait for its parent to notice.
any_lives() {
    local file stat state group
    for file in /proc/[0-9]*/stat; do
        read -r stat <"$file" || continue
        # Behind the name, which may hold anything: the state, the parent, the group.
        read -r state _ group _ <<<"${stat##*) }"
        [[ $state == Z || " ${1//$'\n'/ } " != *" $group "* ]] || return 0
    done
    return 1
}

cached() {
    sed -n "s/^$1:[A-Z]*=//p" build/CMakeCache.txt 2>/dev/null || true
}

# check_build_folder REMEDY: refuses a folder in which this user cannot build.
check_build_folder() {
    local foreign
    [ -e build ] || mkdir build 2>/dev/null ||
        fail "$PWD: not writable for $(user_name) (clone the project as that user)"
    foreign=$(find build ! -type l ! -writable -print -quit 2>/dev/null) || true
    [ -z "$foreign" ] ||
        fail "$PWD/$foreign: not writable for $(user_name)" \
            "(remove the folder with 'sudo rm -r $(printf %q "$PWD/build")'$1)"
}

# configure OPTION...: makes build/ ready for a build with these options. What cannot be resumed is
# removed first: a configuration that was never finished, or of another place, tool or compiler.
configure() {
    local why='' compiler
    compiler=$(cached CMAKE_CXX_COMPILER)
    if [ -e build/CMakeCache.txt ]; then
        if [ ! -e build/build.ninja ] || [ "$(cached CMAKE_GENERATOR)" != Ninja ]; then
            why="not configured to the end, or not for Ninja"
        elif [ ! "$(cached CMAKE_HOME_DIRECTORY)" -ef . ]; then
            why="configured for $(cached CMAKE_HOME_DIRECTORY)"
        elif [ -n "$compiler" ] && [ ! -x "$compiler" ]; then
            why="configured for $compiler, which does not exist"
        fi
        [ -z "$why" ] || echo "${0##*/}: build: $why; configuring from scratch" >&2
        [ -z "$why" ] || rm -rf build/CMakeCache.txt build/CMakeFiles
    fi
    step cmake --preset release "$@" >build/configure.log 2>&1 ||
        { cat build/configure.log >&2; fail "build: CMake cannot configure it"; }
}

# One build at a time: two in one folder write the same files.
lock_build_folder() {
    exec 9>build/.lock
    flock -n 9 || echo "${0##*/}: build: waiting for another ./run or ./test to build" >&2
    until flock -n 9; do sleep 0.2; done
}

unlock_build_folder() {
    exec 9>&-
}
