#!/usr/bin/env bash
# Packs and unpacks two file sets with `xum vfs create/extract` and with GNU
# tar (no compression) in one run and prints a table of wall-clock times:
#   (a) 2,000 files of 1-64 KiB, (b) 4 files of 256 MiB.
# Nothing is dropped from the page cache: both tools read files that were
# just written, and both write into it. Dirty pages are written out (sync)
# before every timed step, so that no step pays for the writeback of the
# one before it.
#
#   bench/formats/vfs_vs_tar.sh [build/default/tools/xum] [WORK_DIR]
set -euo pipefail
xum=${1:-build/default/tools/xum}
work=${2:-$(mktemp -d "${TMPDIR:-/tmp}/xum-vfs-bench.XXXXXX")}
trap 'rm -rf "$work"' EXIT

mkdir -p "$work/small" "$work/large"
echo "preparing the file sets in $work ..." >&2
for i in $(seq 1 2000); do
  head -c $(( (i * 7919 % 64 + 1) * 1024 )) /dev/urandom > "$work/small/f$i.bin"
done
for i in 1 2 3 4; do
  head -c $((256 * 1024 * 1024)) /dev/urandom > "$work/large/big$i.bin"
done

seconds() {  # runs "$@" and prints the wall-clock seconds it took
  local start end
  sync
  start=$(date +%s.%N)
  "$@" >/dev/null 2>&1
  end=$(date +%s.%N)
  echo "$end - $start" | bc
}

printf '%-8s %-8s %10s %10s %8s\n' set step "xum (s)" "tar (s)" "tar/xum"
for set in small large; do
  rm -rf "$work/out-x" "$work/out-t"
  mkdir -p "$work/out-x" "$work/out-t"
  xc=$(seconds "$xum" vfs create "$work/$set.vfs" "$work/$set")
  tc=$(seconds tar -cf "$work/$set.tar" -C "$work" "$set")
  xe=$(seconds "$xum" vfs extract -C "$work/out-x" "$work/$set.vfs")
  te=$(seconds tar -xf "$work/$set.tar" -C "$work/out-t")
  printf '%-8s %-8s %10.3f %10.3f %8.2f\n' "$set" pack "$xc" "$tc" "$(echo "$tc / $xc" | bc -l)"
  printf '%-8s %-8s %10.3f %10.3f %8.2f\n' "$set" unpack "$xe" "$te" "$(echo "$te / $xe" | bc -l)"
  rm -f "$work/$set.vfs" "$work/$set.tar"
done
