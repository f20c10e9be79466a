#!/usr/bin/env bash
# Compiles every C sample of the porting guide against torwen.h, as a user's file
# would be compiled, with warnings as errors. A sample preceded by
# "<!-- sample needs: Name... -->" waits until exports/torwen.def has those exports.
# usage: porting_test.sh SOURCE-DIR SCRATCH-DIR
set -uo pipefail
src=$1 scratch=$2
guide=$src/docs/porting.md
rm -rf "$scratch" && mkdir -p "$scratch" || exit 1

samples=0 compiled=0 failures=0 needs="" in_sample=""
while IFS= read -r line; do
  if [ -n "$in_sample" ]; then
    if [ "$line" = '```' ]; then
      in_sample=""
      missing=""
      for name in $needs; do
        grep -qE "^[[:space:]]*_${name}@[0-9]+[[:space:]]*=" "$src/exports/torwen.def" || missing+=" $name"
      done
      needs=""
      if [ -n "$missing" ]; then
        echo "sample $samples waits for:$missing"
        continue
      fi
      if ! i686-w64-mingw32-gcc -Wall -Wextra -Werror -DUNICODE -D_UNICODE -I"$src/include" \
        -c "$file" -o "$file.o"; then
        echo "FAILED: sample $samples of docs/porting.md does not compile (the sample: $file)"
        failures=$((failures + 1))
      fi
      compiled=$((compiled + 1))
    else
      printf '%s\n' "$line" >>"$file"
    fi
  elif [[ "$line" =~ ^\<!--\ sample\ needs:\ (.*)\ --\>$ ]]; then
    needs=${BASH_REMATCH[1]}
  elif [ "$line" = '```c' ]; then
    samples=$((samples + 1))
    file=$scratch/sample-$samples.c
    : >"$file"
    in_sample=1
  else
    [[ "$line" =~ [^[:space:]] ]] && needs=""
  fi
done <"$guide"

[ "$compiled" -gt 0 ] || { echo "FAILED: no C sample found in docs/porting.md"; exit 1; }
echo "$compiled of $samples samples compiled"
exit $((failures > 0))
