#!/usr/bin/env bash
# run.sh BUILD SECONDS READER...: feeds each reader what libFuzzer makes of its seeds, for so long. What is found stays in
# BUILD/corpus, where the next run starts from; an input on which a reader fails stays in BUILD/failures. The readers of
# the render helper are fed by a Python program, which keeps no corpus.
set -euo pipefail
build=$1
seconds=$2
shift 2
tree=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

# seeds_of READER FOLDER: writes what the reader starts from into the folder.
seeds_of() {
  case $1 in
    scene) "$build/fuzz/scene_seeds" "$tree/tests/image/pictures/png-palette.png" "$2" ;;
    picture) find "$tree/tests/image/pictures" -type f ! -name '*.md' -exec cp -t "$2" {} + ;;
    record) PYTHONPATH=$tree/python python3 "$tree/fuzz/record_seeds.py" "$2" ;;
    text)
      printf '{\n  "phase": "prepare",\n  "message": "Say \\"hi\\"\\n"\n}\n' >"$2/status"
      printf '{"ok": true, "first_output": "/a/b.png", "error": ""}' >"$2/response"
      printf '{"workflows": [{"id": "a", "name": "A {b}", "tags": []}, {"id": "c", "name": "C"}]}' >"$2/state"
      printf '{"last_image": "", "locked_style_image": "/a\\\\b.png"}' >"$2/view"
      ;;
    resource)
      printf '%s\0' $'enum\n{\nA = 10000, B };' 'STRINGTABLE { A "a\n"; }' $'enum\n{\nP = 1000, Q, R, S, C = 0x10 };' \
        'CONTAINER d { NAME d; INCLUDE VPbase; GROUP ID_VIDEOPOSTPROPERTIES { // the one group
           LONG P { MIN 0; MAX 3; DEFAULT C; CYCLE { C; Q; } ANIM OFF; } REAL Q { DEFAULT 0.5; STEP 0.1; }
           LINK R { CUSTOMGUI LINKBOX; ACCEPT { Obase; Ocamera; } } GROUP 5 { COLUMNS 2; STRING S { HIDDEN; } } } }' \
        'STRINGTABLE d { P "P" "p"; C "/* no comment"; }' >"$2/res"
      ;;
  esac
}

export UBSAN_OPTIONS=print_stacktrace=1
for reader in "$@"; do
  if [ "$reader" = helper ]; then  # Debian's interpreter has Pillow
    mkdir -p "$build/failures"
    /usr/bin/python3 "$tree/fuzz/helper_fuzz.py" "$build/failures" "$seconds"
    continue
  fi
  corpus=$build/corpus/$reader seeds=$build/seeds/$reader failures=$build/failures
  rm -rf "$seeds"
  mkdir -p "$corpus" "$seeds" "$failures"
  seeds_of "$reader" "$seeds"
  options=(-max_total_time="$seconds" -artifact_prefix="$failures/$reader-" -rss_limit_mb=2048 -timeout=10
    -max_len=16384 -print_final_stats=1)
  [ -e "$tree/fuzz/$reader.dict" ] && options+=(-dict="$tree/fuzz/$reader.dict")
  # More memory than this at a time isn't there: see scarce_memory.cpp. The sanitizer tells each refusal, which is no news.
  ASAN_OPTIONS=max_allocation_size_mb=64:allocator_may_return_null=1 \
    "$build/fuzz/${reader}_fuzz" "${options[@]}" "$corpus" "$seeds" 2>&1 | { grep -v 'failed to allocate' || true; }
done
