#!/usr/bin/env bash
# Runs every fuzz target (the library's and the example programs') for a given time from its corpus,
# JOBS targets at a time, and prints each target's executions, coverage and what it found.
# Usage: fuzz.sh BUILD_DIR SECONDS JOBS [REGEX]; with REGEX only the targets whose name matches run.
set -u
build=$1 seconds=$2 jobs=$3 only=${4:-.}
src=$(cd "$(dirname "$0")/.." && pwd)
mkdir -p "$build/fuzz/artifacts"

# One target: its source under fuzz/ (the library's) or under examples/<program>/fuzz/ (a program's
# own), its binary where CMake builds it, its seed corpus beside the source.
run_one() {
  local source=$1 name program
  name=$(basename "$source" .cpp)
  program="$build/fuzz/$name"
  case $source in
    examples/*) program="$build/$(dirname "$(dirname "$source")")/$name" ;;
  esac
  mkdir -p "$build/fuzz/corpus/$name"
  local seeds=()
  [ -d "$src/$(dirname "$source")/corpus/$name" ] \
    && seeds=("$src/$(dirname "$source")/corpus/$name")
  ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
    "$program" -max_total_time="$seconds" -max_len=4096 -print_final_stats=1 \
    -artifact_prefix="$build/fuzz/artifacts/$name-" \
    "$build/fuzz/corpus/$name" "${seeds[@]}" > "$build/fuzz/$name.log" 2>&1
  local status=$?
  local execs cov ft
  execs=$(grep -o 'stat::number_of_executed_units: *[0-9]*' "$build/fuzz/$name.log" | grep -o '[0-9]*$')
  cov=$(grep -oE '^#[0-9]+[[:space:]]+(DONE|INITED).*cov: [0-9]+' "$build/fuzz/$name.log" | tail -1 | grep -oE 'cov: [0-9]+' | grep -oE '[0-9]+')
  ft=$(grep -oE '^#[0-9]+[[:space:]]+(DONE|INITED).*ft: [0-9]+' "$build/fuzz/$name.log" | tail -1 | grep -oE 'ft: [0-9]+' | grep -oE '[0-9]+')
  if [ $status -eq 0 ]; then
    printf '%-28s %12s execs  cov %6s  ft %7s  nothing found\n' "$name" "${execs:-?}" "${cov:-?}" "${ft:-?}"
  else
    printf '%-28s %12s execs  cov %6s  ft %7s  FAULT (see %s)\n' "$name" "${execs:-?}" "${cov:-?}" "${ft:-?}" "$build/fuzz/$name.log"
  fi
  return $status
}
export -f run_one
export build seconds src

(cd "$src" && ls fuzz/fuzz_*.cpp examples/*/fuzz/fuzz_*.cpp 2>/dev/null) |
  grep -E "$only" |
  xargs -P "$jobs" -I{} bash -c 'run_one {}'
