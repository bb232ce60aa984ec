#!/bin/sh
# Runs a command such that it does not see the Wayland compositor of the user
# who runs it: x11-only.sh COMMAND [ARGUMENT...]
#
# ostler prefers a compositor whose socket is in /run/user/UID to any X server,
# so tests and the demo would open the portal's dialog on the user's own desktop. A user namespace gives the command a uid that has no desktop.
set -eu

uid=$(id -u)
if ! [ -e "/run/user/$uid/wayland-0" ] && ! [ -e "/run/user/$uid/wayland-1" ]; then exec "$@"; fi
# The group has to exist there too, for the X server's own children.
hidden='unshare --user --map-user=65534 --map-group=65534'
if $hidden true 2>/dev/null; then exec $hidden "$@"; fi
echo "ostler: this is a Wayland session, and without user namespaces it cannot be hidden from" >&2
echo "ostler: tests and demo. Run this from a text console or over ssh as another user." >&2
exit 1
