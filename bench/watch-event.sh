#!/usr/bin/env bash
# The new-mail event as a user meets it: `stowaway watch` on a Maildir of N processed (stamped)
# mails, and mails delivered into new/ one after another; the CPU time of the watch process
# (user + system of all its threads, from /proc) per delivered mail.
#
#   bench/watch-event.sh [--mails "1000 100000"] [--deliver 20] [--gap 1.5] [--work DIR]
#                        [--perf]
#
# The first delivered mail is not counted: it lets the process see the folder once (the full
# look at start). Each counted mail has one attachment or more, so it is saved, stamped and
# rewritten, as a new mail is. --perf records the counted mails with `perf record -g` into
# WORK/perf-N.data. Folders are made once per size (small mails, attachments of
# 1-64 KB) and kept under the work folder; each measurement works on a fresh copy.
set -euo pipefail

sizes="1000 100000"
deliver=20
gap=1.5
work=${TMPDIR:-/tmp}/stowaway-watch
perf=0
while [ $# -gt 0 ]; do
  case $1 in
  --mails) sizes=$2; shift 2 ;;
  --deliver) deliver=$2; shift 2 ;;
  --gap) gap=$2; shift 2 ;;
  --work) work=$2; shift 2 ;;
  --perf) perf=1; shift ;;
  *) sed -n '2,14p' "$0"; exit 2 ;;
  esac
done

here=$(cd "$(dirname "$0")" && pwd)
repo=$(dirname "$here")
build=$repo/build/bench
cmake -S "$repo" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DSTOWAWAY_BUILD_BENCH=ON \
  -DSTOWAWAY_BUILD_TESTS=OFF >/dev/null
cmake --build "$build" -j2 --target stowaway stowaway-bench >/dev/null
stowaway=$build/src/stowaway
tool=$build/bench/stowaway-bench
mkdir -p "$work"
work=$(cd "$work" && pwd)

# A folder of N processed mails. Above 1,000 it is the 1,000-mail folder N/1,000 times over,
# as hard links under names of their own: made in seconds, and the same to the store as copies
# (it keys what it knows by file name).
folder_for() {
  local n=$1 dir=$work/folder-$1
  if [ ! -f "$dir/complete" ]; then
    rm -rf "$dir"
    if [ "$n" -le 1000 ]; then
      "$tool" corpus "$dir" "$n" --seed 5 --all-qualify --stamped --small >/dev/null
      rm -f "$dir/payload.b64"
    else
      local base
      base=$(folder_for 1000)
      mkdir -p "$dir/maildir/tmp"
      python3 - "$base/maildir" "$dir/maildir" $((n / 1000)) <<'PY'
import os, sys
src, dst, times = sys.argv[1], sys.argv[2], int(sys.argv[3])
for sub in ("cur", "new"):
    os.makedirs(os.path.join(dst, sub), exist_ok=True)
    for name in sorted(os.listdir(os.path.join(src, sub))):
        unique, sep, info = name.partition(":")
        for k in range(times):
            os.link(os.path.join(src, sub, name),
                    os.path.join(dst, sub, "%s.L%d%s%s" % (unique, k, sep, info)))
PY
    fi
    touch "$dir/complete"
  fi
  echo "$dir"
}

# The mails to deliver: unstamped, each with attachments, names of their own (another seed).
incoming=$work/incoming
if [ "$(ls "$incoming/maildir/cur" "$incoming/maildir/new" 2>/dev/null | grep -c corpus)" -lt $((deliver + 1)) ]; then
  rm -rf "$incoming"
  "$tool" corpus "$incoming" $((deliver * 2 + 2)) --seed 77 --all-qualify --small >/dev/null
fi
mapfile -t mails < <(grep -l '^Content-Disposition: attachment' "$incoming"/maildir/{cur,new}/* |
  head -n $((deliver + 1)))

# CPU time of every thread of the process in ns (schedstat; /proc/PID/stat counts 10 ms ticks).
cpu_ns() { cat /proc/"$1"/task/*/schedstat | awk '{ s += $1 } END { printf "%.0f", s }'; }

measure() {
  local n=$1 dir run home out pid before after per perf_pid
  dir=$(folder_for "$n")
  run=$work/run
  home=$work/home
  out=$work/out
  rm -rf "$run" "$home" "$out"
  cp -al "$dir/maildir" "$run"
  mkdir -p "$home" "$out"
  export HOME=$home XDG_DATA_HOME=$home/data XDG_CONFIG_HOME=$home/config
  "$tool" rule "$out"
  "$stowaway" settings PaceSeconds 0 >/dev/null
  "$stowaway" settings SWActive 1 >/dev/null
  "$stowaway" settings SWTest 0 >/dev/null
  sync
  "$stowaway" --maildir "$run" --no-input watch >"$work/watch.log" 2>&1 &
  pid=$!
  # Mail that comes before the watchers stand is no new mail to them: wait for them.
  until grep -q '^Watching' "$work/watch.log"; do sleep 0.2; done
  local i=0 counted=0
  for m in "${mails[@]}"; do
    local name
    name=$(basename "$m")
    name=${name%%:*}
    cp "$m" "$run/tmp/$name"
    touch "$run/tmp/$name"
    mv "$run/tmp/$name" "$run/new/$name"
    sleep "$gap"
    if [ $i -eq 0 ]; then
      # The first event takes the full look; wait until it is done.
      local waited=0
      while [ "$(ls "$out" | wc -l)" -eq 0 ]; do
        sleep 0.5
        waited=$((waited + 1))
        [ $waited -lt 1200 ] || { echo "watch-event.sh: no file saved, see $work/watch.log" >&2; kill "$pid"; exit 1; }
      done
      sleep "$gap"
      before=$(cpu_ns "$pid")
      if [ "$perf" = 1 ]; then
        perf record -g -p "$pid" -o "$work/perf-$n.data" >/dev/null 2>&1 &
        perf_pid=$!
      fi
    fi
    i=$((i + 1))
  done
  after=$(cpu_ns "$pid")
  counted=$((i - 1))
  if [ "$perf" = 1 ]; then
    kill -INT "$perf_pid"
    wait "$perf_pid" || true
  fi
  kill -TERM "$pid"
  wait "$pid" || true
  local saved
  saved=$(grep -c . <("$stowaway" protocol | grep -E '^ +rule') || true)
  per=$(awk -v a="$after" -v b="$before" -v c="$counted" 'BEGIN { printf "%.2f", (a - b) / 1e6 / c }')
  echo "mails=$n delivered=$counted cpu_ms_per_mail=$per protocol_entries=$saved"
  rm -rf "$run" "$out"
}

for n in $sizes; do
  measure "$n"
done
