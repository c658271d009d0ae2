#!/usr/bin/env python3
"""Writes sources that include several sources of one target, and the commands that compile them.

Qt's headers are nine tenths of what a linter reads for a source of this project; read once for a
group they cost a tenth. Prints one source a line: a group, or a source that has to stay alone.

    lint-groups.py BUILD_FOLDER OUTPUT_FOLDER SOURCE...
"""
import json
import pathlib
import re
import sys

LARGEST_GROUP = 16
# The checks for unused using-declarations and aliases look at the main file only.
MAIN_FILE_ONLY = re.compile(r"^\s*(using [\w:]*::\w+;|namespace \w+ =)", re.MULTILINE)
# What starts in the first column and is no member of a class is a name of the file's own; two
# sources with the same one do not fit into one group. The pattern may see too many.
OWN_NAME = re.compile(r"^(?=\w)(?![^(=]*\w::~?\w+\()[\w:<>*&, ]*?\b(\w+)(?= =|\(|\[|\{|;| \{|$)",
                      re.MULTILINE)
NOT_A_NAME = {"namespace", "StringLiterals"}


def group(sources):
    """Cuts sources with the same flags into groups of about the same size without collisions."""
    groups = [([], set()) for _ in range(-(-len(sources) // LARGEST_GROUP))]
    for source in sources:
        text = pathlib.Path(source).read_text()
        if MAIN_FILE_ONLY.search(text):
            yield [source]
            continue
        names = set(OWN_NAME.findall(text)) - NOT_A_NAME
        fitting = [g for g in groups if not names & g[1]]
        if not fitting:
            groups.append(([], set()))
            fitting = groups[-1:]
        members, taken = min(fitting, key=lambda g: len(g[0]))
        members.append(source)
        taken |= names
    yield from (members for members, _ in groups if members)


def main(build, output, *names):
    wanted = {str(pathlib.Path(name).resolve()) for name in names}
    database = json.loads(pathlib.Path(build, "compile_commands.json").read_text())
    by_flags = {}
    for entry in sorted((e for e in database if e["file"] in wanted), key=lambda e: e["file"]):
        wanted.remove(entry["file"])
        by_flags.setdefault(entry["command"].split(" -o ")[0], []).append(entry["file"])
    if wanted:
        sys.exit("No target compiles " + ", ".join(sorted(wanted)))

    folder = pathlib.Path(output).resolve()
    folder.mkdir(parents=True, exist_ok=True)
    commands = []
    for flags, sources in by_flags.items():
        for members in group(sources):
            path = members[0]
            if len(members) > 1:
                path = folder / f"group{len(commands)}.cpp"
                path.write_text("".join(
                    f'#include "{m}" // NOLINT(bugprone-suspicious-include)\n' for m in members))
            commands.append({"directory": str(folder), "file": str(path),
                             "command": f"{flags} -o group.o -c {path}"})
            print(path)
    (folder / "compile_commands.json").write_text(json.dumps(commands, indent=1))


main(*sys.argv[1:])
