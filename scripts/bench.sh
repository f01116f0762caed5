#!/usr/bin/env bash
# Installs the peers on Debian 12, builds the benchmarks, measures all rows on one thread, prints the tables and writes them into docs/performance.md.
#   scripts/bench.sh                           everything; takes a while
#   scripts/bench.sh --quick                   small sizes, few repetitions, only prints
#   scripts/bench.sh --filter REGEX            only the benchmarks whose names match, only prints
#   scripts/bench.sh --filter REGEX --update   measures whole rows again and writes them in place of theirs of the last full run
# Further arguments go to the program (build/release/bin/tav3d_bench --help).
set -euo pipefail
cd "$(dirname "$0")/.."

mode=full
arguments=()
while [ $# -gt 0 ]; do
  case $1 in
    --quick) mode=print; arguments+=(--quick) ;;
    --filter) [ "$mode" = update ] || mode=print; arguments+=("--benchmark_filter=${2:?expression missing}"); shift ;;
    --benchmark_filter=*) [ "$mode" = update ] || mode=print; arguments+=("$1") ;;
    --update) mode=update ;;
    *) arguments+=("$1") ;;
  esac
  shift
done

scripts/setup.sh libeigen3-dev libopenblas-dev libnanoflann-dev libvtk9-dev
mkdir -p build
cmake --preset release -DTAV3D_BUILD_BENCHMARKS=ON > build/bench-configure.log 2>&1 || { cat build/bench-configure.log; exit 1; }
grep "tav3d_bench:" build/bench-configure.log || true
cmake --build --preset release --target tav3d_bench > build/bench-build.log || { cat build/bench-build.log; exit 1; }

bench=$PWD/build/release/bin/tav3d_bench
saved=build/bench
mkdir -p "$saved"
export OPENBLAS_NUM_THREADS=1
case $mode in
  print) exec "$bench" "${arguments[@]}" ;;
  full)
    rm -f "$saved"/*.json
    "$bench" ${arguments[@]+"${arguments[@]}"} --json="$saved/0.json" --table="$saved/tables.md"
    ;;
  update)
    [ -e "$saved/0.json" ] || { echo "There is no full run to update" >&2; exit 1; }
    count=$(find "$saved" -name '*.json' | wc -l)
    "$bench" "${arguments[@]}" --json="$saved/new" > /dev/null
    mv "$saved/new" "$saved/$count.json"
    files=$(find "$saved" -name '*.json' | sort -V | paste -sd,)
    "$bench" --from="$files" --table="$saved/tables.md"
    ;;
esac

{
  echo
  echo "| | |"
  echo "|---|---|"
  sed -n 's/^model name\s*: \(.*\)/| processor | \1 |/p' /proc/cpuinfo | head -n 1
  echo "| processors | $(nproc) |"
  echo "| instruction sets | $(grep -m 1 '^flags' /proc/cpuinfo | tr ' ' '\n' | grep -xE 'sse2|sse4_2|avx|avx2|fma|avx512f' | paste -sd' ') |"
  echo "| caches | $(lscpu | sed -n 's/^\(L[123]d\?\) cache:\s*\(.*\)/\1 \2/p' | paste -sd';' | sed 's/;/; /g') |"
  echo "| memory | $(awk '/^MemTotal/ { printf "%.0f GiB", $2 / 1048576 }' /proc/meminfo) |"
  echo "| system | $(. /etc/os-release && echo "$PRETTY_NAME"), Linux $(uname -r | cut -d- -f1) |"
  echo "| compiler | $(c++ --version | head -n 1) |"
  flags=$(ninja -C build/release -t commands tav3d_bench | grep -m 1 -- '-c .*ratio_table.cpp' | tr ' ' '\n' | grep -E '^-(O|f|m|std|DNDEBUG)' | paste -sd' ')
  echo "| flags | \`$flags\` |"
  for package in libbenchmark-dev libeigen3-dev libopenblas-dev libnanoflann-dev libvtk9-dev libboost-dev libhdf5-dev; do
    version=$(dpkg-query -W -f '${Version}' "$package" 2> /dev/null) && peers="${peers:+$peers, }${package#lib} $version"
  done
  echo "| peers | ${peers:-none} |" | sed 's/-dev//g'
  echo "| commit | $(git describe --always --dirty --exclude '*') |"
  echo
  cat "$saved/tables.md"
  echo
} > "$saved/figures.md"

# Only what stands between the marks is replaced.
awk -v figures="$saved/figures.md" '
  /^<!-- end of figures -->/ { inside = 0 }
  !inside { print }
  /^<!-- figures/ { inside = 1; while ((getline line < figures) > 0) print line }
' docs/performance.md > "$saved/performance.md"
cp "$saved/performance.md" docs/performance.md
echo
echo "Written: docs/performance.md"
