#!/usr/bin/env bash
# The tool against the bundled agent simulator, under Wine: for each command, its answer and its
# full exit code, then the log of the last run.
set -uo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/testbed.sh"

testbed_up || exit 1
trap 'testbed_down' EXIT
simagent() { "$top/scripts/simagent.sh" "$@" >/dev/null || exit 1; }

echo "== installing the simulated agent (scenario: healthy)"
simagent install healthy

# The tool in its own folder of the prefix, as an RMM platform deploys it.
install_dir=$PREFIX/drive_c/tarn-rmm
mkdir -p "$install_dir"
cp "$top/build/windows/tarn-rmm.exe" "$install_dir/"
rm -f "$install_dir/configfile.txt" "$install_dir/log.txt"
exitfile=$(mktemp)

run() {
  local answer code
  answer=$(wine_run "$exitfile" 'C:\tarn-rmm\tarn-rmm.exe' "$@" 2>/dev/null)
  code=$(cat "$exitfile" 2>/dev/null || echo "?")
  printf '$ tarn-rmm.exe %s\n    answer: "%s"    exit code: %s\n' "$*" "$answer" "$code"
}

echo
echo "== the tool and the system"
run -getversion
run -checkis64bitos
run -checkiflegacyversion
run -checkifrebootrequired

echo
echo "== a healthy agent"
run -getproductversion
run -getupdatelocations
run -getlastupdate
run -getfeaturestatus
run -hascriticalissues
run -checkforupdateerrors
run -getupdatestatus Antivirus
run -isuptodate

echo
echo "== updates and scans"
run -startupdate
run -startfullscan
run -startquickscan 5000
simagent scanlog full scan-1.xml 1700000000 65500 1700000100
simagent scanlog quick scan-1.xml 1700100000 120000 1700100200
run -getlastsystemscan
simagent scenario scan-failed
run -startquickscan 5000
simagent scenario healthy

echo
echo "== competitor commands need an authorization (tools/auth-issuer shows how to make one)"
run -competitorsassessment

echo
echo "== an agent with critical issues (scenario: critical-issues)"
simagent scenario critical-issues
run -hascriticalissues
run -getfeaturestatus
run -checkifrebootrequired

echo
echo "== an outdated agent (scenario: outdated)"
simagent scenario outdated
run -isuptodate
run -checkforupdateerrors

echo
echo "== an agent that does not answer (scenario: unresponsive; the tool waits 10 s)"
simagent scenario unresponsive
run -getproductversion

echo
echo "== mistakes"
run -getproductversion unexpected-argument
run -getupdatestatus
run -nosuchcommand

echo
echo "== the log of one command, switched on by configfile.txt"
simagent scenario healthy
printf 'Logging=true\r\n' >"$install_dir/configfile.txt"
run -getproductversion
sed 's/^/    /; s/\r$//' "$install_dir/log.txt"
rm -f "$install_dir/configfile.txt" "$exitfile"

echo
echo "== removing the simulated agent"
simagent remove
run -getproductversion
