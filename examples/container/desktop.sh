#!/bin/sh
# Starts an X server in memory with a window manager and a terminal, and runs a command there.
set -eu

pipe=$(mktemp -u)
mkfifo -m 600 "$pipe"
# Without -noreset the server starts anew when its only client leaves, for instance `ostler windows`.
Xvfb -displayfd 3 -screen 0 "${SCREEN:-1280x720x24}" -nolisten tcp -noreset 3>"$pipe" &
# The server writes its number as soon as it accepts connections.
read -r number <"$pipe" || exit 1
export DISPLAY=":$number" XDG_SESSION_TYPE=x11
rm "$pipe"

# Waits until the window manager lists a window of this title, or any number of them.
wait_for_window() {
  timeout 30 sh -c 'until windows=$(ostler windows 2>/dev/null) && case $windows in *"$0"*) ;; *) false ;; esac do
    sleep 0.1; done' "$1"
}

# stdout is for the output of the command.
openbox >&2 &
wait_for_window ''
xterm -title terminal -geometry 100x30+100+80 &
wait_for_window terminal
ostler wait-still >/dev/null

exec "$@"
