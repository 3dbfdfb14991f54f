#!/usr/bin/env bash
# "-editfeatures" end to end: the real tarn-rmm.exe under Wine against the simulated agent, each
# run under a fresh authorization (authorized_runs.sh). The requests are read back byte for byte
# from the agent's journal.
#   tests/e2e/feature_editing_test.sh WINDOWS_BUILD_DIR
set -uo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/authorized_runs.sh" \
  "${1:?usage: feature_editing_test.sh WINDOWS_BUILD_DIR}" tarn-features-test

agent_sim="$PREFIX/drive_c/Program Files/Arvantis/TARN/sim"
journal=$agent_sim/journal.jsonl
requests() {  # the feature requests the agent received since the journal was emptied, one a line
  python3 - "$journal" <<'PY'
import json, sys
for line in open(sys.argv[1], encoding="utf-8"):
    entry = json.loads(line)
    if entry["kind"] == "request" and entry["method"] == "Product.Installer.AddRemove":
        print(entry["request"])
PY
}
request() {  # ADD REMOVE: the request text, each list already quoted and joined
  printf '{ "type":"oxsdk", "data":{ "Product.Installer":[ { "@name": "AddRemove", "input":{ "features":{ "add":[ %s ], "remove":[ %s ] }, "competitorRemoval" : { "execute" : "never" } } } ] } }' \
    "$1" "$2"
}

edit() {  # TOKEN ARGUMENTS...: -editfeatures under a fresh authorization for TOKEN
  local token=$1
  shift
  : >"$dir/log.txt"
  : >"$journal"
  challenge_for "$token" || { code=none out=; return; }
  tool -editfeatures "$@" -authToken "$token" -certificate "$leaf_text" \
    -executionTime "$(signed_time "$challenge" 20260601120000Z)"
}
expect() {  # NAME EXPECTED_CODE LOG_LINE [REQUEST]: nothing printed, exactly that request or none
  local got
  got=$(requests)
  if [ "$code" = "$2" ] && [ -z "$out" ] && log_has "$3" && [ "$got" = "${4:-}" ]; then
    pass "$1"
  else
    fail "$1: exit $code (expected $2), output \"$out\", log line \"$3\"\
 $(log_has "$3" && echo present || echo missing), requests: ${got:-none}"
  fi
}

both=$(auth --permission 21 --permission 22 --identifier "0:$hwid")
adding=$(auth --permission 21 --identifier "0:$hwid")
removing=$(auth --permission 22 --identifier "0:$hwid")
done_line='Finished edit TARN features with error code: 0'

# Argument errors: 160 and the rule's message, the agent never asked.
exists() { echo "Feature \"$1\" doesn't exists or has already been added"; }
edit "$both" -add firewall
expect "an id in the wrong letter case" 160 "$(exists firewall)"
edit "$both" -add Firewall -remove Firewall
expect "an id named twice" 160 "$(exists Firewall)"
edit "$both" Firewall -add AntiExploit
expect "an id before the first edit word" 160 'The feature argument list is invalid'
edit "$both" -add Firewall -add AntiExploit
expect "an edit word twice" 160 'Arguments for add features operation are invalid'
edit "$both" -add -remove Firewall
expect "an empty group" 160 'Arguments for add features operation are invalid'
edit "$both" -set FileScan -add Firewall
expect "set with add" 160 \
  'The add/remove feature operation cannot be performed due to invalid parameters'
edit "$both" -add
expect "no id at all" 160 'Bad arguments.'

# Requests, byte for byte: ids in the order of the backwards walk, a set as the whole state.
edit "$both" -add Firewall
expect "add one feature" 0 "$done_line" "$(request '"Firewall"' '')"
edit "$both" -ADD Firewall AntiExploit -Remove PowerUser
expect "add and remove" 0 "$done_line" "$(request '"AntiExploit", "Firewall"' '"PowerUser"')"
others='"UserControl", "Antiphishing", "UpdateServer", "BehavioralScan", "TrafficScan",'
others+=' "MailServers", "DataLossPrevention", "ApplicationControl", "PowerUser",'
others+=' "EventCorrelator", "VolumeEncryption", "PatchManagement", "PatchManagementServer",'
others+=' "VulnerabilityAssessment", "AntiExploit", "NetworkMonitor", "Introspection",'
others+=' "IntegrityMonitor", "ContainerProtection"'
edit "$both" -set FileScan Firewall
expect "set two features" 0 "$done_line" "$(request '"FileScan", "Firewall"' "$others")"

# The permissions each edit needs: adding 21, removing 22, setting both.
: >"$dir/log.txt"
: >"$journal"
tool -editfeatures -add Firewall
expect "no authorization" 87 'One or more of the parameters are not set'
edit "$adding" -add Firewall
expect "adding with permission 21" 0 "$done_line" "$(request '"Firewall"' '')"
edit "$removing" -remove PowerUser
expect "removing with permission 22" 0 "$done_line" "$(request '' '"PowerUser"')"
edit "$adding" -set FileScan
expect "setting with permission 21 only" 12 'Not all permissions are valid'
edit "$removing" -add Firewall
expect "adding with permission 22 only" 12 'Not all permissions are valid'
edit "$adding" -add Firewall -remove PowerUser
expect "adding and removing with permission 21 only" 12 'Not all permissions are valid'

# The agent's answer is the command's result.
python3 - "$build/sim/scenarios/healthy.json" "$agent_sim/scenario.json" <<'PY'
import json, sys
scenario = json.load(open(sys.argv[1], encoding="utf-8"))
scenario["methods"]["Product.Installer.AddRemove"] = {"reply": {"error": 1603}}
json.dump(scenario, open(sys.argv[2], "w", encoding="utf-8"))
PY
edit "$both" -remove VolumeEncryption
expect "the agent refuses" 1603 'Failed to execute method. Error code: 1603' \
  "$(request '' '"VolumeEncryption"')"

"$top/scripts/simagent.sh" remove >/dev/null 2>&1
echo "$passed passed, $failed failed"
[ "$failed" = 0 ]
