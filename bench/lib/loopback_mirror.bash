# Shared by the benchmarks that install from a loopback mirror; sourced, not run.
# Needs NGINX (the nginx binary), WORK (the run's temp folder) and MIRROR (the
# folder served). Sets PORT and NGINX_PID (the caller's cleanup stops nginx)
# and HOME_DIR, a HOME of the run's own whose preferences send every request
# to nginx; makes $WORK/tmp and $WORK/install.
start_loopback_mirror() {
  # nginx on a free loopback port; one catch-all server answers every host name.
  RUN="$WORK/nginx"
  mkdir -p "$RUN"
  PORT=""
  local port
  for _ in 1 2 3 4 5; do
    port=$((20000 + RANDOM % 20000))
    (exec 3<>"/dev/tcp/127.0.0.1/$port") 2>/dev/null && continue
    cat > "$RUN/nginx.conf" <<CONF
daemon off;
master_process off;
$([ "$(id -u)" -eq 0 ] && echo "user root;")
worker_processes 1;
pid $RUN/nginx.pid;
error_log $RUN/error.log;
events { worker_connections 64; }
http {
  access_log off;
  sendfile on;
  client_body_temp_path $RUN/body;
  proxy_temp_path $RUN/proxy;
  fastcgi_temp_path $RUN/fastcgi;
  uwsgi_temp_path $RUN/uwsgi;
  scgi_temp_path $RUN/scgi;
  server { listen 127.0.0.1:$port default_server; server_name _; root $MIRROR; }
}
CONF
    "$NGINX" -p "$RUN/" -c "$RUN/nginx.conf" -e "$RUN/error.log" &
    NGINX_PID=$!
    for _ in $(seq 100); do
      (exec 3<>"/dev/tcp/127.0.0.1/$port") 2>/dev/null && break
      kill -0 "$NGINX_PID" 2>/dev/null || break
      sleep 0.05
    done
    if (exec 3<>"/dev/tcp/127.0.0.1/$port") 2>/dev/null; then PORT=$port; break; fi
    kill "$NGINX_PID" 2>/dev/null || true; wait "$NGINX_PID" 2>/dev/null || true; NGINX_PID=""
  done
  [ -n "$PORT" ] || { echo "nginx did not start" >&2; cat "$RUN/error.log" >&2 || true; exit 1; }

  HOME_DIR="$WORK/home"
  mkdir -p "$HOME_DIR/.zephyra" "$WORK/tmp" "$WORK/install"
  printf 'I\n8500 version\n_proxy_host 127.0.0.1\n_proxy_port %s\n_proxy_port_int %s\n' "$PORT" "$PORT" \
    > "$HOME_DIR/.zephyra/Zephyra Installer.prf"
}
