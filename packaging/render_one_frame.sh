#!/bin/sh
# render_one_frame.sh QUILLMERE MAKE_HARBOUR FOLDER: what a newcomer does with an installed quillmere.
set -eu
quillmere=$1 make_harbour=$2 folder=$3
mkdir "$folder"
"$quillmere" --version
"$quillmere" doctor --write-dir "$folder/data"
python3 "$make_harbour" "$folder/harbour.glb"
"$quillmere" render "$folder/harbour.glb" --camera Harbour --frames 24 --size 640x360 --write-dir "$folder/data" --output "$folder/frame_####.png"
test -s "$folder/frame_0024.png"
