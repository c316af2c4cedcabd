#!/usr/bin/env python3
"""Plants the faults of scripts/mutations.txt in the library one at a time, rebuilds, runs the
tests that link the changed file, and reports which faults no test noticed.

  scripts/mutate.py                      every fault
  scripts/mutate.py ID ...               the faults named
  scripts/mutate.py --only REGEX         the faults whose id, file or description match
  scripts/mutate.py --check              only check that every fragment occurs once

Each fault is built and tested under the shared build lock (the one `flock
/tmp/kestrel-build.lock` takes), released between faults so that others can build. The source
file is always put back, also on Ctrl-C or kill; a run killed harder leaves the original in
BUILD/restore/, which the next run puts back first.
"""

import argparse
import os
import re
import shutil
import signal
import subprocess
import sys
import time
import fcntl
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
LOCK = "/tmp/kestrel-build.lock"
SEPARATOR = " ||| "

# Which tests can notice a fault in a folder: every test that links it. Low modules reach
# everything; the long soak never runs here.
ALL = ".*"
TESTS_OF = {
    "base/": ALL,
    "graphics/": ALL,
    "display/": ALL,
    "charts/": "chart|scale|gadget|job_|c_host|installed_host|library|scene_demo|data_file_corpus",
    "gadgets/": "gadget|job_|c_host|installed_host|library|scene_demo|data_file_corpus",
    "src/ko_chart/": "job_|c_host|installed_host|library",
}
EXCLUDED = "job_chart_soak"
TEST_BUDGET = 180  # seconds for one fault's tests; a fault that hangs a test is caught by it


class Fault:
    def __init__(self, line_number, fields):
        self.line = line_number
        self.id, self.file, self.original, self.replacement, self.description = fields


def read_faults(path):
    faults = []
    for number, text in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
        if not text.strip() or text.lstrip().startswith("#"):
            continue
        fields = [field.strip() for field in text.split(SEPARATOR)]
        if len(fields) != 5 or not all(fields[:4]):
            sys.exit(f"{path}:{number}: expected 5 fields separated by '{SEPARATOR.strip()}'")
        faults.append(Fault(number, fields))
    ids = [fault.id for fault in faults]
    duplicates = {i for i in ids if ids.count(i) > 1}
    if duplicates:
        sys.exit(f"{path}: ids used twice: {', '.join(sorted(duplicates))}")
    return faults


def check(fault):
    """None when the fault can be planted, else why not."""
    if not fault.file.startswith(tuple(TESTS_OF)):
        return "not in a library folder"
    source = ROOT / fault.file
    if not source.is_file():
        return "no such file"
    count = source.read_bytes().count(fault.original.encode())
    return None if count == 1 else f"fragment found {count} times"


def tests_for(fault):
    return next(regex for folder, regex in TESTS_OF.items() if fault.file.startswith(folder))


def run(command, log, timeout=None):
    """Runs `command` in its own process group (so that a hung test and the X servers it started
    all go), appending its output to `log`. Returns the exit status, or None on timeout."""
    with open(log, "a") as out:
        out.write(f"$ {' '.join(command)}\n")
        out.flush()
        process = subprocess.Popen(command, cwd=ROOT, stdout=out, stderr=subprocess.STDOUT,
                                   start_new_session=True)
        try:
            return process.wait(timeout=timeout)
        except subprocess.TimeoutExpired:
            return None
        finally:
            if process.poll() is None:
                os.killpg(process.pid, signal.SIGKILL)
                process.wait()


def library_status():
    return subprocess.run(["git", "status", "--porcelain", "--", *TESTS_OF], cwd=ROOT,
                          capture_output=True, text=True).stdout


def build_and_test(build, regex, log):
    """(outcome, failed tests) with outcome 'built', 'no build', 'timeout' or 'error' (ctest
    failed without naming a test), under the build lock."""
    with open(LOCK, "a") as lock:
        fcntl.flock(lock, fcntl.LOCK_EX)
        if run(["cmake", "--build", str(build), "-j2"], log) != 0:
            return "no build", []
        status = run(["ctest", "--test-dir", str(build), "-j2", "--stop-on-failure",
                      "--no-tests=error", "--timeout", "120", "-R", regex, "-E", EXCLUDED],
                     log, TEST_BUDGET)
    if status is None:
        return "timeout", []
    output = log.read_text(errors="replace").split("$ ctest")[-1]
    failed = [name for name, why in re.findall(r"^\s*\d+ - (\S+) \(([^)]*)\)", output, re.M)
              if why != "Not Run"]
    return ("error" if status and not failed else "built"), failed


class Restorer:
    """Keeps the original of the file being mutated, in memory and in BUILD/restore/."""

    def __init__(self, build):
        self.directory = build / "restore"
        self.pending = None

    def recover(self):
        if not self.directory.is_dir():
            return
        for saved in self.directory.rglob("*"):
            if saved.is_file():
                target = ROOT / saved.relative_to(self.directory)
                shutil.copy2(saved, target)
                print(f"put back {target.relative_to(ROOT)} left by an interrupted run")
        shutil.rmtree(self.directory)

    def plant(self, fault):
        source = ROOT / fault.file
        original = source.read_bytes()
        saved = self.directory / fault.file
        saved.parent.mkdir(parents=True, exist_ok=True)
        shutil.copy2(source, saved)
        self.pending = (source, original, saved)
        source.write_bytes(original.replace(fault.original.encode(), fault.replacement.encode(), 1))

    def restore(self):
        if not self.pending:
            return
        source, original, saved = self.pending
        source.write_bytes(original)
        saved.unlink()
        self.pending = None


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("ids", nargs="*", help="faults to plant (default: all)")
    parser.add_argument("--only", help="faults whose id, file or description match this regex")
    parser.add_argument("--list", default=ROOT / "scripts/mutations.txt", type=Path)
    parser.add_argument("--build", default=ROOT / "build-mutate", type=Path)
    parser.add_argument("--report", type=Path, help="default: BUILD/mutation-report.txt")
    parser.add_argument("--check", action="store_true", help="check the fragments, build nothing")
    parser.add_argument("--no-baseline", action="store_true",
                        help="skip the run of the unchanged tree that must pass first")
    args = parser.parse_args()

    faults = read_faults(args.list)
    if args.ids:
        unknown = set(args.ids) - {fault.id for fault in faults}
        if unknown:
            sys.exit(f"unknown ids: {', '.join(sorted(unknown))}")
        faults = [fault for fault in faults if fault.id in args.ids]
    if args.only:
        pattern = re.compile(args.only)
        faults = [f for f in faults if pattern.search(f"{f.id} {f.file} {f.description}")]

    problems = [(fault, check(fault)) for fault in faults]
    problems = [(fault, why) for fault, why in problems if why]
    for fault, why in problems:
        print(f"{args.list.name}:{fault.line}: {fault.id}: {fault.file}: {why}")
    if args.check:
        print(f"{len(faults) - len(problems)} of {len(faults)} faults can be planted")
        return 1 if problems else 0
    if problems:
        return 1

    build = args.build.resolve()
    report_path = args.report or build / "mutation-report.txt"
    restorer = Restorer(build)
    restorer.recover()
    if not (build / "build.ninja").exists():
        with open(LOCK, "a") as lock:
            fcntl.flock(lock, fcntl.LOCK_EX)
            subprocess.run(["cmake", "-S", str(ROOT), "-B", str(build), "-G", "Ninja",
                            "-DKESTREL_BENCH=OFF", "-DCMAKE_BUILD_TYPE=RelWithDebInfo",
                            "-DCMAKE_CXX_FLAGS_RELWITHDEBINFO=-O2 -DNDEBUG",
                            "-DCMAKE_C_FLAGS_RELWITHDEBINFO=-O2 -DNDEBUG"], check=True)
    logs = build / "mutation-logs"
    logs.mkdir(parents=True, exist_ok=True)

    # SIGTERM and SIGHUP unwind like Ctrl-C, through the finally below.
    def interrupted(signum, _frame):
        raise KeyboardInterrupt(signal.Signals(signum).name)
    signal.signal(signal.SIGTERM, interrupted)
    signal.signal(signal.SIGHUP, interrupted)

    status_before = library_status()
    started = time.time()
    lines, missed = [], []
    counts = {"CAUGHT": 0, "MISSED": 0, "DOES NOT COMPILE": 0, "ERROR": 0}

    def write_report(final):
        elapsed = time.time() - started
        summary = [
            "",
            f"caught {counts['CAUGHT']} / missed {counts['MISSED']} / total {len(lines)}"
            + (f" (of {len(faults)} asked)" if not final else ""),
        ]
        if counts["DOES NOT COMPILE"]:
            summary.append(f"does not compile: {counts['DOES NOT COMPILE']} (fix the list)")
        if counts["ERROR"]:
            summary.append(f"errors (neither caught nor missed): {counts['ERROR']}")
        summary.append(f"wall time {int(elapsed // 60)} min {int(elapsed % 60)} s")
        if missed:
            summary += ["", "missed:"] + [f"  {m}" for m in missed]
        report_path.write_text("\n".join(lines + summary) + "\n")
        return summary

    try:
        if not args.no_baseline:
            log = logs / "baseline.log"
            log.unlink(missing_ok=True)
            outcome, failed = build_and_test(build, ALL, log)
            if outcome != "built" or failed:
                sys.exit(f"the unchanged tree does not build or pass its tests: see {log}")
        for number, fault in enumerate(faults, 1):
            log = logs / f"{fault.id}.log"
            log.unlink(missing_ok=True)
            restorer.plant(fault)
            try:
                outcome, failed = build_and_test(build, tests_for(fault), log)
            finally:
                restorer.restore()
            if outcome == "no build":
                verdict, detail = "DOES NOT COMPILE", f"see {log.relative_to(build)}"
            elif outcome == "error":
                verdict, detail = "ERROR", f"ctest failed without naming a test: see {log}"
            elif outcome == "timeout":
                verdict, detail = "CAUGHT", f"tests still running after {TEST_BUDGET} s"
            elif failed:
                verdict, detail = "CAUGHT", "by " + ", ".join(failed)
            else:
                verdict, detail = "MISSED", f"{fault.file}: {fault.description}"
                missed.append(f"{fault.id}  {detail}")
            counts[verdict] += 1
            line = f"{verdict:<16} {fault.id:<30} {detail}"
            lines.append(line)
            print(f"[{number}/{len(faults)}] {line}", flush=True)
            write_report(final=False)
    finally:
        restorer.restore()
        if library_status() != status_before:
            print("warning: the library's files are not as they were before the run:\n"
                  + library_status())
    for line in write_report(final=True):
        print(line)
    print(f"report: {report_path}")
    return 1 if counts["DOES NOT COMPILE"] or counts["ERROR"] else 0


if __name__ == "__main__":
    sys.exit(main())
