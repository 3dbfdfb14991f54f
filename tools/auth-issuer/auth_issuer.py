#!/usr/bin/env python3
"""Test authorization issuer: builds and signs the messages the authorization service hands out.

The BER is produced by OpenSSL's generator (`openssl asn1parse -genconf`), not by this project,
so the tool's reader is tested against an encoder it did not write. Signatures are made as the
gate checks them: RSA PKCS #1 v1.5 with SHA-256 over SHA-256(message) || SHA-256(certificate DER),
i.e. the key signs the digest C = SHA-256(SHA-256(message) || SHA-256(certificate)).

Python standard library and the `openssl` command only. See README.md for the commands.
"""

import argparse
import base64
import hashlib
import os
import subprocess
import sys
import tempfile

BREAKS = ("tamper", "signature", "truncate", "overlong", "indefinite", "deep")


# ---------------------------------------------------------------------------------------------
# Encoding through OpenSSL's generator


def _hex_or_ascii(prefix, data):
    """A genconf value of `data` bytes; the hex form cannot express empty contents."""
    if not data:
        return prefix + "OCTETSTRING:"
    return prefix + "FORMAT:HEX,OCTETSTRING:" + data.hex()


def _time_value(text):
    """GeneralizedTime contents. A well-formed "YYYYMMDDhhmmssZ" goes through OpenSSL's own time
    type; anything else (no Z, short, garbage) is written as raw contents under tag 24."""
    if len(text) == 15 and text[:14].isdigit() and text[14] == "Z":
        return "GENERALIZEDTIME:" + text
    return _hex_or_ascii("IMP:24U,", text.encode("latin-1"))


class _Config:
    """An ASN1_generate_nconf configuration, one section per constructed value."""

    def __init__(self):
        self.sections = []

    def section(self, name, items):
        self.sections.append((name, items))
        return name

    def text(self, root):
        lines = ["asn1=" + root]
        for name, items in self.sections:
            lines.append("[%s]" % name)
            lines.extend("f%d=%s" % (i, value) for i, value in enumerate(items))
        return "\n".join(lines) + "\n"


def _generate(config, root):
    with tempfile.TemporaryDirectory() as tmp:
        conf = os.path.join(tmp, "message.cnf")
        out = os.path.join(tmp, "message.der")
        with open(conf, "w") as f:
            f.write(config.text(root))
        subprocess.run(["openssl", "asn1parse", "-genconf", conf, "-out", out, "-noout"],
                       check=True, stdout=subprocess.DEVNULL)
        with open(out, "rb") as f:
            return f.read()


def _auth_message_config(valid_from, valid_to, permissions, identifiers):
    config = _Config()
    validity = config.section("validity", [_time_value(valid_from), _time_value(valid_to)])
    perms = config.section("permissions", ["ENUMERATED:%d" % p for p in permissions])
    elements = []
    for i, (kind, value) in enumerate(identifiers):
        items = ["ENUMERATED:%d" % kind]
        if value is not None:
            items.append(_hex_or_ascii("", value.encode("latin-1")))
        elements.append("SEQUENCE:" + config.section("identifier%d" % i, items))
    ids = config.section("identifiers", elements)
    config.section("message", ["SEQUENCE:" + validity, "SET:" + perms, "SET:" + ids])
    return config


def _time_message_config(challenge, execution_time):
    config = _Config()
    config.section("message", [_hex_or_ascii("", challenge), _time_value(execution_time)])
    return config


def _signed(config, message, signature):
    """The signed form: SEQUENCE { message, OCTET STRING signature }, encoded in one piece. DER
    is deterministic, so the message inside is byte for byte the one that was signed."""
    config.section("signed", ["SEQUENCE:message", _hex_or_ascii("", signature)])
    signed = _generate(config, "SEQUENCE:signed")
    header, _ = _header(signed, 0)
    assert signed[header:header + len(message)] == message
    return signed


# ---------------------------------------------------------------------------------------------
# Certificates, keys, signatures


def certificate_der(path):
    with open(path, "rb") as f:
        data = f.read()
    if b"-----BEGIN" not in data:
        return data
    return subprocess.run(["openssl", "x509", "-in", path, "-outform", "DER"], check=True,
                          capture_output=True).stdout


def sign(message, certificate, key_path):
    """PKCS #1 v1.5 signature of SHA-256(SHA-256(message) || SHA-256(certificate))."""
    signed_data = hashlib.sha256(message).digest() + hashlib.sha256(certificate).digest()
    return subprocess.run(["openssl", "dgst", "-sha256", "-sign", key_path],
                          input=signed_data, check=True, capture_output=True).stdout


def make_keypair(directory, common_name):
    os.makedirs(directory, exist_ok=True)
    subprocess.run(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-sha256",
                    "-days", "3650", "-subj", "/CN=" + common_name,
                    "-keyout", os.path.join(directory, "key.pem"),
                    "-out", os.path.join(directory, "cert.pem")],
                   check=True, capture_output=True)
    return os.path.join(directory, "cert.pem"), os.path.join(directory, "key.pem")


def challenge(nonce, auth_token_text):
    """Lowercase hex of SHA-256(nonce || SHA-256(authToken text as 8-bit characters))."""
    inner = hashlib.sha256(auth_token_text.encode("latin-1")).digest()
    return hashlib.sha256(nonce + inner).hexdigest()


def hardware_id_hash(hardware_id):
    return hashlib.sha256(hardware_id.encode("latin-1")).hexdigest()


# ---------------------------------------------------------------------------------------------
# Deliberate damage, applied to the finished encoding


def _header(data, offset):
    """(header length, contents length or None for indefinite) of the DER node at `offset`."""
    first = data[offset + 1]
    if first < 0x80:
        return 2, first
    count = first & 0x7F
    if count == 0:
        return 2, None
    return 2 + count, int.from_bytes(data[offset + 2:offset + 2 + count], "big")


def _child_offset(data, offset, path):
    """Offset of the node reached from the node at `offset` by child indexes `path`."""
    for index in path:
        header, _ = _header(data, offset)
        offset += header
        for _ in range(index):
            h, length = _header(data, offset)
            offset += h + length
    return offset


def apply_break(data, kind, argument=None):
    data = bytearray(data)
    if kind == "tamper":
        # The seconds digit of the first time (validFrom, or the execution time): still decodes,
        # one second off, so only the signature check can notice.
        path = [0, 0, 0] if data[_child_offset(data, 0, [0, 0])] == 0x30 else [0, 1]
        node = _child_offset(data, 0, path)
        header, _ = _header(data, node)
        data[node + header + 13] ^= 0x01
    elif kind == "signature":
        data[-1] ^= 0x01  # the signature is the last value of the encoding
    elif kind == "truncate":
        data = data[:-(argument or 1)]
    elif kind == "overlong":
        # The signature's length claims more octets than follow (its size is kept in place).
        node = _child_offset(data, 0, [1])
        header, _ = _header(data, node)
        if header == 2:
            raise SystemExit("overlong needs a long-form signature length")
        data[node + 2:node + header] = b"\xff" * (header - 2)
    elif kind == "indefinite":
        # The outer SEQUENCE in the indefinite form, closed by end-of-contents.
        header, _ = _header(data, 0)
        data = bytearray(b"\x30\x80") + data[header:] + b"\x00\x00"
    elif kind == "deep":
        levels = argument or 65
        data = bytearray(b"\x30\x80" * levels) + data + b"\x00\x00" * levels
    return bytes(data)


# ---------------------------------------------------------------------------------------------
# The two messages


def auth_message(certificate, key_path, valid_from, valid_to, permissions, identifiers):
    """Signed authorization message; identifiers are (type, value or None) pairs."""
    config = _auth_message_config(valid_from, valid_to, permissions, identifiers)
    message = _generate(config, "SEQUENCE:message")
    return _signed(config, message, sign(message, certificate, key_path))


def time_message(certificate, key_path, challenge_bytes, execution_time):
    config = _time_message_config(challenge_bytes, execution_time)
    message = _generate(config, "SEQUENCE:message")
    return _signed(config, message, sign(message, certificate, key_path))


def _parse_identifier(text):
    kind, sep, value = text.partition(":")
    return int(kind, 0), (value if sep else None)


def _parse_break(text):
    kind, _, argument = text.partition("=")
    if kind not in BREAKS:
        raise argparse.ArgumentTypeError("unknown break %r (one of %s)" % (kind, ", ".join(BREAKS)))
    return kind, int(argument) if argument else None


def _emit(data, args):
    for kind, argument in args.breaks:
        data = apply_break(data, kind, argument)
    if args.der:
        with open(args.der, "wb") as f:
            f.write(data)
    else:
        print(base64.b64encode(data).decode())


def main(argv):
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    commands = parser.add_subparsers(dest="command", required=True)

    def signing(p):
        p.add_argument("--cert", required=True, help="certificate, PEM or DER")
        p.add_argument("--key", required=True, help="its private key, PEM")
        p.add_argument("--break", dest="breaks", type=_parse_break, action="append", default=[],
                       metavar="KIND[=N]", help="damage the result: " + ", ".join(BREAKS))
        p.add_argument("--der", metavar="FILE", help="write the encoding here instead of base64")

    auth = commands.add_parser("auth", help="signed authorization message (-authToken)")
    signing(auth)
    auth.add_argument("--valid-from", required=True, metavar="YYYYMMDDhhmmss[Z]")
    auth.add_argument("--valid-to", required=True, metavar="YYYYMMDDhhmmss[Z]")
    auth.add_argument("--permission", type=int, action="append", default=[])
    auth.add_argument("--identifier", type=_parse_identifier, action="append", default=[],
                      metavar="TYPE[:VALUE]", help="TYPE alone gives an element without value")
    auth.add_argument("--hardware-id-hash", action="append", default=[], metavar="HWID",
                      help="type 1 identifier: lowercase hex SHA-256 of HWID")

    time = commands.add_parser("time", help="signed time message (-executionTime)")
    signing(time)
    time.add_argument("--execution-time", required=True, metavar="YYYYMMDDhhmmss[Z]")
    time.add_argument("--challenge", help="challenge text as printed by -getchallenge")
    time.add_argument("--nonce", help="hex nonce: compute the challenge with --auth-token")
    time.add_argument("--auth-token", help="the -authToken text the challenge is bound to")

    ch = commands.add_parser("challenge", help="challenge for a nonce and an authToken text")
    ch.add_argument("--nonce", required=True, help="16 bytes in hex")
    ch.add_argument("--auth-token", required=True)

    cert = commands.add_parser("certificate", help="the -certificate text of a certificate")
    cert.add_argument("--cert", required=True)

    keypair = commands.add_parser("keypair", help="throwaway RSA key and self-signed certificate")
    keypair.add_argument("--dir", required=True)
    keypair.add_argument("--cn", default="auth.arvantis.example")

    args = parser.parse_args(argv)
    if args.command == "auth":
        identifiers = list(args.identifier)
        identifiers += [(1, hardware_id_hash(h)) for h in args.hardware_id_hash]
        _emit(auth_message(certificate_der(args.cert), args.key, args.valid_from, args.valid_to,
                           args.permission, identifiers), args)
    elif args.command == "time":
        if args.challenge is not None:
            text = args.challenge
        elif args.nonce is not None and args.auth_token is not None:
            text = challenge(bytes.fromhex(args.nonce), args.auth_token)
        else:
            parser.error("time needs --challenge, or --nonce with --auth-token")
        _emit(time_message(certificate_der(args.cert), args.key, text.encode("latin-1"),
                           args.execution_time), args)
    elif args.command == "challenge":
        print(challenge(bytes.fromhex(args.nonce), args.auth_token))
    elif args.command == "certificate":
        print(base64.b64encode(certificate_der(args.cert)).decode())
    elif args.command == "keypair":
        cert_path, key_path = make_keypair(args.dir, args.cn)
        print(cert_path)
        print(key_path)
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
