#!/usr/bin/env python3
"""Measures fwvet against openssl in one run and prints ratios, never absolute times.

  bench/ratios.py BUILD_DIR [--runs N]

Needs GNU time (package "time"). BUILD_DIR is a configured and built tree whose flash file lies inside it (preset "demo"). Each pair of commands is run in
turn, so that a machine whose speed drifts slows both; the figures are medians over the pairs.
"""

import argparse
import os
import pathlib
import statistics
import subprocess
import sys
import tempfile
import time

MIB = 1024 * 1024


def run(command):
    """CPU seconds and wall seconds of a finished command; it must succeed."""
    start = time.monotonic()
    process = subprocess.Popen(command, stdout=subprocess.DEVNULL)
    _, status, usage = os.wait4(process.pid, 0)
    wall = time.monotonic() - start
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        sys.exit(f"{command[0]} ended with {process.returncode}")
    return usage.ru_utime + usage.ru_stime, wall


def peak_kib(command):
    """Peak memory of a command. A child of this process would inherit the peak of Python itself, hence time(1)."""
    report = subprocess.run(["/usr/bin/time", "-f", "%M", *command], stdout=subprocess.DEVNULL,
                            stderr=subprocess.PIPE, check=True)
    return int(report.stderr)


def extra_memory(ours, theirs):
    return (peak_kib(ours) - peak_kib(theirs)) / 1024


def pairs(ours, theirs, runs):
    """Runs both commands in turn after one uncounted pair."""
    run(ours), run(theirs)
    return [(run(ours), run(theirs)) for _ in range(runs)]


def median_ratio(results, figure):
    return statistics.median(ours[figure] / theirs[figure] for ours, theirs in results)


def make_package(build, pki, content, package, size):
    with open(content, "wb") as out:
        block = os.urandom(MIB if size >= MIB else size)
        for _ in range(max(1, size // len(block))):
            out.write(block)
    subprocess.run([build / "bin/fwpack", "sign", "--content", content, "--out", package,
                    "--signer-cert", pki / "signer.pem", "--signer-key", pki / "signer.key",
                    "--ca", pki / "issuing-ca.pem", "--tsa-cert", pki / "tsa.pem", "--tsa-key", pki / "tsa.key",
                    "--crl", pki / "bundle.pem"], check=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("--runs", type=int, default=15)
    arguments = parser.parse_args()
    build = arguments.build.resolve()
    fwvet = build / "bin/fwvet"
    pki = build / "devpki"
    with tempfile.TemporaryDirectory() as scratch:
        scratch = pathlib.Path(scratch)
        content = scratch / "content"
        big, huge, small = scratch / "big.pkg", scratch / "huge.pkg", scratch / "small.pkg"
        make_package(build, pki, content, big, 256 * MIB)
        results = pairs([fwvet, "-f", big], ["openssl", "dgst", "-sha256", big], arguments.runs)
        print(f"256 MiB, CPU time, fwvet / openssl dgst: {median_ratio(results, 0):.3f} (wanted: at most 1.05)")
        extra = extra_memory([fwvet, "-f", big], ["openssl", "dgst", "-sha256", big])
        print(f"256 MiB, peak memory, fwvet - openssl dgst: {extra:+.2f} MiB (wanted: at most +6)")
        make_package(build, pki, content, huge, 512 * MIB)
        extra = extra_memory([fwvet, "-f", huge], ["openssl", "dgst", "-sha256", huge])
        print(f"512 MiB, peak memory, fwvet - openssl dgst: {extra:+.2f} MiB (wanted: at most +6)")
        make_package(build, pki, content, small, 4096)
        results = pairs([fwvet, "-f", small], ["openssl", "version"], 5 * arguments.runs)
        print(f"4 KiB, wall time, fwvet / openssl version: {median_ratio(results, 1):.3f} (wanted: at most 1.5)")


if __name__ == "__main__":
    main()
