#!/usr/bin/env bash
# demo.sh QUILLMERE FOLDER: makes the harbour scene, renders a few of its frames through the effect with the embedded back
# end, and puts guides and results side by side on a contact sheet. The user's own workflows and settings are not touched.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
quillmere=$1
out=$2
rm -rf "$out"
mkdir -p "$out"
out=$(cd "$out" && pwd)

# Camera, frame and prompt of each picture; a frame number names its exchange files, so each stands once.
shots=(
  "Harbour|24|a fishing harbour at golden dusk, warm lantern light"
  "Lighthouse|60|stormy grey morning, cold blue sea mist"
  "Fly-over|120|clear summer morning, bright turquoise water"
)

python3 "$here/make_harbour.py" "$out/harbour.glb"
rows=()
for shot in "${shots[@]}"; do
  IFS='|' read -r camera frame prompt <<<"$shot"
  printf '\n%s, frame %s: %s\n' "$camera" "$frame" "$prompt"
  "$quillmere" render "$out/harbour.glb" --camera "$camera" --frames "$frame" --size 1024x576 --prompt "$prompt" \
    --workflow "$here/../python/workflows/ink_wash.json" --write-dir "$out/data" --output-dir "$out/pictures" \
    --prefix "${camera,,}" --output "$out/${camera,,}_####.png"
  rows+=("$camera, frame $frame" "$out/data/quillmere/c4d/runtime/reference_$frame.png"
    "$(printf '%s/%s_%04d.png' "$out" "${camera,,}" "$frame")")
done

with_pillow=python3
python3 -c 'import PIL' 2>/dev/null || with_pillow=/usr/bin/python3
"$with_pillow" "$here/contact_sheet.py" "$out/contact_sheet.png" "${rows[@]}"
printf '\ncontact sheet: %s\n' "$out/contact_sheet.png"
