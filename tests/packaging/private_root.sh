#!/bin/sh
# Runs a command that may install and remove packages: what it changes in /etc, /usr and /var only it and
# its children see, and it is gone when they end. Needs root. Usage: private_root.sh COMMAND...
set -eu
layers=$(mktemp -d -p /tmp)
trap 'rmdir "$layers"' EXIT
# shellcheck disable=SC2016
unshare --mount sh -euc '
  layers=$1
  shift
  mount -t tmpfs tmpfs "$layers"
  for directory in etc usr var; do
    mkdir "$layers/$directory" "$layers/$directory.work"
    mount -t overlay overlay "/$directory" \
      -o "lowerdir=/$directory,upperdir=$layers/$directory,workdir=$layers/$directory.work"
  done
  exec "$@"' private_root "$layers" "$@"
