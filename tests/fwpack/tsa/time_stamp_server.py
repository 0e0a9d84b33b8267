"""A time-stamp server for tests: time_stamp_server.py OPENSSL PKI_DIRECTORY WORK_DIRECTORY

Prints the port on which it listens at 127.0.0.1. The path of a request names how the answer is: "/good", or one of the
faults below. Answers are made by the openssl program with the development PKI's keys."""

import http.server
import os
import subprocess
import sys
import tempfile
import threading

OPENSSL, PKI, WORK = sys.argv[1:4]

CONFIG = """[tsa]
default_tsa = here
[here]
serial = {work}/serial
default_policy = 2.999.1
digests = {digests}
signer_digest = sha256
ess_cert_id_alg = sha256
"""


def pki(name):
    return os.path.join(PKI, name)


def run(*arguments):
    subprocess.run([OPENSSL, *arguments], check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


def read(path):
    with open(path, "rb") as file:
        return file.read()


def write(path, data):
    with open(path, "wb") as file:
        file.write(data)
    return path


def der(tag, content):
    length = len(content)
    if length < 0x80:
        return bytes([tag, length]) + content
    octets = length.to_bytes((length.bit_length() + 7) // 8, "big")
    return bytes([tag, 0x80 | len(octets)]) + octets + content


def reply(query, digests="sha256, sha384, sha512", chain="tsa-ca.pem"):
    """What openssl answers to the query; a reply that refuses is one too."""
    with tempfile.TemporaryDirectory(dir=WORK) as work:
        config = write(os.path.join(work, "config"), CONFIG.format(work=work, digests=digests).encode())
        run("ts", "-reply", "-config", config, "-queryfile", write(os.path.join(work, "query"), query),
            "-signer", pki("tsa.pem"), "-inkey", pki("tsa.key"), "-chain", pki(chain),
            "-out", os.path.join(work, "reply"))
        return read(os.path.join(work, "reply"))


def signed_by(query, name, *more):
    """A granted reply whose token is signed by another certificate, or carries more of them."""
    with tempfile.TemporaryDirectory(dir=WORK) as work:
        def at(file):
            return os.path.join(work, file)
        write(at("reply"), reply(query))
        run("ts", "-reply", "-in", at("reply"), "-token_out", "-out", at("token"))
        run("cms", "-verify", "-noverify", "-binary", "-inform", "DER", "-in", at("token"), "-out", at("info"))
        run("cms", "-sign", "-binary", "-nodetach", "-cades", "-md", "sha256", "-outform", "DER",
            "-econtent_type", "id-smime-ct-TSTInfo", "-in", at("info"), "-signer", pki(name + ".pem"),
            "-inkey", pki(name + ".key"), "-out", at("other"), *more)
        return der(0x30, bytes.fromhex("3003020100") + read(at("other")))


def flipped(data, at):
    return data[:at] + bytes([data[at] ^ 1]) + data[at + 1:]


def without_nonce(query):
    digest = query[query.index(b"\x04\x20") + 2:][:32]
    with tempfile.TemporaryDirectory(dir=WORK) as work:
        path = os.path.join(work, "query")
        run("ts", "-query", "-digest", digest.hex(), "-sha256", "-no_nonce", "-cert", "-out", path)
        return read(path)


# A query ends with the nonce and the wish for certificates (3 octets); its imprint is an octet string of 32.
def wrong_nonce(query):
    return flipped(query, len(query) - 4)


def wrong_imprint(query):
    return flipped(query, query.index(b"\x04\x20") + 2)


def damaged(query):
    good = reply(query)
    return flipped(good, len(good) - 1)


BODIES = {
    "/good": reply,
    "/wrong-nonce": lambda query: reply(wrong_nonce(query)),
    "/no-nonce": lambda query: reply(without_nonce(query)),
    "/wrong-imprint": lambda query: reply(wrong_imprint(query)),
    "/rejection": lambda query: reply(query, digests="sha1"),
    "/garbage": lambda query: b"<html>No time-stamps here</html>",
    "/empty": lambda query: b"",
    "/trailing": lambda query: reply(query) + b"\n",
    "/oversize": lambda query: bytes(1 << 20),
    "/damaged": damaged,
    "/no-stamper": lambda query: signed_by(query, "signer"),
    "/three-certificates": lambda query: signed_by(query, "tsa", "-certfile", pki("bundle.pem")),
    "/no-certificates": lambda query: signed_by(query, "tsa", "-nocerts"),
    "/type": reply,
    "/type-in-capitals": reply,
    "/status": reply,
}

TYPES = {"/type": "text/html\x1b[2J", "/type-in-capitals": "Application/Timestamp-Reply; charset=binary"}

REDIRECTIONS = {"/redirect": "file:///etc/hostname", "/redirect-here": "/good"}


class Handler(http.server.BaseHTTPRequestHandler):
    def do_POST(self):
        query = self.rfile.read(int(self.headers["Content-Length"]))
        write(os.path.join(WORK, "last-query"), query)
        write(os.path.join(WORK, "last-type"), self.headers["Content-Type"].encode())
        self.path, question, asked = self.path.partition("?")
        if self.path == "/hang":
            threading.Event().wait()
        elif self.path in REDIRECTIONS:
            self.send_response(302)
            self.send_header("Location", REDIRECTIONS[self.path] + question + asked)
            self.end_headers()
        else:
            self.answer(BODIES[self.path](query))

    def answer(self, body):
        self.send_response(500 if self.path == "/status" else 200)
        self.send_header("Content-Type", TYPES.get(self.path, "application/timestamp-reply"))
        self.send_header("Content-Length", str(len(body)))
        self.end_headers()
        try:
            self.wfile.write(body)
        except BrokenPipeError:
            pass  # whoever has read enough may leave

    def log_message(self, *arguments):
        pass


server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
print(server.server_address[1], flush=True)
server.serve_forever()
