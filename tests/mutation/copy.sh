#!/usr/bin/env bash
# copy.sh PROJECT COMMAND [ARGUMENT]...
#
# Runs a command in a copy of the project that vanishes with it, and where it can't hurt the
# machine: it sees no processes but its own, has a /tmp and a loopback network of its own, and all
# else of the file system is only to be read. The copy has the project's path.
set -euo pipefail

if [[ ${1-} != --inside ]]; then
  exec unshare --mount --pid --ipc --net --fork --kill-child --mount-proc "$0" --inside "$@"
fi
project=$2
shift 2

ip link set lo up
mount -t tmpfs -o size=4g,mode=1777 tmpfs /tmp
mkdir /tmp/.copy /tmp/.copy/{upper,work}
chmod 755 /tmp/.copy
mount -t overlay -o "lowerdir=$project,upperdir=/tmp/.copy/upper,workdir=/tmp/.copy/work" \
  overlay "$project"
mount -t tmpfs -o mode=1777 tmpfs /dev/shm
mount -o remount,bind,ro /
cd "$project"
"$@"
