#!/bin/sh
# Runs a command as root of a system that looks like this one and is thrown away: in_own_root.sh COMMAND
# [ARGUMENT...]. The names of files mean what they mean here. Where the machine allows no such root, it
# says so and runs nothing.
set -eu
[ "${1-}" = --mounted ] || {
  if [ "$(id -u)" -ne 0 ] || ! unshare --mount --pid --fork "$0" --mounted true 2>/dev/null; then
    echo "$0: no root of its own on this machine; not run: $*" >&2
    exit 0
  fi
  exec unshare --mount --pid --fork --kill-child "$0" --mounted "$@"
}
shift
own=/mnt
mount -t tmpfs own "$own"
mkdir "$own/changes" "$own/work" "$own/root"
mount -t overlay -o "lowerdir=/,upperdir=$own/changes,workdir=$own/work" own "$own/root"
mount --rbind /dev "$own/root/dev"
mount -t proc own "$own/root/proc"
mount -t tmpfs own "$own/root/run"
exec chroot "$own/root" "$@"
