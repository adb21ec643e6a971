#!/usr/bin/env bash
# Runs a program without random addresses, which the thread sanitizer needs on kernels that spread
# them widely. Where that is forbidden, the program runs all the same.
if setarch -R true 2>/dev/null; then
    exec setarch -R "$@"
fi
exec "$@"
