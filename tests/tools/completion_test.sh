#!/usr/bin/env bash
# Completes partial command lines with the shipped completion and compares the offers.
set -u
source "$1"
fails=0
check() {  # expected, then the words typed (the last one is being completed)
    local expected="$1"; shift
    COMP_WORDS=(tavix-panelctl "$@"); COMP_CWORD=$#
    COMPREPLY=()
    _tavix_panelctl
    if [ "${COMPREPLY[*]}" != "$expected" ]; then
        echo "completing '$*': got '${COMPREPLY[*]}', expected '$expected'"; fails=1
    fi
}
check "status set selftest" s
check "on off" set pinch ""
check "0 90 180 270" set rotation ""
check "calibration simple" hotkey ""
check "--json" --js
check "" set range ""
exit $fails
