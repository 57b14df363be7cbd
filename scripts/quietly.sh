# Sourced by the other scripts. quietly LOG COMMAND... keeps a command's output in LOG and shows its
# end only when the command fails.
quietly() {
  local log=$1
  shift
  mkdir -p "$(dirname "$log")"
  if ! "$@" >"$log" 2>&1 </dev/null; then
    tail -n 60 "$log" >&2
    echo "failed: $* (all of it: $log)" >&2
    return 1
  fi
}
