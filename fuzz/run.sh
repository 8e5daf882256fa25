#!/usr/bin/env bash
# Builds the libFuzzer targets into build-fuzz/ (clang, ASan + UBSan) and runs them.
#
#   fuzz/run.sh [SECONDS] [TARGET...]   run each target for SECONDS (default 600)
#   fuzz/run.sh replay [TARGET...]      run every saved input under fuzz/regressions/ once;
#                                       fails if any of them still crashes
#
# Targets: fuzz_detection fuzz_convert fuzz_intake fuzz_fork (all by default). FUZZ_JOBS=2 runs two
# targets at once (default 1). Corpora grow in build-fuzz/corpus/<target>, seeded by
# fuzz_seed; logs go to build-fuzz/logs/<target>/. A crashing input is written to
# fuzz/regressions/<target>/; the run then goes on with the rest of its time, and an input
# failing the same way as one already saved in this run is dropped.
set -euo pipefail

root="$(cd "$(dirname "$0")/.." && pwd)"
build="$root/build-fuzz"
all_targets=(fuzz_detection fuzz_convert fuzz_intake fuzz_fork)

mode=run
duration=600
if [[ "${1:-}" == replay ]]; then
    mode=replay
    shift
elif [[ "${1:-}" =~ ^[0-9]+$ ]]; then
    duration=$1
    shift
fi
targets=("$@")
[[ ${#targets[@]} -gt 0 ]] || targets=("${all_targets[@]}")
for t in "${targets[@]}"; do
    [[ " ${all_targets[*]} " == *" $t "* ]] || { echo "unknown target: $t (known: ${all_targets[*]})" >&2; exit 2; }
done

max_len() {
    case $1 in
    fuzz_intake) echo 2048 ;;
    fuzz_fork) echo 16384 ;;
    *) echo 65536 ;;
    esac
}

build_targets() {
    echo "== configuring and building $build"
    CC=clang CXX=clang++ cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
        -DQUORVEL_SANITIZE=address,undefined -DQUORVEL_BUILD_FUZZ=ON -DQUORVEL_BUILD_TESTS=OFF >/dev/null
    cmake --build "$build" --target "${all_targets[@]}" fuzz_seed
}

export UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1}

# What a failing log is about: the broken invariant, or the sanitizer's summary with its
# numbers blanked (leak sizes and addresses differ from one hit to the next).
signature() {
    local log=$1 line
    line=$(grep -m1 -E '^INVARIANT FAILED: ' "$log" || true)
    [[ -n "$line" ]] || line=$(grep -m1 -E '^SUMMARY: ' "$log" | sed -E 's/0x[0-9a-f]+/ADDR/g; s/[0-9]+ byte/N byte/g; s/in [0-9]+ allocation/in N allocation/g' || true)
    [[ -n "$line" ]] || line=$(grep -m1 -E 'ALARM: working on the last Unit|out-of-memory|deadly signal' "$log" || true)
    [[ -n "$line" ]] || line="exit without a recognised report"
    echo "$line"
}

# Removes copies of a failing input from the corpus, so that the next segment can start.
drop_from_corpus() {
    local input=$1 corpus=$2 size f
    size=$(stat -c %s "$input")
    while IFS= read -r f; do
        cmp -s "$input" "$f" && rm -f "$f"
    done < <(find "$corpus" -maxdepth 1 -type f -size "${size}c")
    return 0
}

# Runs one target for the whole duration, restarting it after each finding.
run_target() {
    local t=$1
    local corpus="$build/corpus/$t" regress="$root/fuzz/regressions/$t" logs="$build/logs/$t"
    local scratch="$build/tmp/$t"
    mkdir -p "$corpus" "$regress" "$logs"
    rm -f "$logs"/*.log "$logs/signatures" "$logs/inputs" "$logs/summary.txt"
    touch "$logs/signatures" "$logs/inputs"
    local deadline=$(( $(date +%s) + duration ))
    local executions=0 coverage=0 segment=0 kept=0 dropped=0
    local saved_before
    saved_before=$(find "$regress" -maxdepth 1 -type f | sort)

    while :; do
        local left=$(( deadline - $(date +%s) ))
        (( left >= 5 || segment == 0 )) || break
        (( left >= 1 )) || left=1
        segment=$((segment + 1))
        local log="$logs/run-$segment.log"
        rm -rf "$scratch" && mkdir -p "$scratch"
        local rc=0
        TMPDIR="$scratch" "$build/bin/$t" "$corpus" -max_total_time="$left" -max_len="$(max_len "$t")" \
            -timeout=60 -rss_limit_mb=4096 -print_final_stats=1 -artifact_prefix="$regress/" >"$log" 2>&1 || rc=$?

        local n
        n=$(grep -E '^stat::number_of_executed_units:' "$log" | awk '{print $2}' | tail -1 || true)
        executions=$((executions + ${n:-0}))
        n=$(grep -oE 'cov: [0-9]+' "$log" | tail -1 | awk '{print $2}' || true)
        [[ -z "$n" ]] || coverage=$n
        (( rc != 0 )) || break

        local sig input
        sig=$(signature "$log")
        input=$(grep -oE 'Test unit written to .*' "$log" | tail -1 | sed 's/^Test unit written to //' || true)
        [[ -z "$input" || ! -f "$input" ]] || drop_from_corpus "$input" "$corpus"
        if grep -qxF -- "$sig" "$logs/signatures"; then
            # The same failure again: keep only the first input of this run that shows it,
            # and whatever was saved before the run.
            if [[ -n "$input" && -f "$input" ]] && ! grep -qxF -- "$input" "$logs/inputs" &&
                ! grep -qxF -- "$input" <<<"$saved_before"; then
                rm -f "$input"
                dropped=$((dropped + 1))
            fi
        else
            echo "$sig" >>"$logs/signatures"
            echo "$input" >>"$logs/inputs"
            kept=$((kept + 1))
            echo "   $t: finding in segment $segment: $sig"
            [[ -z "$input" ]] || echo "   $t:   input: $input"
        fi
        # Without a saved input the next segment would fail the same way.
        [[ -n "$input" ]] || { echo "   $t: exited $rc without saving an input; see $log"; break; }
    done
    rm -rf "$scratch"

    {
        echo "$t: executions $executions, coverage $coverage, segments $segment"
        if [[ -s "$logs/signatures" ]]; then
            echo "$t: FOUND $kept distinct finding(s) ($dropped repeat(s) dropped):"
            sed 's/^/    /' "$logs/signatures"
        else
            echo "$t: nothing found"
        fi
    } | tee "$logs/summary.txt"
}

replay() {
    local failed=0 t f
    for t in "${targets[@]}"; do
        local dir="$root/fuzz/regressions/$t"
        local files=()
        [[ -d "$dir" ]] && mapfile -t files < <(find "$dir" -maxdepth 1 -type f ! -name '.*' | sort)
        if [[ ${#files[@]} -eq 0 ]]; then
            echo "$t: no saved inputs"
            continue
        fi
        local scratch="$build/tmp/replay-$t"
        for f in "${files[@]}"; do
            rm -rf "$scratch" && mkdir -p "$scratch"
            if TMPDIR="$scratch" "$build/bin/$t" "$f" >"$build/logs/replay.log" 2>&1; then
                echo "$t: ok      ${f#"$root"/}"
            else
                echo "$t: CRASHES ${f#"$root"/}: $(signature "$build/logs/replay.log")"
                failed=1
            fi
        done
        rm -rf "$scratch"
    done
    return $failed
}

build_targets
mkdir -p "$build/logs"

if [[ $mode == replay ]]; then
    replay
    exit $?
fi

"$build/bin/fuzz_seed" "$build/corpus"
jobs_at_once=${FUZZ_JOBS:-1}
echo "== fuzzing ${targets[*]} for ${duration}s each, $jobs_at_once at a time"
for t in "${targets[@]}"; do
    while (( $(jobs -rp | wc -l) >= jobs_at_once )); do wait -n || true; done
    run_target "$t" &
done
wait

echo "== summary"
for t in "${targets[@]}"; do cat "$build/logs/$t/summary.txt"; done
