#!/usr/bin/env bash
# Runs every fuzz target for a given time from its corpus, JOBS targets at a time, and prints each
# target's executions, coverage and what it found. Usage: fuzz.sh BUILD_DIR SECONDS JOBS
set -u
build=$1 seconds=$2 jobs=$3
src=$(cd "$(dirname "$0")/.." && pwd)
mkdir -p "$build/fuzz/artifacts"

run_one() {
  local name=$1
  mkdir -p "$build/fuzz/corpus/$name"
  local seeds=()
  [ -d "$src/fuzz/corpus/$name" ] && seeds=("$src/fuzz/corpus/$name")
  ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
    "$build/fuzz/$name" -max_total_time="$seconds" -max_len=4096 -print_final_stats=1 \
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

ls "$src"/fuzz/fuzz_*.cpp | xargs -n1 basename | sed 's/\.cpp$//' |
  xargs -P "$jobs" -I{} bash -c 'run_one {}'
