#!/usr/bin/env bash
# make bench: the tool against its floor, command by command, under Wine with the simulated agent
# answering at once; the waits' CPU and lateness; the status walks natively; the executable's
# size and imports. Prints figures and writes bench/RESULTS.md; asserts nothing.
#   TARN_BENCH_RUNS   runs of tool and floor per command (default 25: about 6 minutes when quiet;
#                     fewer pairs leave the medians of the shortest commands to chance)
#   TARN_BENCH_LOAD   a note on the machine's load for the table (default: the load average)
#   TARN_BENCH_ONLY   a regular expression: only the commands it matches, printed, no RESULTS.md
set -uo pipefail
top=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=$top/build/windows
native=$top/build/native
runs=${TARN_BENCH_RUNS:-25}
. "$top/scripts/testbed.sh"
export TARN_WINEPREFIX=$PREFIX TARN_WINDOWS_BUILD=$build
die() { echo "bench: $*" >&2; exit 1; }

testbed_up >/dev/null || die "the test bed did not come up"
trap testbed_down EXIT
"$top/scripts/simagent.sh" install healthy >/dev/null || die "cannot install the agent"

out=$top/build/bench
mkdir -p "$out"
raw=$out/raw.txt
: >"$raw"
dir=$PREFIX/drive_c/tarn-bench
win='C:\tarn-bench'
agent_dir="$PREFIX/drive_c/Program Files/Arvantis/TARN"
sdk='C:\Program Files\Arvantis\TARN\oxsdk.dll'
agent_installer='C:\Program Files\Arvantis\TARN\EndpointSetupInformation\{3F6A2C1D-8B4E-4F7A-9C2D-5E1B0A7F6C3D}\Installer.exe'
signed=$build/sim/signed/timestamped
rm -rf "$dir" && mkdir -p "$dir/sd"
cp "$build/tarn-rmm.exe" "$build/tarn-floor.exe" "$build/bench-driver.exe" "$build/nonce-key.exe" \
   "$signed/kv.dll" "$signed/Installer.exe" "$dir/"
cp "$top/sim/installer-xml/installer.xml" "$dir/installer.xml"

# Scenarios: the healthy agent without its delays, and one for the waits.
scenario() {  # NAME: writes the agent's scenario
  python3 - "$top/sim/scenarios/healthy.json" "$1" >"$agent_dir/sim/scenario.json" <<'PY'
import json, sys
healthy = json.load(open(sys.argv[1]))
def instant(node):
    if isinstance(node, dict):
        node.pop("delayMs", None)
        for value in node.values(): instant(value)
    elif isinstance(node, list):
        for value in node: instant(value)
instant(healthy)
if sys.argv[2] == "waits":
    # Identity answers (the gate needs it); an assessment the agent refuses; a removal whose
    # report never comes; nothing else is answered.
    methods = healthy["methods"]
    healthy = {"default": {"noReply": True}, "methods": {
        "ar.Product.Configuration.GetKivoroIdentity": methods["ar.Product.Configuration.GetKivoroIdentity"],
        "Product.CompetitorRemoval.StartAssessment": {"reply": {"error": 5}},
        "Product.CompetitorRemoval.StartRemoval": {"reply": {"error": 0}}}}
json.dump(healthy, sys.stdout)
PY
  rm -f "$agent_dir/sim/journal.jsonl"
}

wine_exec() { "$top/tools/wine-exec.sh" "$@" 2>/dev/null | tr -d '\r'; }

# Authorizations: one token per permission, a fresh challenge and time message per run.
pki=$build/pki
issuer=$top/tools/auth-issuer/auth_issuer.py
hwid=0F3A9C2E-5B7D-4E11-8A6C-2D9B4F1E7A30
token() {
  python3 "$issuer" auth --cert "$pki/auth-leaf.cer" --key "$pki/auth-leaf.key" \
    --valid-from 20250101000000Z --valid-to 20351231235959Z --hardware-id-hash "$hwid" \
    $(printf -- '--permission %s ' "$@")
}
certificate=$(cat "$pki/auth-leaf.b64")
declare -A tokens=([3]=$(token 3) [19]=$(token 19) [20]=$(token 20) [21]=$(token 21))
authorize() {  # PERMISSION: prints the four options for a run, with a fresh challenge
  local challenge when
  challenge=$(wine_exec "$win\\tarn-rmm.exe" -getchallenge "${tokens[$1]}")
  # Wine's access check, see tests/e2e; a start that Wine refuses under load is tried again, or
  # the run would answer 5 without reaching the command.
  TARN_WINE_RETRY=1 wine_exec "$win\\nonce-key.exe" >/dev/null
  when=$(python3 "$issuer" time --cert "$pki/auth-leaf.cer" --key "$pki/auth-leaf.key" \
         --challenge "$challenge" --execution-time 20260101000000Z)
  printf -- '-authToken %s -certificate %s -executionTime %s' "${tokens[$1]}" "$certificate" "$when"
}

# The commands: label, permission (- for none), the tool's arguments, the floor's steps.
s() { printf '"sdk:%s|%s"' "$sdk" "$1"; }
identity=$(s 'ar.Product.Configuration|GetKivoroIdentity')
status=$(s 'Product|GetStatus')
detect="$identity $status"
run_installer="\"run:$win\\Installer.exe|/arparams /silent\""
commands=(
  "-checkis64bitos|-||"
  "-checkiflegacyversion|-||"
  "-getversion|-||"
  "-checkifrebootrequired|-||$status"
  "-hascriticalissues|-||$status"
  "-getupdatelocations|-||$status"
  "-getproductversion|-||$status"
  "-getlastupdate|-||$status"
  "-getfeaturestatus|-||$status"
  "-checkforupdateerrors|-||$status"
  "-getupdatestatus|-|Product|$status"
  "-isuptodate|-||$status $(s 'Update|GetUpdateSettings')"
  "-startupdate|-||$(s 'Update|StartUpdate')"
  "-startfullscan|-|5000|$(s 'FileScan.OnDemand|RunScanTask|first')"
  "-startquickscan|-||$(s 'FileScan.OnDemand|RunScanTask')"
  "-getlastsystemscan|-||"
  "-detect|-||$detect"
  "-detect -r|-||$status $detect"
  "-runinstaller|-|$win\\Installer.exe -installerXml $win\\installer.xml|$detect $run_installer $detect"
  "-runsetupdownloader|-|$win\\sd\\sd.exe -installerXml $win\\sd\\sd.xml|$detect $run_installer $detect"
  "-uninstall|-||$identity \"shell:$agent_installer|/remove /silent\""
  "-uninstall (authorized)|3||$identity $identity $(s 'Product.Installer|InstallerRemove')"
  "-competitorsassessment|19||$identity $(s 'Product.CompetitorRemoval|StartAssessment|event')"
  "-removecompetitors|20|veltrano-av-12|$identity $(s 'Product.CompetitorRemoval|StartRemoval|event')"
  "-removeallcompetitors|20||$identity $(s 'Product.CompetitorRemoval|StartAssessment|event') $(s 'Product.CompetitorRemoval|StartRemoval|event')"
  "-editfeatures|21|-add Firewall|$identity $(s 'Product.Installer|AddRemove')"
  "-getinstallationlink|-|-kvUrl https://console.example -apiKey 5f2c -packageName Workstations|\"link:$win\\kv.dll\""
  "-getchallenge|-|bench-token|challenge:Software\\ArvantisAuthService.floor"
)

plan=$dir/plan.txt
journal=$out/journal.txt
: >"$journal"
measure() {  # LABEL PERMISSION ARGUMENTS FLOOR ITERATION: one run of each, alternating
  local label=$1 permission=$2 arguments=$3 floor=$4 i=$5 word=${1% (*}
  local tool_line="\"$win\\tarn-rmm.exe\" $word $arguments"
  [ "$permission" = - ] || tool_line+=" $(authorize "$permission")"
  cp "$signed/Installer.exe" "$dir/sd/sd.exe" && cp "$dir/installer.xml" "$dir/sd/sd.xml"
  local floor_line="\"$win\\tarn-floor.exe\" $floor"
  if ((i % 2)); then
    printf 'tool\t0\t%s\nfloor\t0\t%s\n' "$tool_line" "$floor_line"
  else
    printf 'floor\t0\t%s\ntool\t0\t%s\n' "$floor_line" "$tool_line"
  fi >"$plan"
  rm -f "$agent_dir/sim/journal.jsonl"
  wine_exec "$win\\bench-driver.exe" "$win\\plan.txt" | sed "s|^|$label\t$i\t|" >>"$raw"
  # The sessions each side opened, from the agent's journal: the floor must match the tool.
  [ -f "$agent_dir/sim/journal.jsonl" ] && sed "s|^|$label\t$i\t|" "$agent_dir/sim/journal.jsonl" >>"$journal"
}

scenario instant
echo "bench: $runs runs of each of ${#commands[@]} commands, tool and floor alternating"
for ((i = 0; i < runs; i++)); do
  for entry in "${commands[@]}"; do
    IFS='|' read -r label permission arguments floor <<<"$entry"
    [[ -z ${TARN_BENCH_ONLY:-} || $label =~ $TARN_BENCH_ONLY ]] || continue
    measure "$label" "$permission" "$arguments" "$floor" "$i"
  done
  echo "bench: run $((i + 1)) of $runs done"
done

if [ -n "${TARN_BENCH_ONLY:-}" ]; then
  python3 - "$raw" <<'PY'
import collections, statistics, sys
walls = collections.defaultdict(dict)
for line in open(sys.argv[1]):
    label, iteration, run = line.rstrip("\n").split("\t")
    fields = run.split()
    if len(fields) == 6:
        walls[label, iteration][fields[0]] = float(fields[1])
for label in dict.fromkeys(key[0] for key in walls):
    pairs = [pair for key, pair in walls.items() if key[0] == label and len(pair) == 2]
    print(f"{label}: tool {statistics.median(p['tool'] for p in pairs):.0f} ms, floor "
          f"{statistics.median(p['floor'] for p in pairs):.0f} ms, ratio "
          f"{statistics.median(p['tool'] / p['floor'] for p in pairs):.2f}")
PY
  exit 0
fi

# The waits: CPU burnt and how late each time-out fires.
waits=$out/waits.txt
: >"$waits"
scenario waits
# The tool's Linux process in this prefix (other prefixes may run a tool of the same name).
tool_pid() {
  local pid
  for pid in $(pgrep -f 'tarn-bench.tarn-rmm\.exe'); do
    tr '\0' '\n' <"/proc/$pid/environ" 2>/dev/null | grep -qx "WINEPREFIX=$PREFIX" && echo "$pid"
  done | head -n 1
}
cpu_ticks() { awk '{print $14 + $15}' "/proc/$1/stat" 2>/dev/null; }
# CPU the tool burns between FROM and TO seconds after its start, read from Linux in clock ticks
# over a span well inside the wait, so that start-up and tear-down stay out: "MS SECONDS".
sample_wait_cpu() {  # FROM TO
  local pid first last
  sleep "$1"
  pid=$(tool_pid)
  [ -n "$pid" ] || { echo "- -"; return; }
  first=$(cpu_ticks "$pid")
  sleep "$(($2 - $1))"
  last=$(cpu_ticks "$pid")
  [ -n "$first" ] && [ -n "$last" ] || { echo "- -"; return; }
  echo "$(((last - first) * 1000 / $(getconf CLK_TCK))) $(($2 - $1))"
}
wait_run() {  # LABEL LIMIT_MS PERMISSION ARGUMENTS [SAMPLE_FROM SAMPLE_TO]
  local line="\"$win\\tarn-rmm.exe\" $4" sampled
  [ "$3" = - ] || line+=" $(authorize "$3")"
  printf '%s\t%s\t%s\n' "$1" "$2" "$line" >"$plan"
  rm -f "$agent_dir/sim/journal.jsonl"
  [ -z "${5:-}" ] || sample_wait_cpu "$5" "$6" >"$out/sample" &
  sampled=$!
  wine_exec "$win\\bench-driver.exe" "$win\\plan.txt" | tr -d '\n' >>"$waits"
  wait "$sampled"
  if [ -n "${5:-}" ]; then echo " $(cat "$out/sample")"; else echo " - -"; fi >>"$waits"
  # The agent's journal says when the request came and when the reply went out.
  cp "$agent_dir/sim/journal.jsonl" "$out/journal-$1.jsonl"
}
echo "bench: the waits (about a minute and a half)"
wait_run reply-wait 0 - -getproductversion 2 9
wait_run scan-floor 0 - '-startquickscan 1'
wait_run event-wait 30000 20 '-removecompetitors veltrano-av-12' 4 28
wait_run release 0 19 -competitorsassessment
scenario instant

# Natively: the walks over a 10 MB status output.
walks=$out/walks.txt
"$native/bench/walker_bench" 10 5 >"$walks" || die "walker_bench failed"

# The executable.
exe=$build/tarn-rmm.exe
size=$(stat -c %s "$exe")
imports=$(x86_64-w64-mingw32-objdump -p "$exe" | sed -n 's/^\s*DLL Name: //p' | sort -f | paste -sd ' ')

python3 "$top/bench/report.py" "$raw" "$journal" "$waits" "$out" "$walks" "$size" "$imports" \
  "${TARN_BENCH_LOAD:-load average $(cut -d' ' -f1-3 /proc/loadavg) at the end, $(nproc) cores}" \
  "$(git -C "$top" rev-parse --short HEAD)$(git -C "$top" diff --quiet HEAD -- . ':!bench/RESULTS.md' || echo '+changes')" \
  "$runs" >"$top/bench/RESULTS.md"
cat "$top/bench/RESULTS.md"
