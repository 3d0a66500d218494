#!/usr/bin/env python3
"""Runs the sessions of pages and compares the output: pages_test.py ROOT BUILD PAGE...

A line "..." in a page stands for any lines. The sessions of a page run in one shell.
"""
import difflib
import doctest
import os
import re
import subprocess
import sys
import tempfile
from pathlib import Path

root, build = Path(sys.argv[1]), Path(sys.argv[2])
os.environ["PATH"] = f"{build}/bin:{os.environ['PATH']}"


def blocks(kind, page):
    text = (root / page).read_text()
    return "".join(re.findall(rf"^```{kind}\n(.*?)^```$", text, re.MULTILINE | re.DOTALL))


def normalised(text):
    """Without what differs from run to run: times, process numbers, the order of a summary's rows."""
    for pattern, replacement in (
        (r"\d{4}-[0-9-]+ [0-9:.]+", "TIME"),
        (r"[0-9.]+us", "US"),
        (r" <\d+\.\d+>$", " <TIME>"),
        (r"(night_[a-z]+|client|mrvctl)\.\d+", r"\1.PID"),
        (r" +", " "),
        (r"[^ \n]*examples/", ""),
        (r"^(\S+ \d+ \d+) US US US US .*", r"\1"),
    ):
        text = re.sub(pattern, replacement, text, flags=re.MULTILINE)
    return re.sub(
        r"(?:^\S+ \d+ \d+\n)+",
        lambda rows: "".join(sorted(rows.group().splitlines(True))),
        text,
        flags=re.MULTILINE,
    )


def run(command, **options):
    run = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False, **options)
    return normalised(run.stdout)


def run_session(page, folder):
    """Runs the commands of a page where the project is as scripts/run leaves it."""
    lines = [line[2:] for line in page.splitlines() if line.startswith("$ ")]
    script = "".join(f"cat <<'LINE'\n$ {line}\nLINE\n{line}\n" for line in lines)
    return run(["sh"], input=script + "kill $! 2>/dev/null; wait\n", cwd=folder)


def make_project(folder):
    for name in ("scripts", "build"):
        (folder / name).mkdir()
    (folder / "scripts/run").write_text((root / "scripts/run").read_text())
    (folder / "scripts/run").chmod(0o755)
    (folder / "scripts/setup.sh").write_text(f"root={folder}\nset_up() {{ :; }}\nbuild_preset() {{ :; }}\n")
    (folder / "build/target").symlink_to(build)
    (folder / "client").symlink_to(build / "bin/client_c")
    (folder / "examples").symlink_to(root / "examples")


def compare(page, shown, printed):
    if shown and doctest.OutputChecker().check_output(shown, printed, doctest.ELLIPSIS):
        return True
    print("".join(difflib.unified_diff(shown.splitlines(True), printed.splitlines(True), page, "printed")))
    return False


def is_right(page):
    shown = normalised(blocks("console", page))
    with tempfile.TemporaryDirectory() as name:
        folder = Path(name)
        if "night_with_a_fault.sh" in (root / page).read_text() and page != "README.md":
            night = [root / "examples/night_with_a_fault.sh"]
            printed = run(night + [folder / "kept"])
            right = compare(page, shown, printed) and any(folder.glob("kept/tuesday/night_stats.*.mrec"))
            short = run(night + ["--short"])
            return right and "last-write" in short and compare("--short", short, printed[: len(short)])
        make_project(folder)
        return compare(page, shown, run_session(blocks("console", page), folder))


right = [is_right(page) for page in sys.argv[3:]]
if "README.md" in sys.argv[3:]:
    client = re.sub(r"^    ", "", (root / "examples/client.cc").read_text(), flags=re.MULTILINE)
    right.append(compare("README.md", blocks("c", "README.md"), (root / "examples/client.c").read_text()))
    right.append(blocks("cpp", "README.md") in client or print("README.md: its C++ is not in examples/client.cc"))
sys.exit(not all(right))
