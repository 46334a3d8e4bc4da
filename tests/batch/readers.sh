#!/bin/bash
# readers.sh PROGRAMS SCRATCH: what brantel-render writes, opened by programs that others wrote.
set -euo pipefail
programs=$1 scratch=$2
for tool in vips vipsheader tiffinfo openslide-show-properties openslide-write-png; do
    command -v "$tool" >/dev/null || { echo "skipped: no $tool"; exit 77; }
done
rm -rf "$scratch"
mkdir -p "$scratch"
cd "$scratch"
"$programs/brantel-scan" --quiet --generate 2200x1700 --overlap 25 -o scan
"$programs/brantel-stitch" -q scan -o live.png --report scan.jsonl
for name in whole.png plain.tif scan.ome.tif scan.dzi; do
    "$programs/brantel-render" -q scan.jsonl -o $name --pixel-size 0.5 --flat-field none --gain none
done
fail() { echo "$1"; exit 1; }

size=$(vipsheader -f width whole.png)x$(vipsheader -f height whole.png)
for name in plain.tif scan.ome.tif; do
    [ "$(vipsheader -f width $name)x$(vipsheader -f height $name)" = "$size" ] || fail "$name has another size for libvips"
    # The description of OME is no concern of libtiff's.
    tiffinfo $name >info.txt 2>warnings.txt || fail "tiffinfo cannot read $name"
    [ ! -s warnings.txt ] || { cat warnings.txt; fail "tiffinfo does not like $name"; }
    vips subtract $name whole.png difference.v
    vips abs difference.v absolute.v
    [ "$(vips max absolute.v)" = 0.000000 ] || fail "$name is not the picture"
done
vipsheader -f image-description scan.ome.tif >description.txt
grep -q 'PhysicalSizeX="0.5"' description.txt || fail "the pixel size is missing"

openslide-show-properties plain.tif >properties.txt
grep -q "openslide.level-count: '[2-9]'" properties.txt || fail "openslide sees no pyramid"
openslide-write-png plain.tif 700 500 0 640 480 region.png
vips extract_band region.png colours.v 0 --n 3
vips crop whole.png expected.v 700 500 640 480
vips subtract colours.v expected.v difference.v
[ "$(vips abs difference.v absolute.v; vips max absolute.v)" = 0.000000 ] || fail "openslide shows another picture"
echo "libvips, libtiff and openslide open the results"
