#!/usr/bin/env bash
# Every operation of the library has to be one of the command's and to have a section in docs/operations.md.
# Usage: operations_are_everywhere.sh SOURCE_FOLDER
set -euo pipefail
cd "$1"

failed=0
for operation in $(sed -nE 's/^ +X\((\w+)\).*/\1/p' upscaler/operations.h); do
    grep -rqF "&Upscaler::$operation," tools || { echo "The command has no $operation." >&2; failed=1; }
    grep -qx "## $operation" docs/operations.md || { echo "docs/operations.md has no section $operation." >&2; failed=1; }
    checked=1
done
[ "${checked-}" ] && exit $failed
