# shellcheck shell=sh disable=SC2034
# Sets other names of the target $1, which is Node's name for an architecture: "x64" or
# "arm64". The other scripts here source this file.
case $1 in
  x64) debian=amd64 processor=x86_64 machine='X86-64' ;;
  arm64) debian=arm64 processor=aarch64 machine='AArch64' ;;
  *) echo "ostler: unknown architecture $1" >&2; exit 2 ;;
esac
work=$PWD/build-package
sysroot=$work/linux-$1/sysroot
