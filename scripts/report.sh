# Stages of scripts/test: the output of each goes to a log, its progress to the terminal; times, skipped tests and
# failures are printed together at the end. Sourced after lib.sh.

logs=$root/build/logs
passed=0
failed=0
skipped=0

begin_report() {
  rm -rf "$logs"
  mkdir -p "$logs"
  : >"$logs/times"
  : >"$logs/skipped"
  : >"$logs/failures"
  began=$(date +%s)
}

# timed NAME COMMAND...: runs a command with its output in the log $log. Returns its exit status.
timed() {
  name=$1
  log=$logs/$(echo "$name" | tr ' ' -).log
  shift
  start=$(date +%s)
  echo "$name ..."
  status=0
  logged "$log" "$@" || status=$?
  seconds=$(($(date +%s) - start))
  printf '%-16s %6s\n' "$name" "$(minutes $seconds)" >>"$logs/times"
  return $status
}

# done_with RESULT: prints the line of the last command of timed().
done_with() { printf '%-16s %6s  %s\n' "$name" "$(minutes $seconds)" "$1"; }

# record_failure TITLE: saves standard input for the report of failures.
record_failure() {
  { echo "--- $1" && head -n 60 | sed 's/^/  /' && echo; } >>"$logs/failures"
}

# check NAME COMMAND...: runs a check, which is counted as one test. Fails if the command fails.
check() {
  if timed "$@"; then
    passed=$((passed + 1))
    done_with "$(sed -n 's/^checked: //p' "$log")"
  else
    failed=$((failed + 1))
    done_with FAILED
    errors_of "$log" | record_failure "$name (log: ${log#"$root"/})"
    return 1
  fi
}

# skip NAME REASON
skip() {
  skipped=$((skipped + 1))
  printf '%-16s %6s  skipped: %s\n' "$1" - "$2"
  echo "$1: $2" >>"$logs/skipped"
}

# listed LOG HEADING: prints a list of ctest's summary as lines of "name (status)".
listed() {
  sed -n "/^$2:/,/^\$/s/^[[:space:]]*[0-9]* - \(.* ([A-Za-z ]*)\).*\$/\1/p" "$1"
}

# output_of TEST RECORD: prints the output of a test from ctest's record of the run.
output_of() {
  awk -v test="$1" '
    /^[0-9]+\/[0-9]+ Testing: / { inside = (substr($0, index($0, ": ") + 2) == test); text = 0; next }
    inside && !text && /^-----/ { text = 1; next }
    inside && /^<end of output>/ { exit }
    inside && text { print }' "$2"
}

# record_tests PRESET LOG RECORD: adds the results of a run of ctest to the report.
record_tests() {
  total=$(sed -n 's/^.* tests failed out of \([0-9]*\).*$/\1/p' "$2" | tail -n 1)
  listed "$2" 'The following tests FAILED' >"$logs/failing"
  listed "$2" 'The following tests did not run' >"$logs/left-out"
  failing=$(wc -l <"$logs/failing")
  left_out=$(wc -l <"$logs/left-out")
  if [ "${total:-0}" -eq 0 ]; then
    failed=$((failed + 1))
    done_with 'FAILED: no test ran'
    tail -n 20 "$2" | record_failure "$1: no test ran (log: ${2#"$root"/})"
    return 0
  fi
  passed=$((passed + total - failing - left_out))
  failed=$((failed + failing))
  skipped=$((skipped + left_out))
  done_with "$((total - failing - left_out)) passed, $failing failed, $left_out skipped"
  while read -r test; do
    output_of "${test% (*}" "$3" | tail -n 60 | record_failure "$1: $test"
  done <"$logs/failing"
  while read -r test; do
    reason=$(output_of "${test% (*}" "$3" | grep -A 1 ': Skipped$' | tail -n 1)
    echo "$1: ${test% (*}: ${reason:-no reason given}" >>"$logs/skipped"
  done <"$logs/left-out"
}

# record_results NAME LOG RESULTS: adds a file of results to the report. A line is a result and a test, "passed", "failed"
# or "skipped"; lines that begin with a space show more of the test above them.
record_results() {
  if [ ! -s "$3" ]; then
    failed=$((failed + 1))
    done_with 'FAILED: no test ran'
    tail -n 20 "$2" | record_failure "$1: no test ran (log: ${2#"$root"/})"
    return 0
  fi
  good=$(grep -c '^passed ' "$3" || true)
  bad=$(grep -c '^failed ' "$3" || true)
  left_out=$(grep -c '^skipped ' "$3" || true)
  passed=$((passed + good))
  failed=$((failed + bad))
  skipped=$((skipped + left_out))
  done_with "$good passed, $bad failed, $left_out skipped"
  for test in $(sed -n 's/^failed //p' "$3"); do
    awk -v test="failed $test" '/^[^ ]/ { inside = $0 == test } inside && /^ / { print substr($0, 3) }' "$3" |
      record_failure "$1: $test"
  done
  awk -v name="$1" '/^skipped / { test = $2; next } /^[^ ]/ { test = "" }
    test && /^ / { print name ": " test ":" $0; test = "" }' "$3" >>"$logs/skipped"
}

# end_report: prints the summary. Fails if a check failed, or if none ran.
end_report() {
  printf '%-16s %6s\n' total "$(minutes $(($(date +%s) - began)))" >>"$logs/times"
  printf '\nTime\n' && sed 's/^/  /' "$logs/times"
  [ -s "$logs/skipped" ] && printf '\nSkipped\n' && sed 's/^/  /' "$logs/skipped" | fold -s -w 160
  [ -s "$logs/failures" ] && printf '\nFailed\n' && fold -s -w 160 "$logs/failures"
  echo
  echo "$passed passed, $failed failed$([ $skipped -eq 0 ] || echo ", $skipped skipped")"
  [ $failed -eq 0 ] && [ $((passed + skipped)) -gt 0 ]
}
