# Sourced by the demo and the package test: serves a mirror with nginx on a
# free loopback port, one virtual host per name, so the installer can reach
# it through its proxy setting.
# start_mirror_nginx RUN_FOLDER MIRROR_ROOT HOST... sets nginx_port and
# nginx_pid and returns 0, or 1 when nginx would not start in five tries.
start_mirror_nginx() {
  local run=$1 root=$2 attempt i host t
  shift 2
  nginx_pid=""
  mkdir -p "$run"
  for attempt in 1 2 3 4 5; do
    nginx_port=$((20000 + RANDOM % 20000))
    (exec 3<>"/dev/tcp/127.0.0.1/$nginx_port") 2>/dev/null && continue
    {
      echo "daemon off; master_process off; worker_processes 1; pid $run/nginx.pid;"
      [ "$(id -u)" -eq 0 ] && echo "user root;"
      echo "events { worker_connections 64; }"
      echo "http { access_log off;"
      for t in client_body proxy fastcgi uwsgi scgi; do echo "  ${t}_temp_path $run/$t;"; done
      for host in "$@"; do
        echo "  server { listen 127.0.0.1:$nginx_port; server_name $host; root $root; }"
      done
      echo "}"
    } >"$run/nginx.conf"
    /usr/sbin/nginx -p "$run/" -c "$run/nginx.conf" -e "$run/error.log" &
    nginx_pid=$!
    for i in $(seq 1 100); do
      (exec 3<>"/dev/tcp/127.0.0.1/$nginx_port") 2>/dev/null && return 0
      kill -0 "$nginx_pid" 2>/dev/null || break
      sleep 0.05
    done
    stop_mirror_nginx
  done
  return 1
}

stop_mirror_nginx() {
  if [ -n "${nginx_pid:-}" ]; then
    kill "$nginx_pid" 2>/dev/null || true
    wait "$nginx_pid" 2>/dev/null || true
  fi
  nginx_pid=""
}
