#!/usr/bin/env bash
# Stowaway against the tools a user would pick instead, and against the physical limits of the
# machine, on one corpus, in one run; then the speed targets, each met or not met.
#
#   bench/peers.sh [--mails N] [--big N] [--runs R] [--work DIR] [--no-micro]
#
# --mails  mails of the comparison corpus (all attachments qualify), default 2000
# --big    mails of the second corpus for the peak-memory check, default 20000 (0: skip)
# --runs   hyperfine runs per command (at least 3), default 3
# --work   scratch folder, default ${TMPDIR:-/tmp}/stowaway-peers (corpora are kept there)
# --no-micro  leave out the micro-benchmarks (new-mail event, LoadData)
#
# Every timed run starts from a fresh copy of the corpus (hyperfine --prepare, which also syncs
# the disk); the page cache is warm. Peers run as users run them: a shell loop over the mails
# where a tool takes one message. The files each tool wrote are checked against the corpus
# manifest by content (sha256) and by name.
set -euo pipefail

mails=2000
big=20000
runs=3
work=${TMPDIR:-/tmp}/stowaway-peers
micro=1
while [ $# -gt 0 ]; do
  case $1 in
  --mails) mails=$2; shift 2 ;;
  --big) big=$2; shift 2 ;;
  --runs) runs=$2; shift 2 ;;
  --work) work=$2; shift 2 ;;
  --no-micro) micro=0; shift ;;
  *) sed -n '2,16p' "$0"; exit 2 ;;
  esac
done
[ "$runs" -ge 3 ] || { echo "peers.sh: at least 3 runs" >&2; exit 2; }

here=$(cd "$(dirname "$0")" && pwd)
repo=$(dirname "$here")
build=$repo/build/bench

# The peers and the measuring tools, installed when missing.
packages=(mblaze ripmime mpack maildir-utils hyperfine time python3)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  sudo=""
  [ "$(id -u)" -ne 0 ] && sudo=sudo
  $sudo apt-get update
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y --no-install-recommends "${missing[@]}"
fi

cmake -S "$repo" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DSTOWAWAY_BUILD_BENCH=ON \
  -DSTOWAWAY_BUILD_TESTS=OFF >/dev/null
cmake --build "$build" -j2 --target stowaway stowaway-noproto stowaway-bench stowaway-micro >/dev/null
stowaway=$build/src/stowaway
noproto=$build/bench/stowaway-noproto
tool=$build/bench/stowaway-bench

mkdir -p "$work"
work=$(cd "$work" && pwd)
results=$work/results
rm -rf "$results"
mkdir -p "$results"

# A corpus is made once per size and seed and kept.
corpus_for() {
  local n=$1 dir=$work/corpus-$1
  if [ "$(cat "$dir/totals.txt" 2>/dev/null | sed -n 's/.*mails=\([0-9]*\).*/\1/p')" != "$n" ]; then
    rm -rf "$dir"
    "$tool" corpus "$dir" "$n" --seed 1 --all-qualify >/dev/null
  fi
  echo "$dir"
}
corpus=$(corpus_for "$mails")
payload=$(sed -n 's/.*payload_bytes=\([0-9]*\).*/\1/p' "$corpus/totals.txt")
echo "corpus: $(cat "$corpus/totals.txt")"

# Two private homes: one rule that saves everything, with and without removal and links.
run=$work/run
out=$work/out
make_home() {
  local home=$1
  shift
  rm -rf "$home"
  mkdir -p "$home"
  HOME=$home XDG_DATA_HOME=$home/data XDG_CONFIG_HOME=$home/config "$tool" rule "$out" "$@"
  HOME=$home XDG_DATA_HOME=$home/data XDG_CONFIG_HOME=$home/config \
    "$stowaway" settings PaceSeconds 0 >/dev/null
}
make_home "$work/home-plain"
make_home "$work/home-remove" --remove-and-link
as() { echo "env HOME=$1 XDG_DATA_HOME=$1/data XDG_CONFIG_HOME=$1/config"; }
plain=$(as "$work/home-plain")
remove=$(as "$work/home-remove")

prepare="rm -rf '$run' '$out' && cp -a '$corpus/maildir' '$run' && mkdir -p '$out' && \
rm -f '$work'/home-*/data/Quillworks/*/QWKStowaway.prt '$work'/home-*/data/Quillworks/*/QWKStowaway.txt && sync"
mailfiles="'$run'/cur/* '$run'/new/*"

# name | command | writes the attachments (checked against the manifest)
cases=(
  "stowaway run|$plain '$stowaway' --maildir '$run' --no-input run --all|yes"
  "stowaway test run|$plain '$stowaway' --maildir '$run' --yes test --all|no"
  "stowaway run, removal+links|$remove '$stowaway' --maildir '$run' --no-input run --all|yes"
  "stowaway run, no protocol|$plain '$noproto' --maildir '$run' --no-input run --all|yes"
  "mblaze mshow -B -x|cd '$out' && for f in $mailfiles; do mshow -B -x \"\$f\" >/dev/null; done|yes"
  "ripmime|for f in $mailfiles; do ripmime -i \"\$f\" -d '$out' --no-nameless; done|yes"
  "munpack (mpack)|cd '$out' && for f in $mailfiles; do munpack -q -C '$out' \"\$f\" >/dev/null 2>&1; done|yes"
  "mu extract|for f in $mailfiles; do mu extract --save-attachments --overwrite --target-dir='$out' \"\$f\" >/dev/null; done|yes"
  "limit: read the corpus|find '$run' -type f -exec cat {} + >/dev/null|no"
  "limit: base64 -d of the payload|base64 -d '$corpus/payload.b64' >/dev/null|no"
  "limit: write the payload (synced)|'$tool' write-payload '$corpus' '$out' >/dev/null|count"
  "limit: GMime parse+decode, no writes|'$tool' parse '$run' >/dev/null|no"
  "floor: decode+write files+rewrite mails|'$tool' floor '$run' '$out' >/dev/null|count"
)

i=0
for c in "${cases[@]}"; do
  IFS='|' read -r name cmd check <<<"$c"
  i=$((i + 1))
  echo "== $name"
  hyperfine --shell=bash --runs "$runs" --prepare "$prepare" --export-json "$results/$i.json" \
    --style basic "$cmd" >"$results/$i.log" 2>&1 || echo "   (failed: see $results/$i.log)"
  files=$(find "$out" -type f 2>/dev/null | wc -l)
  verdict="-"
  if [ "$check" = yes ]; then
    verdict=$("$tool" verify "$corpus" "$out" || true)
  elif [ "$check" = count ]; then
    verdict="files=$files"
  fi
  printf '%s\t%s\t%s\t%s\n' "$i" "$name" "$check" "$verdict" >>"$results/cases.tsv"
done

# Peak memory of a real run on the comparison corpus and on a larger one.
peak_rss() {
  local dir=$1
  eval "$prepare" >/dev/null 2>&1 || true
  rm -rf "$run" && cp -a "$dir/maildir" "$run" && sync
  /usr/bin/time -v env HOME="$work/home-plain" XDG_DATA_HOME="$work/home-plain/data" \
    XDG_CONFIG_HOME="$work/home-plain/config" "$stowaway" --maildir "$run" --no-input run --all \
    2>&1 >/dev/null | sed -n 's/.*Maximum resident set size (kbytes): //p'
}
rss_small=$(peak_rss "$corpus")
rss_big=""
if [ "$big" -gt 0 ]; then
  bigcorpus=$(corpus_for "$big")
  rss_big=$(peak_rss "$bigcorpus")
fi
rm -rf "$run" "$out"

micro_json=""
if [ "$micro" = 1 ]; then
  micro_json=$results/micro.json
  (cd "$work" && "$build/bench/stowaway-micro" --benchmark_format=json \
    --benchmark_filter='LoadData|NewMailEvent/1000$|NewMailEvent/10000$|FullParse|MatchesRule|AddProto/1000$|AddProto/10000$' \
    >"$micro_json")
fi

python3 - "$results" "$payload" "$mails" "$big" "$rss_small" "${rss_big:-}" "$micro_json" <<'EOF'
import json, os, sys
results, payload, mails, big, rss_small, rss_big, micro = sys.argv[1:8]
payload = int(payload)
rows = []
for line in open(os.path.join(results, "cases.tsv"), encoding="utf-8"):
    i, name, check, verdict = line.rstrip("\n").split("\t")
    try:
        data = json.load(open(os.path.join(results, f"{i}.json")))["results"][0]
        median = data["median"]
    except Exception:
        median = None
    fields = dict(kv.split("=") for kv in verdict.split() if "=" in kv)
    rows.append((name, check, median, fields))

def median_of(prefix):
    for name, _, median, _ in rows:
        if name == prefix:
            return median
    return None

ours = median_of("stowaway run")
print()
print(f"{'command':44} {'median s':>9} {'MB/s':>8} {'files':>7} {'content':>9} {'names':>7} {'vs run':>7}")
for name, check, median, f in rows:
    med = f"{median:9.3f}" if median else "   failed"
    mbs = f"{payload / median / 1e6:8.1f}" if median else "       -"
    files = f.get("files", "-")
    content = f"{f['content_ok']}/{f['expected']}" if "content_ok" in f else "-"
    names = f.get("names_ok", "-")
    ratio = f"{median / ours:7.2f}" if median and ours else "      -"
    print(f"{name:44} {med} {mbs} {files:>7} {content:>9} {names:>7} {ratio}")

def verdict(ok):
    return "met" if ok else "NOT met"

print()
peers = [(n, m) for n, c, m, f in rows if c == "yes" and not n.startswith("stowaway")
         and m and f.get("complete") == "yes"]
fastest = min(peers, key=lambda p: p[1]) if peers else None
targets = []
if ours and fastest:
    targets.append((f"real run faster than the fastest correct peer ({fastest[0]}, {fastest[1]:.2f} s)",
                    f"{ours:.2f} s", ours < fastest[1]))
elif ours:
    targets.append(("real run faster than the fastest correct peer", "no peer wrote every file right", True))
floor = median_of("floor: decode+write files+rewrite mails")
if ours and floor:
    targets.append(("real run within 1.5x the floor", f"{ours / floor:.2f}x", ours <= 1.5 * floor))
test = median_of("stowaway test run")
parse = median_of("limit: GMime parse+decode, no writes")
if test and parse:
    targets.append(("test run within 1.5x of parse+decode", f"{test / parse:.2f}x", test <= 1.5 * parse))
removal = median_of("stowaway run, removal+links")
if removal and ours:
    targets.append(("removal+links at most 1.5x the real run", f"{removal / ours:.2f}x", removal <= 1.5 * ours))
noproto = median_of("stowaway run, no protocol")
if noproto and ours:
    extra = ours / noproto - 1
    targets.append(("protocol bookkeeping at most +10%", f"{extra * 100:+.1f}%", extra <= 0.10))
if rss_small and rss_big:
    a, b = int(rss_small), int(rss_big)
    targets.append((f"peak memory {big} mails within 1.5x of {mails} mails",
                    f"{a / 1024:.0f} MB vs {b / 1024:.0f} MB ({b / a:.2f}x)", b <= 1.5 * a))
elif rss_small:
    print(f"peak memory of the real run on {mails} mails: {int(rss_small) / 1024:.0f} MB")
if micro and os.path.exists(micro):
    bench = {b["name"]: b for b in json.load(open(micro))["benchmarks"]}
    def ms(name):
        b = bench.get(name)
        if not b: return None
        scale = {"ns": 1e-6, "us": 1e-3, "ms": 1.0, "s": 1e3}[b["time_unit"]]
        return b["real_time"] * scale
    event, full, load = ms("NewMailEvent/10000"), ms("FullParse/10000"), ms("LoadData/100000")
    if event and full:
        targets.append(("new-mail event in 10,000 processed mails under 1/50 of a full parse",
                        f"{event:.1f} ms vs {full:.0f} ms (1/{full / event:.0f})", event * 50 < full))
    if load:
        targets.append(("LoadData of 100,000 protocol records under 1 s", f"{load:.0f} ms", load < 1000))
    record = bench.get("LoadData/100000", {})
    if "beyond_text" in record:
        targets.append(("a protocol record under 250 bytes of heap beyond its text",
                        f"{record['beyond_text']:.0f} B (+{record['text_per_record']:.0f} B text)",
                        record["beyond_text"] < 250))
print(f"{'target':72} {'measured':>26}  verdict")
for name, measured, ok in targets:
    print(f"{name:72} {measured:>26}  {verdict(ok)}")
EOF
