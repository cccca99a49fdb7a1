# shellcheck shell=sh
# What the package's scripts do to the monitor's service, and on removal to the metrics' timer, which only an
# administrator enables: the distribution's own tools, systemd where it is
# there, SysV otherwise. Nothing here may fail a transaction: a host without either (a container, an image
# being built) is left alone.

systemd_runs() { [ -d /run/systemd/system ]; }

service_enable_and_start() {
    if systemd_runs; then
        systemctl daemon-reload || true
        systemctl enable dravik-monitor.service || true
        systemctl start dravik-monitor.service || true
    elif [ -x /sbin/chkconfig ]; then
        /sbin/chkconfig --add dravik-monitor || true
        /etc/init.d/dravik-monitor start || true
    elif command -v systemctl >/dev/null 2>&1; then
        # An image is being built: the unit will start when it boots.
        systemctl enable dravik-monitor.service >/dev/null 2>&1 || true
    fi
}

# After an upgrade: the new program takes over where the old one ran.
service_restart_if_running() {
    if systemd_runs; then
        systemctl daemon-reload || true
        systemctl try-restart dravik-monitor.service || true
    elif [ -x /sbin/chkconfig ]; then
        /etc/init.d/dravik-monitor try-restart || true
    fi
}

service_stop_and_disable() {
    if systemd_runs; then
        systemctl disable --now dravik-monitor.service dravik-metrics.timer || true
    elif [ -x /sbin/chkconfig ]; then
        /etc/init.d/dravik-monitor stop || true
        /sbin/chkconfig --del dravik-monitor || true
    elif command -v systemctl >/dev/null 2>&1; then
        systemctl disable dravik-monitor.service dravik-metrics.timer >/dev/null 2>&1 || true
    fi
    drop_metrics
}

# The node exporter would show its last state for ever.
drop_metrics() {
    rm -f /var/lib/prometheus/node-exporter/dravik.prom || true
}

# What `journalctl -x` shows below the monitor's entries: the journal reads a compiled file.
catalog_update() {
    if systemd_runs && command -v journalctl >/dev/null 2>&1; then
        journalctl --update-catalog >/dev/null 2>&1 || true
    fi
}

# Logs and snapshot live here. The package does not own the folder: what the monitor wrote outlives it.
make_dumps() {
    [ -e /dumps ] || mkdir -m 0700 /dumps || true
}
