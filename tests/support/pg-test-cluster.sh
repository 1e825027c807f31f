#!/usr/bin/env bash
# A throw-away PostgreSQL cluster for the tests and benchmarks.
#   pg-test-cluster.sh start DIR [PORT]   make DIR, initdb in DIR/data, serve on a Unix socket in DIR only
#   pg-test-cluster.sh stop DIR           stop the server and remove DIR
# Roles: "postgres" (superuser, trust), the calling OS user (trust; stands for
# operating-system login) and "korvo" with the password "korvo-pw" (scram).
# initdb and postgres refuse to run as root: as root they run as "postgres",
# and DIR is theirs. DIR's parent must let that user in (the system's
# temporary folder does; a private checkout may not).
set -euo pipefail

cmd=${1:?start or stop}
dir=$(realpath -m "${2:?cluster folder}")
port=${3:-5432}

PGBIN=$(pg_config --bindir 2>/dev/null || true)
if [ ! -x "$PGBIN/initdb" ]; then
  PGBIN=$(ls -d /usr/lib/postgresql/*/bin 2>/dev/null | sort -V | tail -n1)
fi

as_pg() {
  if [ "$(id -u)" = 0 ]; then (cd / && runuser -u postgres -- "$@"); else "$@"; fi
}

stop_cluster() {
  if [ -f "$dir/data/postmaster.pid" ]; then
    as_pg "$PGBIN/pg_ctl" -D "$dir/data" -m immediate -w -t 30 stop >/dev/null 2>&1 || true
  fi
  rm -rf "$dir"
}

case "$cmd" in
start)
  stop_cluster
  mkdir -m 700 "$dir"
  [ "$(id -u)" = 0 ] && chown postgres:postgres "$dir"
  if ! as_pg test -w "$dir"; then
    echo "pg-test-cluster: the server's user $(as_pg id -un) cannot reach $dir" >&2
    rm -rf "$dir"
    exit 1
  fi
  as_pg "$PGBIN/initdb" -D "$dir/data" -U postgres -A trust -E UTF8 --locale=C.UTF-8 -N >"$dir/initdb.log" 2>&1 ||
    { cat "$dir/initdb.log" >&2; exit 1; }
  osuser=$(id -un)
  {
    echo "local all postgres trust"
    [ "$osuser" != postgres ] && echo "local all $osuser trust"
    echo "local all all scram-sha-256"
  } >"$dir/data/pg_hba.conf"
  as_pg "$PGBIN/pg_ctl" -D "$dir/data" -l "$dir/server.log" -w -t 30 \
    -o "-k $dir -p $port -c listen_addresses= -c fsync=off -c synchronous_commit=off -c full_page_writes=off" \
    start >/dev/null || { cat "$dir/server.log" >&2; exit 1; }
  psql=("$PGBIN/psql" -X -q -v ON_ERROR_STOP=1 -h "$dir" -p "$port" -U postgres -d postgres)
  "${psql[@]}" -c "CREATE ROLE korvo LOGIN CREATEDB PASSWORD 'korvo-pw'"
  if [ "$osuser" != postgres ]; then
    "${psql[@]}" -c "CREATE ROLE \"$osuser\" LOGIN"
  fi
  echo "PostgreSQL test cluster on $dir port $port"
  ;;
stop)
  stop_cluster
  ;;
*)
  echo "usage: $0 start|stop DIR [PORT]" >&2
  exit 2
  ;;
esac
