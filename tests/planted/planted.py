#!/usr/bin/env python3
"""Proves that the tests can fail: plants one fault in the sources and demands that the named test catches it.

A fault is an entry of faults.toml: the translation unit to rebuild, the file to change (the unit itself unless
given), the exact text to find, its replacement, and the test program with the filter that must fail. The changed
file goes into a scratch folder that the compiler searches first; the unit is compiled with its own command, and the
test program linked with its own command, the changed object in place of the original. Nothing of the source tree or
of the build's own targets is touched.
"""

import argparse
import json
import os
import pathlib
import re
import shlex
import shutil
import subprocess
import sys
import tomllib

SKIPPED = 77
HERE = pathlib.Path(__file__).resolve().parent
SOURCE = HERE.parent.parent


class Refused(Exception):
    """The fault could not be tried at all: out of date, or it does not build."""


def load_faults():
    table = tomllib.loads((HERE / "faults.toml").read_text())
    faults = {}
    for fault in table["fault"]:
        if fault["name"] in faults:
            raise Refused(f"two faults are called {fault['name']}")
        faults[fault["name"]] = {"root": table["root"], **fault}
    return faults


def run(command, cwd, what):
    done = subprocess.run(command, cwd=cwd, shell=isinstance(command, str), capture_output=True, text=True)
    if done.returncode != 0:
        raise Refused(f"{what} fails:\n{done.stdout}{done.stderr}")
    return done.stdout


def plant(fault, scratch):
    """Writes the changed file and returns its path relative to the include root."""
    relative = pathlib.PurePath(fault["root"], fault.get("file", fault["unit"]))
    text = (SOURCE / relative).read_text()
    places = [m.start() for m in re.finditer(re.escape(fault["find"]), text)]
    which = fault.get("nth", 1)
    if len(places) < which or ("nth" not in fault and len(places) != 1):
        raise Refused(f"{relative} holds {len(places)} times: {fault['find']}")
    at = places[which - 1]
    changed = scratch / relative
    changed.parent.mkdir(parents=True)
    changed.write_text(text[:at] + fault["replace"] + text[at + len(fault["find"]) :])
    return relative


def compile_unit(fault, build, scratch, changed):
    """Returns the path of the unit's own object, as commands name it, and that of the changed one."""
    unit = SOURCE / fault["root"] / fault["unit"]
    entries = json.loads((build / "compile_commands.json").read_text())
    entry = next((e for e in entries if pathlib.Path(e["file"]) == unit), None)
    if entry is None:
        raise Refused(f"{unit} is not compiled")
    arguments = shlex.split(entry["command"])
    original = arguments[arguments.index("-o") + 1]
    new = scratch / "planted.o"
    arguments[arguments.index("-o") + 1] = str(new)
    if (SOURCE / changed) == unit:
        arguments[arguments.index("-c") + 1] = str(scratch / changed)
    first_include = next(i for i, a in enumerate(arguments) if a.startswith("-I"))
    arguments.insert(first_include, f"-I{scratch / 'src'}")
    run(arguments, entry["directory"], "compiling")
    return original, new


def link(fault, build, scratch, original, new):
    commands = run(["ninja", "-t", "commands", fault["program"]], build, "asking for the link command")
    command = commands.strip().splitlines()[-1]
    program = scratch / "program"
    for old, planted in ((original, str(new)), (f"-o {fault['program']}", f"-o {program}")):
        whole_word = rf"(?<!\S){re.escape(old)}(?!\S)"
        command, times = re.subn(whole_word, lambda _, text=planted: text, command)
        if times != 1:
            raise Refused(f"the link command of {fault['program']} has {times} times {old}")
    run(command, build, "linking")
    return program


def catch(fault, build, program):
    """Whether the test fails, and what it said."""
    if not (build / fault["program"]).exists():
        raise Refused(f"{fault['program']} is not built")
    command = [str(program), f"--gtest_filter={fault['filter']}", "--gtest_fail_fast", "--gtest_brief=1"]
    try:
        done = subprocess.run(command, cwd=build, capture_output=True, text=True, errors="replace", timeout=120)
    except subprocess.TimeoutExpired:
        raise Refused("the test does not end")
    ran = re.search(r"\[==========\] (\d+) test", done.stdout)
    if ran and ran.group(1) == "0":
        raise Refused(f"no test is called {fault['filter']}")
    return done.returncode != 0, done.stdout + done.stderr


def has_avx2():
    return " avx2 " in pathlib.Path("/proc/cpuinfo").read_text().replace("\n", " ")


def try_fault(fault, build):
    if fault.get("needs") == "avx2" and not has_avx2():
        print(f"{fault['name']}: not run, the processor has no AVX2")
        return SKIPPED
    scratch = build / "planted" / fault["name"]
    shutil.rmtree(scratch, ignore_errors=True)
    try:
        changed = plant(fault, scratch)
        original, new = compile_unit(fault, build, scratch, changed)
        program = link(fault, build, scratch, original, new)
        caught, said = catch(fault, build, program)
    except Refused as reason:
        print(f"{fault['name']}: {reason}")
        return 2
    finally:
        shutil.rmtree(scratch, ignore_errors=True)
    if not caught:
        print(f"{fault['name']}: NOT CAUGHT by {fault['program']} {fault['filter']}\n{said}")
        return 1
    print(f"{fault['name']}: caught by {fault['program']} {fault['filter']}\n{said[:2000]}")
    return 0


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", type=pathlib.Path, required=True, help="a build folder made with Ninja")
    parser.add_argument("name", nargs="*", help="faults to try; all without any")
    options = parser.parse_args()
    faults = load_faults()
    build = options.build.resolve()
    worst = 0
    for name in options.name or faults:
        if name not in faults:
            sys.exit(f"there is no fault called {name}")
        result = try_fault(faults[name], build)
        if len(options.name) == 1:
            return result
        worst = max(worst, 0 if result == SKIPPED else result)
    return worst


if __name__ == "__main__":
    os.environ.setdefault("LC_ALL", "C")
    sys.exit(main())
