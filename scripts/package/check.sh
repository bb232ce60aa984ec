#!/bin/sh
# Checks the prebuilt modules of both architectures: that they exist, need only the libraries that
# docs/install.md names and an old glibc, and export the right symbols. npm runs this before it packs or
# publishes.
set -eu
cd "$(dirname "$0")/../.."

newest_glibc=2.30
largest=1000000
libraries='lib(X11|xcb|Xtst|dl|pthread|m|c)\.so\.[0-9]+|ld-linux-(x86-64|aarch64)\.so\.[0-9]'
# Undefined symbols without a version. Any other would be resolved in the host, such as those of
# Node's zlib.
unversioned='napi_[a-z0-9_]+|_?X[A-Za-z0-9]+|xcb_[a-z_]+|__gmon_start__|_ITM_[A-Za-z]+'

complain() { echo "ostler: $file $1" >&2; exit 1; }
# Fails with the lines of the input that do not match: only PATTERN COMPLAINT
only() {
  others=$(grep -vxE "$1" || true)
  [ -z "$others" ] || complain "$2 $(printf '%s' "$others" | tr '\n' ' ')"
}

# check x64|arm64 MODULE NUMBER_OF_DRIVER_FUNCTIONS
check() {
  . scripts/package/target.sh
  file=prebuilds/linux-$1/$2.node
  [ -e "$file" ] || complain 'is missing: run "npm run package"'
  readelf -hW "$file" | grep -q "Machine:.*$machine" || complain "is not for $machine"
  size=$(wc -c <"$file")
  [ "$size" -le $largest ] || complain "has $size bytes, more than $largest"

  # libXtst, which both modules need, needs libXext too, so that is always there.
  allowed=$libraries
  [ "$2" != session ] || allowed="$libraries|libXext\.so\.6"
  readelf -dW "$file" | sed -n 's/.*(NEEDED).*\[\(.*\)\]$/\1/p' | only "$allowed" 'needs'
  # Columns: number, value, size, type, binding, visibility, section, name.
  symbols=$(readelf --dyn-syms -W "$file" | awk '$7 != "Ndx" && $8 != "" { print $7, $8 }')
  undefined=$(echo "$symbols" | sed -n 's/^UND //p')
  echo "$undefined" | grep -v @ | only "$unversioned" 'has undefined symbols that no library provides:'
  echo "$undefined" | sed -n 's/.*@\([A-Z]*\)_.*/\1/p' | sort -u | only GLIBC 'needs the run-time libraries of'
  newest=$(echo "$undefined" | sed -n 's/.*@GLIBC_//p' | sort -Vu | tail -n 1)
  [ "$(printf '%s\n' "$newest" $newest_glibc | sort -V | tail -n 1)" = $newest_glibc ] ||
    complain "needs glibc $newest for$(echo "$undefined" | sed -n "s/@GLIBC_$newest$//p" | tr '\n' ' ')"

  exports=$(echo "$symbols" | sed -n 's/^[0-9]* //p')
  echo "$exports" | only '_Z[0-9]+driver.*|napi_register_module_v1|node_api_module_get_api_version_v1' 'exports'
  [ "$(echo "$exports" | wc -l)" -eq $(($3 + 2)) ] || complain "exports $(echo "$exports" | wc -l) symbols, not $(($3 + 2))"
  echo "ostler: $file: $size bytes, glibc $newest"
}

for target in x64 arm64; do
  check $target ostler 29
  check $target session 0
done
