#!/bin/bash
# A desktop without a screen or GPU:
#   session.sh gnome|kde ROOT RUN WIDTHxHEIGHT SCALE MONITORS
# ROOT is the file system with its programs, RUN an empty directory for its
# sockets and log. Prints "ready" when the desktop has started, then runs each
# line of its input as a command, and exits at the end of the input. A command
# can use "${inside[@]}" to run a program inside the desktop, and $compositor,
# a process id.
# shellcheck disable=SC2034
set -euo pipefail
if [ $# = 6 ]; then exec unshare --mount "$0" "$@" unshared; fi
desktop=$1 root=$2 run=$3 size=$4 scale=$5 monitors=$6

mount -t proc proc "$root/proc"
mount --rbind /sys "$root/sys"
mount --rbind /dev "$root/dev"
mount -t tmpfs tmpfs "$root/run"
mkdir -p "$root/run/dbus" "$root/run/desktop" "$run/config"
mount --bind "$run" "$root/run/desktop"

inside=(chroot "$root" /usr/bin/env -i PATH=/usr/bin:/bin:/usr/sbin:/sbin HOME=/root LANG=C.UTF-8
  LIBGL_ALWAYS_SOFTWARE=1 QT_QUICK_BACKEND=software GTK_A11Y=none GSK_RENDERER=cairo GSETTINGS_BACKEND=keyfile
  XDG_CONFIG_HOME=/run/desktop/config XDG_RUNTIME_DIR=/run/desktop XDG_SESSION_TYPE=wayland
  XDG_CURRENT_DESKTOP="${desktop^^}" WAYLAND_DISPLAY=wayland-0
  DBUS_SESSION_BUS_ADDRESS=unix:path=/run/desktop/bus)
until_process() { # until_process CONDITION...: waits for it; fails if the last background process ends
  until "$@"; do kill -0 $!; sleep 0.1; done
}
bus() { # bus METHOD VALUE...: calls a method of the session's bus
  "${inside[@]}" gdbus call --session -d org.freedesktop.DBus -o / -m "org.freedesktop.DBus.$1" "${@:2}" 2>&1
}
owned() { bus NameHasOwner "$1" | grep -q true; }
kill_owner() { kill -KILL "$(bus GetConnectionUnixProcessID "$1" | grep -o '[0-9]*,' | tr -d ,)"; }
configure() { # configure FILE LINE...
  local file=$run/config/$1
  mkdir -p "${file%/*}"
  shift
  printf '%s\n' "$@" >"$file"
}

start_gnome() {
  # With animations, a click on a switch takes effect only when its animation
  # ends.
  configure glib-2.0/settings/keyfile '[org/gnome/desktop/interface]' enable-animations=false
  "${inside[@]}" python3 -m dbusmock --system --template logind >&2 &
  # shellcheck disable=SC2046
  "${inside[@]}" gnome-shell --headless --unsafe-mode --no-x11 --wayland-display wayland-0 \
    $(yes -- "--virtual-monitor $size" | head -n "$monitors") >&2 &
  compositor=$!
  until_process owned org.gnome.Shell
}
scale_gnome() {
  local i places=() left=0
  for ((i = 0; i < monitors; i++)); do
    places+=(--logical-monitor --monitor "Meta-$i" --scale "$1" --x "$left" --y 0)
    [ $i != 0 ] || places+=(--primary)
    left=$((left + $(printf '%.0f' "$(bc <<<"${size%x*} / $1")")))
  done
  "${inside[@]}" gdctl set "${places[@]}" >&2
}
# Layouts are given as in "us,de+neo".
layout_gnome() {
  "${inside[@]}" gsettings set org.gnome.desktop.input-sources sources "[('xkb', '${1//,/\'), (\'xkb\', \'}')]"
}

start_kde() {
  configure kwinrc '[Plugins]' overviewEnabled=false windowviewEnabled=false shakecursorEnabled=false
  configure kdeglobals '[KDE]' AnimationDurationFactor=0
  configure kxkbrc '[Layout]' Use=true LayoutList=us
  configure kscreenlockerrc '[Daemon]' Autolock=false
  cp "$OSTLER_RENDER_NODE" "$run/render_node.so"
  mknod "$root/run/render" c 1 3
  "${inside[@]}" LD_PRELOAD=/run/desktop/render_node.so RENDER_NODE=/run/render GBM_ALWAYS_SOFTWARE=1 KWIN_COMPOSE=O2 \
    KWIN_WAYLAND_NO_PERMISSION_CHECKS=1 kwin_wayland --virtual --width "${size%x*}" --height "${size#*x}" \
    --output-count "$monitors" --no-global-shortcuts --no-kactivities --socket wayland-0 >&2 &
  compositor=$!
  until_process owned org.kde.KWin
  until_process test -S "$run/wayland-0"
}
scale_kde() {
  local i
  for ((i = 1; i <= monitors; i++)); do "${inside[@]}" kscreen-doctor "output.$i.scale.$1" >&2; done
}
layout_kde() {
  local each layouts='' variants=''
  for each in ${1//,/ }; do
    layouts+=,${each%+*}
    variants+=,$([ "${each#*+}" = "$each" ] || echo "${each#*+}")
  done
  configure kxkbrc '[Layout]' Use=true "LayoutList=${layouts#,}" "VariantList=${variants#,}"
  # Plasma 6.3 has a signal of its own, 6.7 one for any file: that "LayoutList"
  # has changed in its group.
  "${inside[@]}" gdbus emit --session -o /Layouts -s org.kde.keyboard.reloadConfig
  "${inside[@]}" gdbus emit --session -o /kxkbrc -s org.kde.kconfig.notify.ConfigChanged \
    "{'Layout': [[byte 76, 97, 121, 111, 117, 116, 76, 105, 115, 116]]}"
}
lock_kde() {
  "${inside[@]}" gdbus call --session -d org.freedesktop.ScreenSaver -o /org/freedesktop/ScreenSaver \
    -m org.freedesktop.ScreenSaver.Lock >&2
}

exec 2>"$run/log"
trap 'kill $(jobs -p)' EXIT
"${inside[@]}" dbus-daemon --system --nofork --nopidfile >&2 &
"${inside[@]}" dbus-daemon --session --nofork --address=unix:path=/run/desktop/bus >&2 &
until_process test -S "$root/run/dbus/system_bus_socket"
"${inside[@]}" pipewire >&2 &
until_process test -S "$run/pipewire-0"
"${inside[@]}" wireplumber >&2 &
"start_$desktop"
[ "$scale" = 1 ] || "scale_$desktop" "$scale"
for service in "impl.portal.desktop.$desktop" portal.Desktop; do
  bus StartServiceByName "org.freedesktop.$service" 0 >&2
done
echo ready

set +e
while read -r line; do eval "$line"; done
