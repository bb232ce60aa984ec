#!/bin/sh
# Checks the #include lines of src against the rules of docs/architecture.md:
# which folder may include which, and where each library's headers may appear.
set -eu
cd "$(dirname "$0")/.."

# Each row has a folder, then what its files may include besides their own folder.
folders='
addon          driver base
session        addon driver image/encode_fast_png.h x11/x11_session.h x11/x11_clipboard.h x11/escape_watcher.h wayland/wayland_session.h backend base
driver         x11/factory.h x11/clipboard.h x11/escape_watcher.h wayland/factory.h backend keys base
x11            image backend keys base
wayland        wayland/portal wayland/eis wayland/stream wayland/lazy/load.h image backend keys base
wayland/portal wayland/lazy/glib.h wayland/lazy/load.h backend keys base
wayland/eis    wayland/lazy/libei.h wayland/lazy/xkbcommon.h wayland/lazy/load.h backend keys base
wayland/stream wayland/lazy/pipewire.h wayland/lazy/load.h image backend keys base
wayland/lazy   base
image          base
backend        image keys base
keys           base
base
'

# Each row has the start of a library header's name, then the folders and files that may
# include it. The first matching row counts.
libraries='
X11/keysym.h           x11 keys wayland wayland/eis
X11/                   x11 keys/key_names.cpp
xcb/                   x11
gio/                   wayland/portal wayland/lazy
glib                   wayland/portal wayland/lazy
libei                  wayland/eis wayland/lazy
xkbcommon/             wayland/eis wayland/lazy
pipewire/              wayland/stream wayland/lazy
spa/                   wayland/stream wayland/lazy
dlfcn.h                wayland/lazy
jpeglib.h              image/encode_jpeg.cpp
png.h                  image/encode_png.cpp
zlib.h                 image/encode_fast_png.cpp
node_api.h             addon session driver/driver.h x11/escape_watcher.h x11/escape_worker.h
'

grep -rnE '^[[:space:]]*#[[:space:]]*include' src | FOLDERS=$folders LIBRARIES=$libraries awk '
  BEGIN {
    rows = split(ENVIRON["FOLDERS"], lines, "\n")
    for (i = 1; i <= rows; i++) {
      if (split(lines[i], words, " ") == 0) continue
      allowed[words[1]] = substr(lines[i], length(words[1]) + 1)
    }
    rows = split(ENVIRON["LIBRARIES"], lines, "\n")
    for (i = 1; i <= rows; i++) {
      if (split(lines[i], words, " ") == 0) continue
      library[++libraries] = words[1]
      users[libraries] = substr(lines[i], length(words[1]) + 1)
    }
  }
  function folderOf(file) { sub("/[^/]*$", "", file); return file }
  # Returns whether a list of folders and files contains this file or its folder.
  function has(list, file) { return index(" " list " ", " " file " ") || index(" " list " ", " " folderOf(file) " ") }
  {
    file = $0; sub("^src/", "", file); sub(":.*", "", file)
    header = $0; sub("^[^<\"]*[<\"]", "", header); sub("[>\"].*$", "", header)
    folder = folderOf(file)
    if ($0 ~ /include[[:space:]]*"/) {
      good = folder in allowed && (folderOf(header) == folder || has(allowed[folder], header))
    } else {
      good = 1
      for (i = libraries; i > 0; i--) if (index(header, library[i]) == 1) good = has(users[i], file)
    }
    if (!good) { print "ostler: src/" file " must not include " header; failed = 1 }
  }
  END { exit failed }
' >&2 || { echo 'ostler: docs/architecture.md says which folder may include what.' >&2; exit 1; }
