#!/bin/sh
# Runs a command with a lock of the device of its own, where the system permits that: in an IPC
# namespace of its own, as root or else in a user namespace too.
# usage: own_lock.sh COMMAND [ARGUMENT...]
for namespaces in "--ipc" "--ipc --map-current-user"; do
    # shellcheck disable=SC2086  # words
    if unshare $namespaces true 2>/dev/null; then
        exec unshare $namespaces "$@"
    fi
done
exec "$@"
