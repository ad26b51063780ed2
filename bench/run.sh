#!/usr/bin/env bash
# run.sh BUILD FILTER: every benchmark program of the build whose cases match, then whole processes of the command
# what a large catalog costs it, what a farm makes of it, and what the studio page takes.
# QUILLMERE_BENCH_SCENE and QUILLMERE_BENCH_CAMERA choose another scene than the harbour of examples/.
set -euo pipefail
build=$1
filter=$2
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
if [ -z "${QUILLMERE_BENCH_SCENE:-}" ]; then
  export QUILLMERE_BENCH_SCENE=$build/bench/harbour.glb
  python3 "$here/../examples/make_harbour.py" "$QUILLMERE_BENCH_SCENE"
fi
for program in "$build"/bench/*_bench; do
  printf '\n%s\n' "$(basename "$program")"
  "$program" --benchmark_filter="$filter" --benchmark_color=false
done
[ "$filter" = . ] || exit 0
"$here/processes.py" "$build/bin/quillmere" "$QUILLMERE_BENCH_SCENE" "${QUILLMERE_BENCH_CAMERA:-}"
"$here/catalog.py" "$build/bin/quillmere" "$build/plugin/quillmere"
"$here/farm.py" "$build/bin/quillmere" "$QUILLMERE_BENCH_SCENE"
/usr/bin/python3 "$here/studio.py" "$build/bin/quillmere"
