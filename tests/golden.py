#!/usr/bin/env python3
"""Runs one whole-macro case with the real program and compares its output.

A case is tests/<folder>/golden/<case>.macro with:
  <case>.out     expected output; if it starts with "Script runs..." only the part of
                 the output from that line on is compared, else the whole output
  <case>.args    optional command line (one argument a line; {macro} is the macro's
                 name); default: -strict -macro=<case>.macro
  <case>.code    optional expected exit code (default 0)
  <case>.stdin   optional standard input
  <case>.files/  optional files copied into the run folder first
  <case>.expect/ optional files the run must leave, compared exactly
The run takes place in a fresh temporary folder, with QV_FROZEN_PROGRESS set so that
progress lines see a clock that does not move (only the first and last line of each
progress appear, however loaded the machine). Paths, clock lines, the elapsed
time and the version are masked, and the "Image options" section of the optional
image libraries is dropped. With --update the expectations are rewritten.
"""
import difflib
import os
import re
import shutil
import subprocess
import sys
import tempfile


def mask(text, run_dir, exe):
    text = text.replace(run_dir, "<DIR>").replace(os.path.realpath(exe), "<EXE>")
    text = re.sub(r"^  : .*$", "  : <CLOCK>", text, flags=re.M)
    text = re.sub(r"^Done \(.*\)\.$", "Done (<ELAPSED>).", text, flags=re.M)
    text = re.sub(r"\(([0-9:]+ [a-z0-9]+) of ([0-9:]+ [a-z0-9]+)\)", "(<SINCE> of <ELAPSED>)", text)   # progress times
    # The optional image libraries' section appears only where they are installed.
    text = re.sub(r"^\nImage options:\n(?:  \+/-(?:freeimage|imagemagick) : .*\n)+", "", text, flags=re.M)
    text = text.replace(" - Debug version ", " - Version ")
    text = re.sub(r"Version:? \d+\.\d+\.\d+", lambda m: m.group(0).split(" ")[0] + " <VERSION>", text)
    return text


def main():
    args = [a for a in sys.argv[1:] if a != "--update"]
    update = "--update" in sys.argv
    exe, macro = os.path.abspath(args[0]), os.path.abspath(args[1])
    base = macro[: -len(".macro")]
    case = os.path.basename(base)
    with tempfile.TemporaryDirectory(prefix="qv-") as tmp:
        run_dir = os.path.realpath(tmp)
        shutil.copy(macro, os.path.join(run_dir, case + ".macro"))
        if os.path.isdir(base + ".files"):
            shutil.copytree(base + ".files", run_dir, dirs_exist_ok=True)
        cmd = ["-strict", "-macro=" + case + ".macro"]
        if os.path.exists(base + ".args"):
            with open(base + ".args", encoding="utf-8") as f:
                cmd = [l.rstrip("\n").replace("{macro}", case + ".macro") for l in f if l.rstrip("\n") != ""]
        stdin = open(base + ".stdin", "rb") if os.path.exists(base + ".stdin") else subprocess.DEVNULL
        env = dict(os.environ, QV_FROZEN_PROGRESS="1")
        proc = subprocess.run([exe] + cmd, cwd=run_dir, stdin=stdin, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, timeout=120, env=env)
        out = mask(proc.stdout.decode("utf-8", "replace"), run_dir, exe)
        failures = []
        want_code = 0
        if os.path.exists(base + ".code"):
            want_code = int(open(base + ".code").read().strip())
        if proc.returncode != want_code:
            failures.append(f"exit code {proc.returncode}, expected {want_code}")
        expected = open(base + ".out", encoding="utf-8", newline="").read() if os.path.exists(base + ".out") else ""
        got = out
        if expected.startswith("Script runs...") and "Script runs..." in out:
            got = out[out.index("Script runs..."):]
        if update:
            if not os.path.exists(base + ".out") and "Script runs..." in out:
                got = out[out.index("Script runs..."):]
            with open(base + ".out", "w", encoding="utf-8", newline="") as f:
                f.write(got)
            expected = got
        if got != expected:
            diff = difflib.unified_diff(expected.splitlines(), got.splitlines(), "expected", "got", lineterm="")
            failures.append("output differs:\n" + "\n".join(diff))
        if os.path.isdir(base + ".expect"):
            for root, _, files in os.walk(base + ".expect"):
                for name in files:
                    want_path = os.path.join(root, name)
                    rel = os.path.relpath(want_path, base + ".expect")
                    have_path = os.path.join(run_dir, rel)
                    if not os.path.exists(have_path):
                        failures.append(f"file {rel} was not written")
                        continue
                    have = open(have_path, "rb").read()
                    want = open(want_path, "rb").read()
                    try:
                        have = mask(have.decode("utf-8"), run_dir, exe).encode("utf-8")
                    except UnicodeDecodeError:
                        pass
                    if update and have != want:
                        open(want_path, "wb").write(have)
                    elif have != want:
                        failures.append(f"file {rel} differs")
    if failures:
        print(f"FAIL {case}")
        for f in failures:
            print(f)
        sys.exit(1)
    print(f"ok {case}")


if __name__ == "__main__":
    main()
