#!/usr/bin/env bash
# run.sh BUILD FILTER: every benchmark program of the build whose cases match, then whole processes of the command.
set -euo pipefail
build=$1
filter=$2
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
for program in "$build"/bench/*_bench; do
  printf '\n%s\n' "$(basename "$program")"
  "$program" --benchmark_filter="$filter" --benchmark_color=false
done
[ "$filter" = . ] || exit 0
"$here/processes.py" "$build/host/app/quillmere" ${QUILLMERE_BENCH_SCENE:+$QUILLMERE_BENCH_SCENE}
