#!/usr/bin/env bash
# install_test.sh CLAIM SOURCE_FOLDER BUILD_FOLDER COMPILER: checks one claim about an installed tree.
set -euo pipefail
claim=$1 source=$2 build=$3 compiler=$4

work=$(mktemp -d "$build/install-test-XXXXXX")
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix
cmake --install "$build" --prefix "$prefix" >/dev/null

# A tree can be moved after it was installed.
mv "$prefix" "$work/moved"
prefix=$work/moved
libdir=$(dirname "$(find "$prefix" -name libpetrelradar-shared.so)")
export PKG_CONFIG_PATH=$libdir/pkgconfig

fail() {
    echo "$claim: $*" >&2
    exit 1
}

# The recorder writes below /tmp: the examples run with a /tmp of their own.
run_examples() {
    local folder=$1
    # What the library needs is found beside it, wherever the tree was moved.
    find "$folder" -maxdepth 1 -name '*_frames' | while read -r program; do
        if LC_ALL=C ldd "$program" | grep "not found"; then fail "$program cannot be started"; fi
    done
    ( cd "$folder" && ./record_frames 3 ) >"$work/output"
    [ "$(cat "$work/output")" = \
        "Recorded 3 frames, mounting height 0, known settings 0" ] || fail "record_frames: $(cat "$work/output")"
    find /tmp -maxdepth 1 -name 'radar_*.data' | grep -q . || fail "no recording was completed"
    if "$folder/receive_frames" "$work/none" 2>"$work/error"; then fail "receive_frames found a socket"; fi
    grep -q "No such file or directory" "$work/error" || fail "receive_frames did not say why"
}

# What is installed and made by the build is made by the target that the README names, of which no
# test is a part.
InstallingNeedsNoTests() {
    if [ ! -e "$build/build.ninja" ]; then
        printf 'Skipped\nonly Ninja tells what a target needs\n'
        exit 77
    fi
    local file made=0
    ninja -C "$build" -t targets all | sed -n 's/: [^:]*$//p' | sort >"$work/outputs"
    ninja -C "$build" -t graph petrelradar-product | sed -n 's/^.*\[label="\(.*\)"\]$/\1/p' |
        sort -u >"$work/product"
    if grep '^tests/' "$work/product"; then fail "tests are built for the product"; fi
    find "$build" -name cmake_install.cmake -exec grep -hoE '"[^"]+"' {} + | tr -d '"' |
        awk -v folder="$build/" 'index($0, folder) == 1 {
            file = substr($0, length(folder) + 1); sub(/\/$/, "", file); print file
        }' | sort -u >"$work/sources"
    while IFS= read -r file; do
        # A folder stands for what the build puts into it; what CMake itself has made exists already.
        while IFS= read -r output; do
            # A library's links are made with it.
            [ ! -L "$build/$output" ] || continue
            made=$((made + 1))
            grep -qxF "$output" "$work/product" || fail "$output is installed, and not built"
        done < <(awk -v file="$file" '$0 == file || index($0, file "/") == 1' "$work/outputs")
    done < <(grep -v 'cmake_install.cmake$' "$work/sources")
    [ "$made" -ge 3 ] || fail "only $made of the installed files are known to the build"
}

InstalledTreeHoldsEveryPublicHeader() {
    local header
    for header in socket/socket_buffer socket/radar_socket radar/radar_interface \
        radar/spi_radar_interface radar/radar_status_interface failure/failure \
        failure/failure_signal config/configuration config/analytics timer/timeout timer/watchdog \
        filewriter/file_writer filewriter/timeval_printer filewriter/data_file_writer \
        filewriter/object_file_writer filewriter/object_file_writer_thread \
        filewriter/diagnostic_file_writer log/ilog radar_objects/radar_objects.pb; do
        [ -f "$prefix/include/petrelradar/$header.h" ] || fail "no $header.h"
        # Each stands on its own.
        echo "#include \"$header.h\"" >"$work/one.cpp"
        "$compiler" -std=c++17 -fsyntax-only -Wall -Wextra -Wpedantic -Werror \
            -I"$prefix/include/petrelradar" -I"$prefix/include" "$work/one.cpp"
    done
    for header in block out_port radar_service_failure logger; do
        [ -f "$prefix/include/petrel/$header.h" ] || fail "no petrel/$header.h"
    done
    [ -f "$prefix/include/petrelradar/radar_objects/radar_objects.proto" ] || fail "no schema"
}

ProgramBuildsAndRunsWithTheCMakePackage() {
    mkdir "$work/program"
    cp "$source"/docs/examples/*.cpp "$work/program"
    cat >"$work/program/CMakeLists.txt" <<'CMAKE'
cmake_minimum_required(VERSION 3.18)
project(consumer CXX)
find_package(petrelradar REQUIRED)
foreach(program receive_frames record_frames)
    add_executable(${program} ${program}.cpp)
    target_link_libraries(${program} petrelradar::petrelradar-shared)
endforeach()
CMAKE
    cmake -S "$work/program" -B "$work/out" -DCMAKE_PREFIX_PATH="$prefix" \
        -DCMAKE_CXX_COMPILER="$compiler" >/dev/null
    cmake --build "$work/out" >/dev/null
    run_examples "$work/out"
}

ProgramBuildsAndRunsWithPkgConfig() {
    local program
    for program in receive_frames record_frames; do
        # shellcheck disable=SC2046 # the flags are words
        "$compiler" -std=c++17 "$source/docs/examples/$program.cpp" -o "$work/$program" \
            $(pkg-config --cflags --libs petrelradar) -Wl,-rpath,"$libdir"
    done
    run_examples "$work"
}

InstalledProgramsStart() {
    [ -d "$prefix/bin" ] || exit 77
    local program
    for program in petrelradard petrelradar-chip petrelradar; do
        "$prefix/bin/$program" --version | grep -q "^$program [0-9]" || fail "$program --version"
    done
}

PackageLeaksNoFlagsOfOurs() {
    if grep -rE -- '-Wall|-Werror|-fvisibility|-fsanitize|_FILE_OFFSET_BITS|COMPILE_OPTIONS' "$libdir/cmake" \
        "$libdir/pkgconfig"; then
        fail "a flag of ours reaches programs"
    fi
    if grep -rF "$source" "$libdir/cmake" "$libdir/pkgconfig"; then fail "a path of the build"; fi
}

AnotherPetrelTakesTheStandInsPlace() {
    cmake -S "$source" -B "$work/out" -G Ninja -DPETRELRADAR_SYSTEM_PETREL=ON \
        -DPETRELRADAR_BUILD_PROGRAMS=OFF -DPETRELRADAR_BUILD_TESTS=OFF \
        -DCMAKE_BUILD_TYPE=Debug -DCMAKE_PREFIX_PATH="$prefix" \
        -DCMAKE_CXX_COMPILER="$compiler" >/dev/null
    cmake --build "$work/out" >/dev/null
    readelf -d "$work/out/lib/libpetrelradar-shared.so" | grep -q 'NEEDED.*libpetrel-shared' ||
        fail "libpetrel-shared is not linked"
    [ ! -e "$work/out/petrel" ] || fail "the stand-in was built"
    cmake --install "$work/out" --prefix "$work/second" >/dev/null
    [ -z "$(find "$work/second" -name 'libpetrel-shared*')" ] || fail "a stand-in was installed"
    find "$work/second" -name FindPetrel.cmake | grep -q . || fail "the package cannot find Petrel"
}

case $(type -t "$claim") in
    function) "$claim" ;;
    *) fail "no such claim" ;;
esac
