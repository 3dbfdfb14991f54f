#!/usr/bin/env bash
# make-pki.sh OUTDIR AUTH_HOST: generates the simulator's test PKI into OUTDIR (replacing what is
# there): the code-signing chains for the signed module variants, the time-stamping authority,
# and the authorization service's certificates for host AUTH_HOST. Every certificate comes as
# NAME.pem, NAME.cer (DER) and NAME.key; leaves also as NAME-chain.pem (leaf, then its issuers),
# authorization leaves also as NAME.b64 (the one-line base64 text the tool takes on its command
# line). README.md beside this script lists them. Keys are test keys, never committed.
set -euo pipefail
out=${1:?usage: make-pki.sh OUTDIR AUTH_HOST}
host=${2:?usage: make-pki.sh OUTDIR AUTH_HOST}
mkdir -p "$(dirname "$out")"
work=$(mktemp -d "$out.tmp.XXXXXX")
trap 'rm -rf "$work"' EXIT
cd "$work"

# Validity is taken from the clock at generation so nothing rots: CAs from three years back to
# thirty years ahead, leaves from yesterday to twenty-five years ahead, and the expired leaf
# ended a year ago (inside its CA's validity, so expiry is its only fault).
when() { date -u -d "$1" +%Y%m%d%H%M%SZ; }
ca_from=$(when '3 years ago') ca_to=$(when '30 years')
leaf_from=$(when '1 day ago') leaf_to=$(when '25 years')
old_from=$(when '2 years ago') old_to=$(when '1 year ago')

# The authorization service's leaves, with and without a revocation list's distribution point.
tls_server='basicConstraints = critical, CA:FALSE
keyUsage = critical, digitalSignature, keyEncipherment
extendedKeyUsage = serverAuth
subjectKeyIdentifier = hash
authorityKeyIdentifier = keyid
subjectAltName = DNS:${ENV::SAN_HOST}'
cat >openssl.cnf <<EOF
[ca]
default_ca = test_ca
[test_ca]
database = index.txt
serial = serial.txt
new_certs_dir = issued
default_md = sha256
policy = any_name
unique_subject = no
copy_extensions = none
email_in_dn = no
[any_name]
commonName = supplied
organizationName = optional
[root]
basicConstraints = critical, CA:TRUE
keyUsage = critical, keyCertSign, cRLSign
subjectKeyIdentifier = hash
[issuing_ca]
basicConstraints = critical, CA:TRUE, pathlen:0
keyUsage = critical, digitalSignature, keyCertSign, cRLSign
subjectKeyIdentifier = hash
authorityKeyIdentifier = keyid
[code_signing]
basicConstraints = critical, CA:FALSE
keyUsage = critical, digitalSignature
extendedKeyUsage = codeSigning
subjectKeyIdentifier = hash
authorityKeyIdentifier = keyid
[time_stamping]
basicConstraints = critical, CA:FALSE
keyUsage = critical, digitalSignature
extendedKeyUsage = critical, timeStamping
subjectKeyIdentifier = hash
authorityKeyIdentifier = keyid
[tls_server]
$tls_server
[tls_server_listed]
$tls_server
crlDistributionPoints = URI:http://crl.tarn-test.invalid/auth-ca.crl
[crl_ext]
authorityKeyIdentifier = keyid
EOF
touch index.txt && echo 01 >serial.txt
mkdir issued

# NAME SUBJECT EXTENSIONS ISSUER|self FROM TO: an RSA-2048 key and a SHA-256 certificate.
issue() {
  local name=$1 subject=$2 ext=$3 issuer=$4 from=$5 to=$6 signer
  openssl req -new -newkey rsa:2048 -nodes -keyout "$name.key" -subj "$subject" \
    -out "$name.csr" 2>/dev/null
  if [ "$issuer" = self ]; then
    signer=(-selfsign -keyfile "$name.key")
  else
    signer=(-cert "$issuer.pem" -keyfile "$issuer.key")
  fi
  SAN_HOST=${SAN_HOST:-unused} openssl ca -batch -config openssl.cnf -notext -rand_serial \
    -preserveDN -extensions "$ext" -startdate "$from" -enddate "$to" "${signer[@]}" \
    -in "$name.csr" -out "$name.pem" 2>ca.log || { cat ca.log >&2; exit 1; }
  openssl x509 -in "$name.pem" -outform der -out "$name.cer"
  rm -f "$name.csr"
}
# NAME ISSUER...: the leaf followed by its issuers, as a signer presents its chain.
chain() {
  local name=$1
  shift
  cat "$name.pem" "${@/%/.pem}" >"$name-chain.pem"
}
# NAME ISSUER: revokes NAME and writes ISSUER.crl (DER, valid as long as the CA), then starts a
# fresh database, so that the next list names only its own certificates.
revoke() {
  local -x SAN_HOST=${SAN_HOST:-unused}  # the configuration names it
  openssl ca -config openssl.cnf -revoke "$1.pem" -cert "$2.pem" -keyfile "$2.key" 2>ca.log &&
    openssl ca -config openssl.cnf -gencrl -crldays 10950 -crlexts crl_ext -cert "$2.pem" \
      -keyfile "$2.key" -out "$2-crl.pem" 2>ca.log &&
    openssl crl -in "$2-crl.pem" -outform der -out "$2.crl" && rm -f "$2-crl.pem" ||
    { cat ca.log >&2; exit 1; }
  : >index.txt
}
ca() { issue "$1" "$2" "$3" "$4" "$ca_from" "$ca_to"; }
leaf() { issue "$1" "$2" "$3" "$4" "$leaf_from" "$leaf_to"; }

# Code signing: the maker's signer, a foreign signer, the maker's name in capitals, and the
# maker's name under a root that the test prefix never trusts.
ca cs-root "/CN=TARN Test Code Signing Root" root self
leaf cs-signer "/O=Arvantis SRL/CN=Arvantis SRL" code_signing cs-root
leaf cs-foreign "/O=Foreign Test Signer/CN=Foreign Test Signer" code_signing cs-root
leaf cs-capitals "/O=ARVANTIS SRL/CN=ARVANTIS SRL" code_signing cs-root
ca cs-untrusted-root "/CN=TARN Test Untrusted Code Signing Root" root self
leaf cs-untrusted-signer "/O=Arvantis SRL/CN=Arvantis SRL" code_signing cs-untrusted-root
leaf cs-tsa "/CN=TARN Test Time Stamping Authority" time_stamping cs-root
for n in cs-signer cs-foreign cs-capitals cs-tsa; do chain "$n" cs-root; done
chain cs-untrusted-signer cs-untrusted-root
# The maker's name revoked by the root: the root's revocation list lists it alone.
leaf cs-signer-revoked "/O=Arvantis SRL/CN=Arvantis SRL" code_signing cs-root
chain cs-signer-revoked cs-root
revoke cs-signer-revoked cs-root

# Authorization service: the expected issuer name under a trusted test root, and the faulty
# variants, each wrong in one respect only.
ca auth-root "/CN=TARN Test Authorization Root" root self
ca auth-ca "/CN=DigiCert Global G2 TLS RSA SHA256 2020 CA1" issuing_ca auth-root
ca auth-other-ca "/CN=TARN Test Other TLS CA" issuing_ca auth-root
ca auth-untrusted-root "/CN=TARN Test Untrusted Authorization Root" root self
ca auth-untrusted-ca "/CN=DigiCert Global G2 TLS RSA SHA256 2020 CA1" issuing_ca auth-untrusted-root
export SAN_HOST=$host
leaf auth-leaf "/CN=$host" tls_server auth-ca
leaf auth-leaf-rekeyed "/CN=$host" tls_server auth-ca
issue auth-leaf-expired "/CN=$host" tls_server auth-ca "$old_from" "$old_to"
leaf auth-leaf-other-ca "/CN=$host" tls_server auth-other-ca
leaf auth-leaf-untrusted "/CN=$host" tls_server auth-untrusted-ca
SAN_HOST=other-service.arvantis.example leaf auth-leaf-wrong-subject \
  "/CN=other-service.arvantis.example" tls_server auth-ca
# Revoked by its CA: the CA's revocation list (DER, valid as long as the CA) lists it alone. Its
# distribution point names a host that never resolves, as for a machine without network.
leaf auth-leaf-revoked "/CN=$host" tls_server_listed auth-ca
revoke auth-leaf-revoked auth-ca
for n in auth-leaf auth-leaf-rekeyed auth-leaf-expired auth-leaf-wrong-subject auth-leaf-revoked; do
  chain "$n" auth-ca auth-root
done
chain auth-leaf-other-ca auth-other-ca auth-root
chain auth-leaf-untrusted auth-untrusted-ca auth-untrusted-root
for n in auth-leaf*.cer; do base64 -w0 "$n" >"${n%.cer}.b64"; done

rm -rf index.txt* serial.txt* openssl.cnf ca.log issued
echo "$host" >auth-host.txt
chmod 600 ./*.key
rm -rf "$out"
mv "$work" "$out"
trap - EXIT
