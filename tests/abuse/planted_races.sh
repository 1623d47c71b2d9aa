#!/bin/bash
# planted_races.sh PROGRAM: the thread sanitizer must report each of the program's races, and report it as a race.
set -u
program=$1 unseen=0
for race in $("$program"); do
  report=$("$program" "$race" 2>&1)
  status=$?
  if ((status == 0)) || ! grep -q 'WARNING: ThreadSanitizer: data race' <<<"$report"; then
    printf '%s\nthe race "%s" was not reported (status %d)\n' "$report" "$race" "$status"
    unseen=1
  fi
done
exit "$unseen"
