#!/bin/bash
# many_scans.sh SNAKEFILE PROGRAMS SCRATCH: a batch of three scans with two jobs at a time, begun, interrupted, gone on with and extended.
set -euo pipefail
snakefile=$1 programs=$2 scratch=$3
command -v snakemake >/dev/null || { echo "skipped: no snakemake"; exit 77; }
rm -rf "$scratch"
mkdir -p "$scratch/scans" "$scratch/home"
cd "$scratch"
export HOME=$scratch/home XDG_CACHE_HOME=$scratch/home

scan() {
    "$programs/brantel-scan" --quiet --generate 900x700 --seed "$1" --overlap 30 --frame 320x240 -o "scans/$2"
}
batch() {
    snakemake -s "$snakefile" --cores 2 --keep-going --rerun-incomplete --nolock \
        --config stitch="$programs/brantel-stitch" render="$programs/brantel-render" "$@" >log.txt 2>&1
}
fail() {
    echo "$1"
    cat log.txt
    exit 1
}
finished() {
    for name in "$@"; do
        [ -s "results/$name.ome.tif" ] && [ -s "results/$name.csv" ] || fail "$name is not finished"
    done
}

scan 1 one
scan 2 "zwei, dazu"
scan 3 three
batch -- "results/one.ome.tif" || fail "one scan alone failed"
finished one
[ ! -e results/three.ome.tif ] || fail "more was done than was asked for"
before=$(stat -c %y results/one.ome.tif)

batch || fail "the rest failed"
finished one "zwei, dazu" three
[ "$before" = "$(stat -c %y results/one.ome.tif)" ] || fail "what was finished was done again"

# Interrupted while it works: what it had begun is done again, and only that.
scan 4 four
scan 5 five
batch & running=$!
for _ in $(seq 200); do
    [ -e results/four.jsonl ] || [ -e results/five.jsonl ] && break
    sleep 0.1
done
kill -INT -- -$running 2>/dev/null || kill -INT $running
wait $running || true
batch || fail "going on after an interruption failed"
finished four five
[ "$before" = "$(stat -c %y results/one.ome.tif)" ] || fail "what was finished was done again after an interruption"

# One that cannot be stitched does not keep the others from being done.
mkdir scans/broken
echo "no picture" >scans/broken/frame_1.png
scan 6 six
if batch; then fail "a broken scan went unnoticed"; fi
finished six
grep -q . results/log/broken.stitch.txt || fail "nobody says what was wrong"
echo "six scans rendered"
