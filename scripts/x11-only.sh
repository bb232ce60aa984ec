#!/bin/sh
# Runs a command so that it does not see the user's own Wayland compositor:
# x11-only.sh COMMAND [ARGUMENT...]
#
# ostler prefers a compositor whose socket is in /run/user/UID to any X server,
# so tests and the demo would open the portal's dialog on the user's own desktop. In a user
# namespace the command has a uid without a desktop.
set -eu

uid=$(id -u)
if ! [ -e "/run/user/$uid/wayland-0" ] && ! [ -e "/run/user/$uid/wayland-1" ]; then exec "$@"; fi
# The group has to be mapped too, for the child processes of the X server.
hidden='unshare --user --map-user=65534 --map-group=65534'
if $hidden true 2>/dev/null; then exec $hidden "$@"; fi
echo "ostler: this is a Wayland session, which cannot be hidden from the tests and the demo" >&2
echo "ostler: without user namespaces. Run this as another user, on a text console or over ssh." >&2
exit 1
