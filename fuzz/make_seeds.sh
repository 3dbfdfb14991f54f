#!/usr/bin/env bash
# Regenerates the issued seeds of the corpora with the test issuer and a throwaway key. The
# committed seeds come from here; inputs that once made a target fail sit beside them
# (crash-*, slow-*) and are kept.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
issuer=$here/../tools/auth-issuer/auth_issuer.py
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
"$issuer" keypair --dir "$tmp" --cn auth.arvantis.example >/dev/null
sign=(--cert "$tmp/cert.pem" --key "$tmp/key.pem")

auth() {  # NAME ARGS...: one authorization message seed
  local name=$1; shift
  "$issuer" auth "${sign[@]}" "$@" --der "$here/corpus/auth_message/$name.der"
}
time_() {
  local name=$1; shift
  "$issuer" time "${sign[@]}" "$@" --der "$here/corpus/time_message/$name.der"
}

valid=(--valid-from 20250101000000Z --valid-to 20300101000000Z)
auth issued-full "${valid[@]}" --permission 3 --permission 19 --permission 20 \
  --permission 21 --permission 22 --identifier 0:HW-0001 --hardware-id-hash HW-0001
auth issued-empty-sets "${valid[@]}"
auth issued-type-only "${valid[@]}" --permission 4294967295 --identifier 1 --identifier 0:A \
  --identifier 0:B
auth issued-without-z --valid-from 20250101000000 --valid-to 2025 --permission 3
auth issued-indefinite "${valid[@]}" --permission 3 --identifier 0:HW --break indefinite
auth issued-overlong "${valid[@]}" --permission 3 --break overlong
auth issued-deep "${valid[@]}" --permission 3 --break deep=66
auth issued-truncated "${valid[@]}" --permission 3 --break truncate=7

challenge=$("$issuer" challenge --nonce 000102030405060708090a0b0c0d0e0f --auth-token seed)
time_ issued-time --challenge "$challenge" --execution-time 20260101000000Z
time_ issued-time-without-z --challenge c --execution-time 20260101000000
time_ issued-time-empty --challenge "" --execution-time ""
time_ issued-time-indefinite --challenge "$challenge" --execution-time 20260101000000Z \
  --break indefinite
time_ issued-time-truncated --challenge "$challenge" --execution-time 20260101000000Z \
  --break truncate=30

# The reader sees everything the decoders see, plus a few shapes of its own.
cp "$here"/corpus/auth_message/issued-*.der "$here"/corpus/time_message/issued-*.der \
  "$here/corpus/ber_reader/"
printf '\x30\x80\x30\x80\x02\x01\x05\x00\x00\x00\x00' >"$here/corpus/ber_reader/nested-indefinite"
printf '\x04\x88\xff\xff\xff\xff\xff\xff\xff\xf5' >"$here/corpus/ber_reader/largest-length"
printf '\x1f\x01\x00\xdf\x00' >"$here/corpus/ber_reader/tag-31"

# The feature argument walk: the first byte picks the agent's answer (odd: 1460), every other byte
# one argument (feature_arguments_fuzzer.cc, Tokens(): 0-20 the feature ids in list order, 21 -add,
# 22 -ADD, 23 -remove, 24 -Remove, 25 -set, 26 -SeT, 27 firewall, 28 empty, 29 -other).
features=$here/corpus/feature_arguments
mkdir -p "$features"
printf '\x00\x15\x03' >"$features/add-firewall"
printf '\x00\x19\x00\x03' >"$features/set-two"
printf '\x01\x16\x03\x10\x18\x0a' >"$features/mixed-failing"
printf '\x00\x15\x1b' >"$features/lower-case-id"
printf '\x00\x15\x03\x17\x03' >"$features/id-twice"
printf '\x00\x03\x15\x10' >"$features/id-before-word"
printf '\x00\x15\x17\x03' >"$features/empty-group"
printf '\x00\x19\x00\x15\x03' >"$features/set-and-add"

# The agent's replies and outputs as JSON text.
seed() {  # TARGET NAME TEXT
  mkdir -p "$here/corpus/$1"
  printf '%s' "$3" >"$here/corpus/$1/$2"
}
envelope() {  # NAMESPACE ELEMENT: one reply around one list element
  printf '{"response":{"data":{"%s":[%s]}}}' "$1" "$2"
}
seed sdk_reply output "$(envelope Product '{"error":5,"output":{"x":[1,{"y":null}]}},{"error":0}')"
seed sdk_reply error-text "$(envelope Product '{"error":"0","output":{}}')"
seed sdk_reply output-list "$(envelope Product '{"error":0,"output":[]}')"
seed sdk_reply no-output "$(envelope Product '{"error":-2}')"
seed sdk_reply other-namespace "$(envelope Update '{"error":0,"output":{}}')"
kivoro=ar.Product.Configuration
seed kivoro_identity both "$(envelope $kivoro '{"error":0,"output":{"endpointID":"HW-0001","companyID":"C-1"}}')"
seed kivoro_identity no-company "$(envelope $kivoro '{"error":0,"output":{"endpointID":"HW-0001"}}')"
seed kivoro_identity nul-inside "$(envelope $kivoro '{"error":0,"output":{"endpointID":"HW\u0000X","companyID":7}}')"

# The configuration file in every encoding the reader classifies (the UTF-32 ones are refused).
config='{"hwid":"HW-0001","custid":"C-1","customdata":{"ComputersFolder":"G-\u00e9\ud83d\ude00"}}'
configs=$here/corpus/agent_config
mkdir -p "$configs"
printf '%s' "$config" >"$configs/no-mark"
printf '+/v8-%s' "$config" >"$configs/utf7-mark"
printf '\xef\xbb\xbf%s' "$config" >"$configs/utf8-mark"
for form in UTF-16BE UTF-16LE UTF-32BE UTF-32LE; do
  # A raw "é" and a pair of surrogates, so the decoder's joining is reached.
  printf '\xef\xbb\xbf%s' "${config/G-/G-é😀}" | iconv -f UTF-8 -t "$form" >"$configs/${form,,}"
done
printf '\xff\xfe{\x00"\x00h\x00\x00\xd8"\x00' >"$configs/utf16le-lone-surrogate-odd"
printf '{"hwid":"\xc0\x80\xed\xa0\x80\xff"}' >"$configs/malformed-utf8"

# The "Product.GetStatus" output, and the update settings beside it for the health checks.
seed product_status full '{"Alerts":{"A":{"severity":"Critical"},"B":{"severity":1},"C":[]},
"Locations":{"Product":{"Version":"1.2.3"},"Antivirus":7},"LastUpdateTime":-1600000000,
"Features":[{"id":"FileScan","isFunctioning":true},{"enabled":true},{"id":"Firewall","enabled":true},
{"id":"AntiExploit","isFunctioning":"yes"}]}'
location='{"updateAvailable":{"status":"n/a"},"update":{"error":0,"time":50,"lastSucceededTime":1766880000},
"check":{"error":0,"time":60,"lastSucceededTime":1766880000}}'
schedule='"settings":{"signatureSchedulerSettings":{"enabled":true,"weekDays":{"days":["mo","th"]}}}'
seed update_health schedule "{\"Locations\":{\"Antivirus\":$location,\"Product\":$location},$schedule}"
seed update_health days-null "{\"Locations\":{\"Antivirus\":$location},${schedule/\[\"mo\",\"th\"\]/null}}"
seed update_health errors '{"Locations":{"Antivirus":{"updateAvailable":{"status":"YES"},
"update":{"error":5,"time":100},"check":{"error":7,"time":100}},"Product":{"update":{"error":3}}}}'

# Nesting deeper than a thread's stack allows a descending parser or copy.
deep() { head -c 150000 /dev/zero | tr '\0' "$1"; }
nested="$(deep '[')$(deep ']')"
seed sdk_reply crash-deep-output "$(envelope Product "{\"error\":0,\"output\":{\"x\":$nested}}")"
seed kivoro_identity crash-deep-output "$(envelope $kivoro "{\"error\":0,\"output\":{\"x\":$nested}}")"
seed agent_config crash-deep-value "{\"hwid\":$nested}"
