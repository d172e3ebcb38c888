#!/usr/bin/env bash
# Builds the fuzz targets with clang and libFuzzer (build/fuzz) and runs each for MINUTES
# minutes, one after the other, on a fresh corpus under build/fuzz/runs/. Exits non-zero on any
# crash, hang, leak, out-of-memory or sanitizer report, and names the input that caused it.
#
# Usage: bench/fuzz.sh MINUTES [TARGET...]   (targets: fuzz_read_mail fuzz_rewrite_mail
#                                              fuzz_load_data fuzz_imap_response; default all)
set -uo pipefail

minutes=${1:-}
if ! [[ $minutes =~ ^[0-9]+([.][0-9]+)?$ ]]; then
  echo "usage: $0 MINUTES [TARGET...]" >&2
  exit 2
fi
shift
targets=("$@")
[ ${#targets[@]} -eq 0 ] && targets=(fuzz_read_mail fuzz_rewrite_mail fuzz_load_data fuzz_imap_response)
seconds=$(awk -v m="$minutes" 'BEGIN { printf "%d", m * 60 }')

repo=$(cd "$(dirname "$0")/.." && pwd)
build=$repo/build/fuzz
python_mails=/usr/lib/python3.11/test/test_email/data

# clang, libFuzzer and the real-world sample mails (seeds), installed when missing.
packages=(clang-14 libclang-rt-14-dev libfuzzer-14-dev libpython3.11-testsuite)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  SUDO=""
  [ "$(id -u)" -ne 0 ] && SUDO="sudo"
  $SUDO apt-get update && DEBIAN_FRONTEND=noninteractive \
    $SUDO apt-get install -y --no-install-recommends "${missing[@]}" || exit 2
fi
cc=$(command -v clang || command -v clang-14)
cxx=$(command -v clang++ || command -v clang++-14)

CC=$cc CXX=$cxx cmake -S "$repo" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DSTOWAWAY_FUZZ=ON -DSTOWAWAY_BUILD_TESTS=OFF >/dev/null || exit 2
cmake --build "$build" -j2 --target "${targets[@]}" make_data_seeds || exit 2

run=$build/runs/$(date +%Y%m%d-%H%M%S)
mkdir -p "$run"
# The targets' own temporary folders: in memory where possible, removed at the end.
scratch=$(mktemp -d "$( [ -w /dev/shm ] && echo /dev/shm || echo "$build")/stowaway-fuzz.XXXXXX")
trap 'rm -rf "$scratch"' EXIT

"$build/bench/fuzz/make_data_seeds" "$run/data-seeds" || exit 2

# A smaller quarantine keeps the resident size of long runs well under the limit.
export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1:allocator_may_return_null=1:quarantine_size_mb=64
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
export QT_QPA_PLATFORM=offscreen

failed=0
for target in "${targets[@]}"; do
  dir=$run/$target
  mkdir -p "$dir/corpus" "$dir/artifacts"
  seeds=("$repo/tests/data/fuzz/$target")
  case $target in
    fuzz_load_data) seeds+=("$run/data-seeds"); max_len=8192 ;;
    fuzz_imap_response) max_len=32768 ;;
    *) seeds+=("$repo/tests/data/mails"); max_len=65536
       [ -d "$python_mails" ] && seeds+=("$python_mails") ;;
  esac
  echo "== $target: $minutes minute(s), log $dir/log"
  TMPDIR=$scratch "$build/bench/fuzz/$target" -max_total_time="$seconds" -timeout=10 \
    -rss_limit_mb=2048 -detect_leaks=1 -max_len="$max_len" -print_final_stats=1 \
    -artifact_prefix="$dir/artifacts/" "$dir/corpus" "${seeds[@]}" >"$dir/log" 2>&1
  rc=$?
  artifacts=("$dir"/artifacts/*)
  [ -e "${artifacts[0]}" ] || artifacts=()
  reports=$(grep -cE 'ERROR: (Address|Leak|Memory|UndefinedBehavior)Sanitizer|runtime error:|FUZZ_CHECK failed|ERROR: libFuzzer' "$dir/log")
  grep -E '^(stat::number_of_executed_units|stat::peak_rss_mb)|^Done ' "$dir/log" | sed 's/^/   /'
  if [ $rc -ne 0 ] || [ ${#artifacts[@]} -gt 0 ] || [ "$reports" -gt 0 ]; then
    failed=1
    echo "!! $target failed (exit $rc)"
    grep -m 5 -E 'ERROR:|runtime error:|FUZZ_CHECK failed|^SUMMARY: ' "$dir/log" | sed 's/^/   /'
    for a in "${artifacts[@]}"; do echo "   input: $a"; done
  fi
  echo "   corpus: $(find "$dir/corpus" -type f | wc -l) inputs"
done

if [ $failed -ne 0 ]; then
  echo "Fuzzing found faults; the inputs are named above (replay one with the target and its path)."
  exit 1
fi
echo "No crash, hang, leak or sanitizer report in ${targets[*]}."
