#!/usr/bin/env python3
"""A local time-stamping server for osslsigncode, on 127.0.0.1 only. For test signatures only.

  tsserver.py --cert TSA.pem --key TSA.key --port-file FILE [--port N] [--idle SECONDS]

--cert holds the TSA certificate (with a critical timeStamping extended key usage), optionally
followed by its chain, which goes into every reply. The server binds to a free port (or N),
writes the port number to FILE once it listens, and exits after SECONDS without a request
(default 300, 0 = never). testbed.sh starts it in the background with its stdio away from pipes.
  POST with Content-Type application/timestamp-query (osslsigncode -ts): an RFC 3161 reply made
      by `openssl ts -reply`
  any other POST (osslsigncode -t, the legacy Authenticode form): a base64 PKCS #7 SignedData
      over the request's encrypted digest, made by `openssl cms -sign` (with a signingTime)
  GET: "ok", which also restarts the idle timer (testbed.sh's health check)
Needs only python3 and the openssl command.
"""
import argparse
import base64
import http.server
import os
import re
import signal
import subprocess
import sys
import tempfile
import time


def tlv(data, i):
    """The DER element at data[i] -> (tag, start of value, end of value)."""
    tag, length, j = data[i], data[i + 1], i + 2
    if length & 0x80:
        count = length & 0x7F
        length, j = int.from_bytes(data[j:j + count], "big"), j + count
    return tag, j, j + length


def last_child(data, start, end):
    element = None
    while start < end:
        element = tlv(data, start)
        start = element[2]
    if element is None:
        raise ValueError("empty DER element")
    return element


def legacy_digest(request):
    """The octets to time-stamp (the signer's encrypted digest) from a legacy request:
    SEQUENCE { OID, [attributes], ContentInfo SEQUENCE { OID, [0] { OCTET STRING } } }"""
    _, start, end = tlv(request, 0)
    _, start, end = last_child(request, start, end)  # ContentInfo
    _, start, end = last_child(request, start, end)  # [0] EXPLICIT
    tag, start, end = tlv(request, start)
    if tag != 0x04:
        raise ValueError("no OCTET STRING in the legacy request")
    return request[start:end]


def tsa_config(work, signer, key, chain):
    path = os.path.join(work, "tsa.cnf")
    with open(os.path.join(work, "serial"), "w") as f:
        f.write("01\n")
    with open(path, "w") as f:
        f.write(f"""[tsa]
default_tsa = tsa1
[tsa1]
serial = {work}/serial
crypto_device = builtin
signer_cert = {signer}
signer_key = {os.path.abspath(key)}
{"certs = " + chain if chain else ""}
signer_digest = sha256
default_policy = 1.2.3.4.1
digests = sha1, sha256, sha384, sha512
accuracy = secs:1
ordering = yes
ess_cert_id_alg = sha256
""")
    return path


def main():
    parser = argparse.ArgumentParser(description="local time-stamping server for osslsigncode")
    parser.add_argument("--cert", required=True)
    parser.add_argument("--key", required=True)
    parser.add_argument("--port-file", required=True)
    parser.add_argument("--port", type=int, default=0)
    parser.add_argument("--idle", type=float, default=300)
    args = parser.parse_args()
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(0))  # so the work folder is removed

    with tempfile.TemporaryDirectory(prefix="tsserver.") as work:
        with open(args.cert, "rb") as f:
            certs = re.findall(rb"-----BEGIN CERTIFICATE-----.+?-----END CERTIFICATE-----\s*",
                               f.read(), re.S)
        if not certs:
            sys.exit(f"tsserver: no PEM certificate in {args.cert}")
        signer = os.path.join(work, "signer.pem")
        chain = os.path.join(work, "chain.pem") if len(certs) > 1 else None
        with open(signer, "wb") as f:
            f.write(certs[0])
        if chain:
            with open(chain, "wb") as f:
                f.write(b"".join(certs[1:]))
        config = tsa_config(work, signer, args.key, chain)

        def openssl(*arguments):
            subprocess.run(["openssl", *arguments], check=True, capture_output=True)

        class Handler(http.server.BaseHTTPRequestHandler):
            last = time.monotonic()

            def reply(self, code, content_type, body):
                Handler.last = time.monotonic()
                self.send_response(code)
                self.send_header("Content-Type", content_type)
                self.send_header("Content-Length", str(len(body)))
                self.end_headers()
                self.wfile.write(body)

            def do_GET(self):
                self.reply(200, "text/plain", b"ok\n")

            def do_POST(self):
                body = self.rfile.read(int(self.headers.get("Content-Length", 0)))
                query, response = os.path.join(work, "query"), os.path.join(work, "response")
                try:
                    if self.headers.get("Content-Type", "") == "application/timestamp-query":
                        with open(query, "wb") as f:
                            f.write(body)
                        openssl("ts", "-reply", "-config", config, "-queryfile", query,
                                "-out", response)
                        with open(response, "rb") as f:
                            self.reply(200, "application/timestamp-reply", f.read())
                    else:
                        with open(query, "wb") as f:
                            f.write(legacy_digest(base64.b64decode(body)))
                        extra = ["-certfile", chain] if chain else []
                        openssl("cms", "-sign", "-binary", "-nodetach", "-nosmimecap",
                                "-md", "sha256", "-in", query, "-signer", signer,
                                "-inkey", args.key, *extra, "-outform", "DER", "-out", response)
                        with open(response, "rb") as f:
                            self.reply(200, "application/octet-stream", base64.b64encode(f.read()))
                except (subprocess.CalledProcessError, ValueError, IndexError) as e:
                    error = getattr(e, "stderr", None) or str(e).encode()
                    text = error.decode(errors="replace")
                    sys.stderr.write(f"tsserver: request failed: {text}\n")
                    self.reply(500, "text/plain", error)

            def log_message(self, format, *arguments):
                sys.stderr.write("tsserver: " + format % arguments + "\n")

        server = http.server.HTTPServer(("127.0.0.1", args.port), Handler)
        server.timeout = 1
        partial = args.port_file + ".tmp"
        with open(partial, "w") as f:
            f.write(f"{server.server_address[1]}\n")
        os.replace(partial, args.port_file)  # a reader never sees a partial file
        while not args.idle or time.monotonic() - Handler.last < args.idle:
            server.handle_request()


if __name__ == "__main__":
    main()
