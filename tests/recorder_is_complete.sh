#!/usr/bin/env bash
# Every GL, EGL and trace function that the library calls has to be one that the recorder of the tests sees.
# Usage: recorder_is_complete.sh LIBRARY TEST_WITH_THE_RECORDER
set -euo pipefail
unseen=$(comm -23 \
    <(nm -D --undefined-only "$1" | awk '{ print $2 }' | grep -E '^(gl[A-Z]|egl|__wrap_egl|atrace_)' | sort -u) \
    <(nm -D --defined-only "$2" | awk '{ print $3 }' | sort -u))
[ -z "$unseen" ] || { echo "Not recorded: $unseen"; exit 1; }
