#!/usr/bin/env bash
# Runs every file of an image corpus through lunavex-batch alone, each on a copy in a scratch
# folder, with an address-space limit and a time limit, and tallies what came of it: converted,
# refused or failed with which message, crashes (a signal), hangs (the time limit), and sources
# changed (the copy's checksum before and after).
#
#   usage: bench/corpus-robustness.sh LUNAVEX_BATCH CORPUS_DIR [REPORT.tsv]
#   env:   LIMIT_SECONDS (60), LIMIT_KB (8388608, i.e. 8 GiB of address space), EXTRA_ARGS
set -uo pipefail
exe=$(realpath "$1")
corpus=$2
report=${3:-/dev/stdout}
limit_s=${LIMIT_SECONDS:-60}
limit_kb=${LIMIT_KB:-8388608}
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
export XDG_CONFIG_HOME=$scratch/config XDG_STATE_HOME=$scratch/state LANG=C.UTF-8 LC_ALL=

printf 'file\texit\tseconds\tpeak_kb\tsource_changed\tmessage\n' >"$report"
converted=0 refused=0 failed=0 crashes=0 hangs=0 changed=0 total=0
while IFS= read -r -d '' file; do
  rel=${file#"$corpus"/}
  work=$scratch/run
  rm -rf "$work" && mkdir -p "$work"
  copy=$work/$(basename "$file")
  cp "$file" "$copy"
  before=$(sha256sum <"$copy")
  start=$(date +%s.%N)
  (ulimit -v "$limit_kb"; exec /usr/bin/time -f '%M' -o "$scratch/peak" \
    timeout -s KILL "$limit_s" "$exe" --overwrite ${EXTRA_ARGS:-} "$copy" \
    >/dev/null 2>"$scratch/err")
  code=$?
  end=$(date +%s.%N)
  after=$(sha256sum <"$copy")
  peak=$(grep -E '^[0-9]+$' "$scratch/peak" | tail -1)
  # time(1) reports a child killed by a signal in its own output; the exit status says which.
  message=$(grep -v -E '^(Command (terminated|exited)|[0-9]+$)' "$scratch/err" | head -1 | tr '\t' ' ')
  source_changed=0
  [ "$before" = "$after" ] || { source_changed=1; changed=$((changed + 1)); }
  total=$((total + 1))
  case $code in
    0) converted=$((converted + 1)) ;;
    1) failed=$((failed + 1)) ;;
    3) refused=$((refused + 1)) ;;
    137) hangs=$((hangs + 1)); message="(time limit)" ;;
    *) crashes=$((crashes + 1)) ;;
  esac
  printf '%s\t%s\t%.2f\t%s\t%s\t%s\n' "$rel" "$code" "$(echo "$end - $start" | bc)" "${peak:-?}" \
    "$source_changed" "$message" >>"$report"
done < <(find "$corpus" -type f ! -name MANIFEST.tsv ! -path '*/debs/*' ! -path '*/pkgs/*' -print0 | sort -z)

echo "files $total: converted $converted, failed $failed, refused $refused, crashes $crashes, hangs $hangs, sources changed $changed" >&2
