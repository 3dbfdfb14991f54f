#!/usr/bin/env bash
# Fails when an include points up or across the layers:
#   base/  <-  agent/, auth/ (never each other)  <-  ops/  <-  app/
# A unit test beside the code may also use the simulator (sim/), its stand-in for the agent.
# Usage: scripts/check_layers.sh [SOURCE_DIR]
set -uo pipefail
cd "${1:-$(dirname "${BASH_SOURCE[0]}")/..}" || exit 1

declare -A may_include=(
  [base]="base"
  [agent]="base agent"
  [auth]="base auth"
  [ops]="base agent auth ops"
  [app]="base agent auth ops app"
)

status=0
for layer in base agent auth ops app; do
  while IFS= read -r hit; do
    file=${hit%%:*}
    [[ $hit =~ include[[:space:]]*\"([^\"/]+)/ ]] && target=${BASH_REMATCH[1]}
    allowed=" ${may_include[$layer]} "
    [[ $file == *_test.cc ]] && allowed+="sim "
    if [[ $allowed != *" $target "* ]]; then
      echo "$file: $layer/ may not include $target/: ${hit#*:*:}"
      status=1
    fi
  done < <(grep -rn -E '^[[:space:]]*#[[:space:]]*include[[:space:]]*"[^"/]+/' "$layer")
done
[ $status -eq 0 ] && echo "layers: every include points down"
exit $status
