#!/bin/bash
# A GNOME desktop without a screen or GPU:
#   session.sh ROOT RUN WIDTHxHEIGHT SCALE
# Its programs come from the file system ROOT, its sockets and logs go to the
# empty directory RUN. It says "ready" when it is there, runs each line of its
# input as a command, with "${inside[@]}" before a program of the desktop's, and
# ends with its input.
set -euo pipefail
if [ $# = 4 ]; then exec unshare --mount "$0" "$@" unshared; fi
root=$1 run=$2 size=$3 scale=$4

mount -t proc proc "$root/proc"
mount --rbind /sys "$root/sys"
mount --rbind /dev "$root/dev"
mount -t tmpfs tmpfs "$root/run"
mkdir -p "$root/run/dbus" "$root/run/desktop"
mount --bind "$run" "$root/run/desktop"

# A click on a switch counts at the end of its animation otherwise.
mkdir -p "$run/config/glib-2.0/settings"
printf '[org/gnome/desktop/interface]\nenable-animations=false\n' >"$run/config/glib-2.0/settings/keyfile"
inside=(chroot "$root" /usr/bin/env -i PATH=/usr/bin:/bin:/usr/sbin:/sbin HOME=/root LANG=C.UTF-8
  LIBGL_ALWAYS_SOFTWARE=1 GTK_A11Y=none GSETTINGS_BACKEND=keyfile XDG_CONFIG_HOME=/run/desktop/config
  XDG_RUNTIME_DIR=/run/desktop XDG_SESSION_TYPE=wayland XDG_CURRENT_DESKTOP=GNOME WAYLAND_DISPLAY=wayland-0
  DBUS_SESSION_BUS_ADDRESS=unix:path=/run/desktop/bus)
until_process() { # until_process CONDITION...: waits for it while the latest process runs
  until "$@"; do kill -0 $!; sleep 0.1; done
}
owned() { # whether a name is owned on the session's bus
  local call=org.freedesktop.DBus.NameHasOwner
  "${inside[@]}" gdbus call --session -d org.freedesktop.DBus -o / -m $call "$1" 2>&1 | grep -q true
}

exec 2>"$run/log"
trap 'kill $(jobs -p)' EXIT
"${inside[@]}" dbus-daemon --system --nofork --nopidfile >&2 &
"${inside[@]}" dbus-daemon --session --nofork --address=unix:path=/run/desktop/bus >&2 &
until_process test -S "$root/run/dbus/system_bus_socket"
"${inside[@]}" python3 -m dbusmock --system --template logind >&2 &
"${inside[@]}" pipewire >&2 &
until_process test -S "$run/pipewire-0"
"${inside[@]}" wireplumber >&2 &
"${inside[@]}" gnome-shell --headless --virtual-monitor "$size" --unsafe-mode --no-x11 \
  --wayland-display wayland-0 >&2 &
shell=$!
until_process owned org.gnome.Shell
"${inside[@]}" /usr/libexec/xdg-desktop-portal-gnome >&2 &
until_process owned org.freedesktop.impl.portal.desktop.gnome
"${inside[@]}" /usr/libexec/xdg-desktop-portal >&2 &
until_process owned org.freedesktop.portal.Desktop
[ "$scale" = 1 ] || "${inside[@]}" gdctl set --logical-monitor --primary --scale "$scale" --monitor Meta-0 >&2
echo ready

set +e
while read -r line; do eval "$line"; done
