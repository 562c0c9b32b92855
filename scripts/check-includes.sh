#!/usr/bin/env bash
# Fails when a source folder includes a folder above its own. Includes run one
# way: app -> ui, cli -> application -> recommendations, automation, reporting
# -> moves -> cleaning -> history -> analysis -> core -> platform. Only
# platform/ itself and app/ (which picks the platform) may include
# platform/linux. Prints each offending line.
set -euo pipefail
cd "$(dirname "$0")/.."

grep -rn --include='*.h' --include='*.cpp' '^[[:space:]]*#[[:space:]]*include[[:space:]]*"[^"/]*/' src app |
  awk '
    BEGIN {
      # A file may include folders of a lower rank and its own folder; folders
      # of one rank never include each other.
      split("platform core analysis history cleaning moves recommendations automation reporting application ui cli app", names, " ")
      split("0 1 2 3 4 5 6 6 6 7 8 8 9", ranks, " ")
      for (i in names) rank[names[i]] = ranks[i]
      bad = 0
    }
    {
      file = $0; sub(/:.*/, "", file)
      line = $0; sub(/^[^:]*:[^:]*:/, "", line)
      target = line; sub(/^[^"]*"/, "", target); sub(/\/.*/, "", target)
      if (file ~ /^app\//) from = "app"; else { split(file, parts, "/"); from = parts[2] }
      if (line ~ /"platform\/linux\// && from != "platform" && from != "app") {
        printf "platform/linux outside platform/ and app/: %s: %s\n", file, line > "/dev/stderr"
        bad = 1
      }
      if (!(target in rank) || !(from in rank)) next # a library header written with quotes
      if (rank[target] > rank[from] || (rank[target] == rank[from] && target != from)) {
        printf "include runs upwards: %s (%s) includes %s: %s\n", file, from, target, line > "/dev/stderr"
        bad = 1
      }
    }
    END {
      if (bad) exit 1
      print "includes run one way"
    }'
