#!/usr/bin/env bash
# Stowaway on a real Dovecot (Debian's dovecot-imapd, started here unprivileged on a loopback
# port with a configuration of its own) against the same work on a Maildir:
#  1. The new-mail event: `stowaway watch` on an INBOX of N processed (stamped) mails, mails
#     appended by another connection one after another; the CPU time of the watch process per
#     appended mail, as watch-event.sh measures it on a Maildir. The first appended mail is not
#     counted: it brings the first walk, which reads every mail once and notes it done.
#  2. A real run (`run --all`, one rule saving everything) over the corpus of make-corpus in the
#     server's INBOX, against the same run on a Maildir copy: wall and CPU time of `stowaway`.
#
#   bench/imap-event.sh [--mails 10000] [--deliver 10] [--gap 1.5] [--corpus 500] [--work DIR]
set -euo pipefail

mails_n=10000
deliver=10
gap=1.5
corpus_n=500
work=${TMPDIR:-/tmp}/stowaway-imap
while [ $# -gt 0 ]; do
  case $1 in
  --mails) mails_n=$2; shift 2 ;;
  --deliver) deliver=$2; shift 2 ;;
  --gap) gap=$2; shift 2 ;;
  --corpus) corpus_n=$2; shift 2 ;;
  --work) work=$2; shift 2 ;;
  *) sed -n '2,12p' "$0"; exit 2 ;;
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
[ -x /usr/sbin/dovecot ] || { echo "dovecot-imapd is not installed (scripts/install-deps)" >&2; exit 2; }
mkdir -p "$work"
work=$(cd "$work" && pwd)

# --- the server -----------------------------------------------------------------------------
srv=$work/dovecot
port=$(python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])')
if [ "$(id -u)" -eq 0 ]; then runas=nobody; rungroup=nogroup; else runas=$(id -un); rungroup=$(id -gn); fi
dovecot_pid=
start_dovecot() {
  rm -rf "$srv/run" "$srv/state"
  mkdir -p "$srv/run" "$srv/state" "$srv/mail"
  cat >"$srv/dovecot.conf" <<EOF
base_dir = $srv/run
state_dir = $srv/state
log_path = $srv/dovecot.log
protocols = imap
listen = 127.0.0.1
ssl = no
disable_plaintext_auth = no
default_internal_user = $runas
default_internal_group = $rungroup
default_login_user = $runas
first_valid_uid = $(id -u $runas)
mail_location = maildir:$srv/mail/%u
passdb {
  driver = static
  args = password=secret
}
userdb {
  driver = static
  args = uid=$(id -u $runas) gid=$(getent group $rungroup | cut -d: -f3) home=$srv/mail/%u
}
service imap-login {
  chroot =
  inet_listener imap {
    address = 127.0.0.1
    port = $port
  }
  inet_listener imaps {
    port = 0
  }
}
service anvil {
  chroot =
}
service stats {
  chroot =
}
EOF
  local line=(/usr/sbin/dovecot -F -c "$srv/dovecot.conf")
  if [ "$(id -u)" -eq 0 ]; then
    chown -R "$runas:$rungroup" "$srv"
    # The server must reach its folder through the parents.
    p=$srv; while [ "$p" != / ]; do p=$(dirname "$p"); chmod o+x "$p" 2>/dev/null || true; done
    line=(setpriv --reuid="$(id -u $runas)" --regid="$(getent group $rungroup | cut -d: -f3)" --clear-groups "${line[@]}")
  fi
  setsid "${line[@]}" &
  dovecot_pid=$!
  for _ in $(seq 100); do
    python3 - "$port" 2>/dev/null <<'PY' && return 0
import socket, sys
s = socket.create_connection(("127.0.0.1", int(sys.argv[1])), 1)
sys.exit(0 if s.recv(100).startswith(b"* OK") else 1)
PY
    sleep 0.1
  done
  echo "dovecot did not start; see $srv/dovecot.log" >&2
  exit 1
}
stop_dovecot() {
  [ -n "$dovecot_pid" ] && kill -TERM -- -"$dovecot_pid" 2>/dev/null && wait "$dovecot_pid" 2>/dev/null || true
  dovecot_pid=
}
trap stop_dovecot EXIT

# Fills the INBOX of `user` with the mails of a Maildir (files copied, as a delivery would).
fill_inbox() {
  local user=$1 from=$2 box=$srv/mail/$1
  rm -rf "$box"
  mkdir -p "$box/tmp"
  cp -r "$from/cur" "$from/new" "$box/"
  [ "$(id -u)" -ne 0 ] || chown -R "$runas:$rungroup" "$box"
}

# Appends one mail file to the INBOX of `user` over a connection of its own.
append_mail() {
  python3 - "$port" "$1" "$2" <<'PY'
import imaplib, sys
c = imaplib.IMAP4("127.0.0.1", int(sys.argv[1]))
c.login(sys.argv[2], "secret")
with open(sys.argv[3], "rb") as f:
    typ, _ = c.append("INBOX", None, None, f.read())
c.logout()
sys.exit(0 if typ == "OK" else 1)
PY
}

# A fresh HOME with one rule saving everything into $2; on the IMAP account of user $1 when a
# third argument says "imap", its INBOX watched.
set_up_home() {
  local user=$1 out=$2 imap=${3:-}
  home=$work/home-$user
  rm -rf "$home" "$out"
  mkdir -p "$home" "$out"
  export HOME=$home XDG_DATA_HOME=$home/data XDG_CONFIG_HOME=$home/config XDG_CACHE_HOME=$home/cache
  "$tool" rule "$out"
  "$stowaway" settings PaceSeconds 0 >/dev/null
  "$stowaway" settings SWActive 1 >/dev/null
  "$stowaway" settings SWTest 0 >/dev/null
  [ "$imap" = imap ] || return 0
  "$stowaway" settings Store "imap+plain://$user@127.0.0.1:$port" >/dev/null
  "$stowaway" settings PasswordCommand "echo secret" >/dev/null
  "$stowaway" folders >/dev/null # the first start on the account watches its INBOX
}

cpu_ns() { cat /proc/"$1"/task/*/schedstat | awk '{ s += $1 } END { printf "%.0f", s }'; }

start_dovecot

# --- 1. the new-mail event ------------------------------------------------------------------
folder=$work/folder-$mails_n
if [ ! -f "$folder/complete" ]; then
  "$tool" corpus "$folder" "$mails_n" --seed 5 --all-qualify --stamped --small >/dev/null
  rm -f "$folder/payload.b64"
  touch "$folder/complete"
fi
incoming=$work/incoming
if [ ! -f "$incoming/complete" ]; then
  "$tool" corpus "$incoming" $((deliver * 2 + 2)) --seed 77 --all-qualify --small >/dev/null
  touch "$incoming/complete"
fi
mapfile -t mails < <(grep -l '^Content-Disposition: attachment' "$incoming"/maildir/{cur,new}/* |
  head -n $((deliver + 1)))

fill_inbox event "$folder/maildir"
out=$work/out-event
set_up_home event "$out" imap
"$stowaway" --no-input watch >"$work/watch.log" 2>&1 &
pid=$!
until grep -qs '^Watching' "$work/watch.log"; do sleep 0.2; done
i=0
first_walk=
for m in "${mails[@]}"; do
  append_mail event "$m"
  sleep "$gap"
  if [ $i -eq 0 ]; then
    t0=$(date +%s.%N)
    waited=0
    while [ "$(ls "$out" | wc -l)" -eq 0 ]; do
      sleep 0.5
      waited=$((waited + 1))
      [ $waited -lt 2400 ] || { echo "imap-event.sh: no file saved, see $work/watch.log" >&2; kill "$pid"; exit 1; }
    done
    first_walk=$(awk -v a="$(date +%s.%N)" -v b="$t0" 'BEGIN { printf "%.0f", a - b }')
    sleep "$gap"
    before=$(cpu_ns "$pid")
  fi
  i=$((i + 1))
done
after=$(cpu_ns "$pid")
kill -TERM "$pid"
wait "$pid" || true
counted=$((i - 1))
saved=$(ls "$out" | wc -l)
per=$(awk -v a="$after" -v b="$before" -v c="$counted" 'BEGIN { printf "%.2f", (a - b) / 1e6 / c }')
echo "event: mails=$mails_n appended=$counted cpu_ms_per_mail=$per files_saved=$saved first_walk_s<=$first_walk"

# --- 2. a real run over the corpus, IMAP against Maildir -------------------------------------
corpus=$work/corpus-$corpus_n
if [ ! -f "$corpus/complete" ]; then
  "$tool" corpus "$corpus" "$corpus_n" --seed 1 --all-qualify >/dev/null
  touch "$corpus/complete"
fi
expected=$(wc -l <"$corpus/manifest.tsv")
run_timed() { # label, then the command; prints wall, user and system seconds
  local label=$1
  shift
  sync
  /usr/bin/time -f "$label wall_s=%e user_s=%U sys_s=%S" "$@" >/dev/null 2>"$work/time.txt" || true
  tail -n 1 "$work/time.txt"
}
fill_inbox corpus "$corpus/maildir"
set_up_home corpus "$work/out-imap" imap
run_timed "run imap:" "$stowaway" --no-input run --all
echo "   files saved: $(find "$work/out-imap" -type f | wc -l) of $expected"
rm -rf "$work/maildir-copy"
cp -r "$corpus/maildir" "$work/maildir-copy"
set_up_home maildir "$work/out-maildir"
run_timed "run maildir:" "$stowaway" --maildir "$work/maildir-copy" --no-input run --all
echo "   files saved: $(find "$work/out-maildir" -type f | wc -l) of $expected"
