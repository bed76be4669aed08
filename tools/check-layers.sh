#!/usr/bin/env bash
# Fails when a source folder includes a folder of its own layer or one above it.
# Lowest layer first; a folder may include only folders of lower layers. Public
# headers (include/) are declarations, which any layer may include.
set -euo pipefail
cd "$(dirname "$0")/../source/src"

layers=(
    "platform"
    "runtime memory"
    "diagnostics threads sysinfo"
    "containers patterns"
    "encoding stream"
    "textfile filesystem"
    "scheduling"
)

declare -A rank
for i in "${!layers[@]}"; do
    for folder in ${layers[$i]}; do
        rank[$folder]=$i
    done
done

status=0
for dir in */; do
    folder=${dir%/}
    if [[ -z ${rank[$folder]+x} ]]; then
        echo "check-layers: source/src/$folder has no layer; add it to tools/check-layers.sh"
        status=1
        continue
    fi
    while IFS=: read -r file line target; do
        [[ $target == "$folder" ]] && continue
        if [[ -z ${rank[$target]+x} ]]; then
            echo "check-layers: $file:$line includes unknown folder $target/"
            status=1
        elif ((rank[$target] >= rank[$folder])); then
            echo "check-layers: $file:$line: $folder/ includes $target/, which is not below it"
            status=1
        fi
    done < <(grep -rnoE '^#include "[a-z]+/' "$folder" | sed -E 's/#include "([a-z]+)\//\1/')
done
if ((status == 0)); then
    echo "check-layers: no folder includes its own layer or one above it"
fi
exit $status
