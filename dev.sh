#!/bin/bash
# Builds, runs and tests vellumd. Every command installs what it needs on Debian 12 and can be repeated at any time.
set -euo pipefail
cd "$(dirname "$0")"

usage() {
    cat <<'TEXT'
usage: ./dev.sh COMMAND

  run [FOLDER]            builds Vellumd.exe and shows the notes of the folder (default: a copy of the samples) under
                          Wine: on your display, or without one on a virtual display, with a picture in
                          build/notes.png
  test                    builds both platforms and runs every test; ends with "N passed, N failed"
  build native|windows    build/native/Vellumd (Linux, sanitizers) with the tools that the samples use, or
                          build/windows/Vellumd.exe
  bench [OPTION...]       compares reading and writing notes with well-known libraries; prints times and ratios. Takes
                          the options of Google Benchmark
  bench desktop           compares Vellumd.exe under Wine with a minimal program that has the same windows: start,
                          memory, new notes, saves, idle time; on one core, then on all
  fuzz [SECONDS]          feeds damaged input to each parser for SECONDS (30); stops at the first failure
  soak [MINUTES] [SEED]   runs random writers, users, logons and kills on one machine of the stand-in for MINUTES (3),
                          then checks every note. The same seed gives the same plan; --plan prints it
  soak wine [MINUTES] [SEED]  the same for the plain display role under Wine
  check [--tidy]          checks layers, sizes, forbidden constructs and the format; --tidy adds clang-tidy over src/
  format                  formats the sources
TEXT
}

say() { printf '== %s\n' "$*"; }

# need PACKAGE...: installs the missing packages.
need() {
    local missing=()
    for package in "$@"; do
        dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return
    say "installing ${missing[*]}"
    local as_root=()
    [ "$(id -u)" -eq 0 ] || as_root=(sudo)
    export DEBIAN_FRONTEND=noninteractive
    "${as_root[@]}" apt-get update -qq
    "${as_root[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}

need_native() { need cmake ninja-build g++ googletest libcli11-dev libstb-dev python3; }
need_windows() { need cmake ninja-build g++-mingw-w64-x86-64-posix googletest libcli11-dev python3; }
need_wine() { need wine wine64 xvfb xauth; }

cmake_options=()  # used by the next build

# build PRESET [TARGET...]
build() {
    local preset=$1
    shift
    say "building $preset"
    mkdir -p build
    cmake --preset "$preset" "${cmake_options[@]}" >"build/configure-$preset.log" 2>&1 || { cat "build/configure-$preset.log"; exit 1; }
    cmake --build --preset "$preset" ${1:+--target "$@"}
}

# run_tests NAME COMMAND...: runs a command that writes build/reports/NAME.xml
run_tests() {
    local name=$1
    shift
    say "testing $name"
    reports+=("build/reports/$name.xml")
    "$@" || say "$name: there are failures"
}

command_test() {
    need_native
    need_windows
    need_wine
    need clang
    need python3-pytest python3-pefile python3-jsonschema clang-format
    need mono-mcs mono-runtime libmono-system-runtime-serialization4.0-cil
    rm -rf build/reports
    mkdir -p build/reports
    reports=()
    local reports_folder=$PWD/build/reports
    build native
    run_tests native ctest --preset native -j4 --output-junit "$reports_folder/native.xml"
    build native-tsan
    run_tests native-tsan ctest --preset native-tsan -j4 --output-junit "$reports_folder/native-tsan.xml"
    build native-clang
    run_tests native-clang ctest --preset native-clang -j4 --output-junit "$reports_folder/native-clang.xml"
    build windows-clang
    build windows
    run_tests executable /usr/bin/python3 -m pytest -q -p no:cacheprovider tests/package tests/docs \
        --junitxml="$reports_folder/executable.xml"
    run_tests windows tools/wine-session.sh ctest --preset windows -j4 --output-junit "$reports_folder/windows.xml"
    say "all suites"
    /usr/bin/python3 tools/summary.py "${reports[@]}"
}

# Shows the notes of a folder. The default is a copy of the samples, because the program changes its notes.
command_run() {
    need_windows
    need_wine
    need imagemagick fonts-wqy-microhei
    build windows Vellumd
    local folder=${1:-} status=0
    if [ -z "$folder" ]; then
        folder=$PWD/build/notes
        rm -rf "$folder"
        cp -r samples/notes "$folder"
    fi
    [ -d "$folder" ] || { echo "no such folder: $folder" >&2; return 2; }
    folder=$(realpath "$folder")
    if [ -n "${DISPLAY:-}" ]; then
        say "showing the notes of $folder; Ctrl+C ends it"
        VELLUM_ON_DISPLAY=1 tools/wine-session.sh wine build/windows/Vellumd.exe --no-autostart \
            --folder "Z:${folder//\//\\}" || status=$?
    else
        say "no display: showing the notes of $folder on a virtual one"
        tools/wine-session.sh tools/picture-of-notes.sh "$folder" build/notes.png || status=$?
        [ $status -ne 0 ] || say "the picture is build/notes.png"
    fi
    return $status
}

# Large enough for 100 notes side by side: overlapping notes would be moved and painted partly.
on_large_desktop() { tools/wine-session.sh timeout 400 wine explorer /desktop=bench,3000x2800 "$@"; }

command_bench_desktop() {
    need_windows
    need_wine
    need util-linux
    cmake_options=(-DVELLUM_DESKTOP_BENCH=ON)
    build windows vellum-desktop-bench
    say "measuring, about five minutes"
    (taskset -pc 0 $BASHPID >/dev/null; on_large_desktop build/windows/vellum-desktop-bench.exe "on one core")
    on_large_desktop build/windows/vellum-desktop-bench.exe "on all cores"
}

command_bench() {
    if [ "${1:-}" = desktop ]; then
        command_bench_desktop
        return
    fi
    need_native
    need libbenchmark-dev libsimdjson-dev rapidjson-dev nlohmann-json3-dev
    cmake_options=(-DVELLUM_BENCH=ON)
    build native-release vellum-bench
    say "measuring, about a minute"
    VELLUM_MACHINE=$PWD/build/bench-machine build/native-release/vellum-bench "$@"
}

command_fuzz() {
    local seconds=${1:-30}
    need_native
    need clang libclang-rt-14-dev
    build native-fuzz
    local target
    for target in json note color time queue base64; do
        say "fuzzing $target for $seconds seconds"
        mkdir -p "build/fuzz-corpus/$target"
        VELLUM_MACHINE=$PWD/build/fuzz-machine "build/native-fuzz/fuzz-$target" -max_total_time="$seconds" -max_len=4096 \
            -print_final_stats=1 -artifact_prefix="build/fuzz-$target-" \
            "build/fuzz-corpus/$target" "fuzz/corpus/$target" >"build/fuzz-$target.log" 2>&1 ||
            { tail -n 60 "build/fuzz-$target.log"; say "a failure: build/fuzz-$target-*"; exit 1; }
        grep -E 'number_of_executed_units' "build/fuzz-$target.log"
    done
    say "no failures"
}

command_soak() {
    need_native
    if [ "${1:-}" = wine ]; then
        shift
        need_windows
        need_wine
        cmake_options=(-DVELLUM_SOAK=ON)
        build windows Vellumd vellum-soak-user
        tools/wine-session.sh /usr/bin/python3 -B tools/soak --wine --build build/windows "$@"
        return
    fi
    build native-release Vellumd vellum-fire-task vellum-queue-writer
    /usr/bin/python3 -B tools/soak "$@"
}

# Layers, sizes, forbidden constructs and the format; with --tidy also what clang-tidy says of src/.
command_check() {
    need clang-format python3
    /usr/bin/python3 tools/check.py || return 1
    [ "${1:-}" = --tidy ] || return 0
    need_native
    need clang clang-tidy
    build native-clang vellum_ctl
    say "clang-tidy, about six minutes"
    git ls-files 'src/*.cpp' | xargs -P "$(nproc)" -n 4 clang-tidy -p build/native-clang --quiet 2>/dev/null
}

command_format() {
    need clang-format
    git ls-files '*.h' '*.cpp' | xargs clang-format -i
}

case "${1:-}" in
    run) shift; command_run "$@" ;;
    test) command_test ;;
    build)
        case "${2:-}" in
            native) need_native; build native Vellumd vellum-fire-task vellum-queue-writer ;;
            windows) need_windows; build windows Vellumd ;;
            *) usage >&2; exit 2 ;;
        esac ;;
    bench) shift; command_bench "$@" ;;
    fuzz) command_fuzz "${2:-30}" ;;
    soak) shift; command_soak "$@" ;;
    check) command_check "${2:-}" ;;
    format) command_format ;;
    -h | --help | help) usage ;;
    *) usage >&2; exit 2 ;;
esac
