#!/bin/sh
# CLP, GLPK and HiGHS (through scipy) with their dual simplex and presolve off on the netlib
# files, side by side with bench_simplex --optimizer dual when its binary is given.
#
#   run_peers.sh [--time-limit S] [--bench PATH/bench_simplex] DATA_DIR [names...]
#
# Needs the Debian packages coinor-clp, glpk-utils and python3-scipy (run with /usr/bin/python3).
set -e
here=$(dirname "$0")
tlim=60
bench=
while [ $# -gt 0 ]; do
  case "$1" in
    --time-limit) tlim=$2; shift 2 ;;
    --bench) bench=$2; shift 2 ;;
    *) break ;;
  esac
done
[ $# -ge 1 ] || { echo "usage: run_peers.sh [--time-limit S] [--bench BIN] DATA_DIR [names...]" >&2; exit 2; }
ours=
if [ -n "$bench" ]; then
  ours=$(mktemp)
  "$bench" --optimizer dual --time-limit "$tlim" "$@" | tee "$ours"
  echo
fi
/usr/bin/python3 "$here/peers.py" --time-limit "$tlim" ${ours:+--ours "$ours"} "$@"
[ -z "$ours" ] || rm -f "$ours"
