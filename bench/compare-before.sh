#!/bin/sh
# Measures the code before a change and the code now in the same run.
#
#   bench/compare-before.sh REV [benchmark options...]
#
# Builds the paged-search, shaping and core benchmarks (or the programs that
# COMPARE_PROGRAMS names, e.g. COMPARE_PROGRAMS=fanout_bench) twice: at REV, in a
# temporary git worktree into which the current bench/ sources are copied (so
# the same benchmark code runs against the old library), and from this
# working tree. Then runs each program before and after, back to back, with
# 5 repetitions, and prints both reports and a table of the medians of CPU
# time (with the allocations per request where counted). Extra
# options go to every run (e.g. --benchmark_filter=PagedSearch).
#
# The machine should be quiet: look at the load average printed first, and
# run again if it is high. Build directories: build/compare-before/build
# (REV) and build/compare-now (this tree), both reused by later runs; the
# worktree (build/compare-before/src) is removed when the script ends. Needs
# git, cmake, ninja and g++.
set -eu

if [ $# -lt 1 ]; then
  echo "usage: $0 REV [benchmark options...]" >&2
  exit 2
fi
rev=$1
shift

root=$(git -C "$(dirname "$0")/.." rev-parse --show-toplevel)
commit=$(git -C "$root" rev-parse --verify "$rev^{commit}")
programs=${COMPARE_PROGRAMS:-"paged_search_bench shaping_bench core_bench"}
before_build="$root/build/compare-before/build"
now_build="$root/build/compare-now"
# A fixed place, so that the build directory's cache stays valid across runs.
worktree="$root/build/compare-before/src"

cleanup() {
  git -C "$root" worktree remove --force "$worktree" >/dev/null 2>&1 || rm -rf "$worktree"
  git -C "$root" worktree prune >/dev/null 2>&1 || true
}
trap cleanup EXIT INT TERM

cleanup
mkdir -p "$(dirname "$worktree")"
git -C "$root" worktree add --detach "$worktree" "$commit" >/dev/null
rm -rf "$worktree/bench"
cp -R "$root/bench" "$worktree/bench"
# The old tree builds only the compared programs: the others may need sources
# it does not have.
awk -v keep=" $programs " '
  /^scriptwright_add_bench\(/ {
    name = substr($1, length("scriptwright_add_bench(") + 1)
    skipping = index(keep, " " name " ") == 0
  }
  /^target_[a-z_]+\(/ {
    target = $1
    sub(/^target_[a-z_]+\(/, "", target)
    if (index(keep, " " target " ") == 0) next
  }
  !skipping { print }
  skipping && /\)$/ { skipping = 0 }
' "$root/bench/CMakeLists.txt" > "$worktree/bench/CMakeLists.txt"

# Both builds use the same compiler and flags as the default preset.
build() {  # source dir, build dir
  cmake -S "$1" -B "$2" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_COMPILER=g++ \
    -DSCRIPTWRIGHT_TESTS=OFF -DSCRIPTWRIGHT_BENCH=ON >/dev/null
  # shellcheck disable=SC2086  # the list of targets is meant to split
  cmake --build "$2" --target $programs >/dev/null
}

echo "== building $rev ($commit) with the current benchmarks"
build "$worktree" "$before_build"
echo "== building this tree ($(git -C "$root" rev-parse --short HEAD))"
build "$root" "$now_build"

report_dir=$(mktemp -d "${TMPDIR:-/tmp}/scriptwright-compare.XXXXXX")
echo "== load average: $(cut -d' ' -f1-3 /proc/loadavg)"
for program in $programs; do
  for side in before now; do
    if [ "$side" = before ]; then dir=$before_build; else dir=$now_build; fi
    echo
    echo "== $program, $side"
    "$dir/bench/$program" --benchmark_repetitions=5 --benchmark_report_aggregates_only=true \
      "$@" 2>/dev/null | tee "$report_dir/$program.$side"
  done
done

# The medians side by side: CPU time before and now, and now / before (the
# CPU time, not the wall time, since other processes share the machine),
# with the allocations per request where a benchmark counts them.
echo
echo "== medians of CPU time (load average now: $(cut -d' ' -f1-3 /proc/loadavg))"
printf '%-44s %14s %14s %7s  %s\n' benchmark before now ratio allocs/request
for program in $programs; do
  awk '
    function ns(value, unit) {
      return unit == "ns" ? value : unit == "us" ? value * 1e3 : unit == "ms" ? value * 1e6 : value * 1e9
    }
    function allocs(   i) {
      for (i = 1; i <= NF; i++) if ($i ~ /^allocs\/request=/) return substr($i, 16)
      return ""
    }
    FNR == 1 { side++ }
    $1 ~ /_median$/ {
      name = substr($1, 1, length($1) - 7)
      if (side == 1) { before[name] = ns($4, $5); beforeAllocs[name] = allocs(); order[++count] = name }
      else { now[name] = ns($4, $5); nowAllocs[name] = allocs() }
    }
    END {
      for (i = 1; i <= count; i++) {
        name = order[i]
        if (!(name in now)) continue
        a = beforeAllocs[name] == "" ? "" : beforeAllocs[name] " -> " nowAllocs[name]
        printf "%-44s %11.0f ns %11.0f ns %7.3f  %s\n", name, before[name], now[name], now[name] / before[name], a
      }
    }' "$report_dir/$program.before" "$report_dir/$program.now"
done
rm -rf "$report_dir"
