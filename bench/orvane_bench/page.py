"""Renews the part of a page that is generated: the kept sets of figures, and of each row the worst.

Called with the page and the folder of the kept sets, which has a folder for each kind of processor
and in it a set of files for each interpreter.
"""

from __future__ import annotations

import json
import sys
from dataclasses import dataclass
from pathlib import Path
from typing import Any

from .rows.row import Meter
from .texts import measure_text

SHORT = {"MISSED": "**missed**", "noise": "within noise"}
"""Words for rows that fall short, the worse first."""

BEGIN, END = "<!-- generated: begin -->", "<!-- generated: end -->"


@dataclass(frozen=True)
class KeptSet:
    """What one run has left."""

    link: str
    """From the page to its files, without their suffix."""
    content: dict[str, Any]

    @property
    def name(self) -> str:
        processor, interpreter = self.link.split("/")[-2:]
        return f"{processor}, {interpreter.removeprefix('cpython-')}"

    def summary(self) -> list[str]:
        setting = self.content["setting"]
        judged = [row["verdict"] for row in self.content["rows"] if row["holds"] is not None]
        files = ((".txt", "table"), (".svg", "chart"), (".json", "JSON"))
        return [
            self.name,
            setting["machine"],
            setting["interpreter"],
            setting["date"],
            f"{judged.count('holds')} of {len(judged)}",
            str(judged.count("noise")),
            ", ".join(f"[{title}]({self.link}{suffix})" for suffix, title in files),
        ]


def kept_sets(directory: Path, page: Path) -> list[KeptSet]:
    return [
        KeptSet(
            file.relative_to(page.parent).with_suffix("").as_posix(),
            json.loads(file.read_text(encoding="utf-8")),
        )
        for file in sorted(directory.glob("*/*.json"))
    ]


def worst_of_each(sets: list[KeptSet]) -> list[list[str]]:
    """In the order of the sets' own tables."""
    found: dict[str, list[tuple[KeptSet, dict[str, Any]]]] = {}
    for kept in sets:
        for row in kept.content["rows"]:
            found.setdefault(row["name"], []).append((kept, row))
    table = []
    for name, measured in found.items():
        kept, row = min(measured, key=lambda entry: entry[1]["ratio"])
        verdicts = {row["verdict"] for _, row in measured}
        meter = Meter(row["measure"])
        table.append(
            [
                name,
                measure_text(row["ours"]["median"], meter),
                measure_text(row["peer"]["median"], meter),
                f"{row['ratio']:.2f}",
                "" if row["at_least"] is None else f"{row['at_least']:g}",
                next((words for mark, words in SHORT.items() if mark in verdicts), ""),
                kept.name,
            ]
        )
    return table


def markdown(head: list[str], table: list[list[str]]) -> list[str]:
    rule = ["---"] * len(head)
    return [f"| {' | '.join(cells)} |" for cells in (head, rule, *table)]


def generated(sets: list[KeptSet]) -> str:
    lines = [
        *markdown(
            ["set", "machine", "interpreter", "date", "rows that hold", "within noise", "files"],
            [kept.summary() for kept in sets],
        ),
        "",
        *[f"![Chart of {kept.name}]({kept.link}.svg)\n" for kept in sets],
        *markdown(["work", "ours", "peer", "ratio", "at least", "", "set"], worst_of_each(sets)),
    ]
    return "\n".join(lines)


def renew(page: Path, directory: Path) -> None:
    before, _, rest = page.read_text(encoding="utf-8").partition(BEGIN)
    _, mark, after = rest.partition(END)
    if not mark:
        sys.exit(f"{page} has no lines {BEGIN} and {END}")
    sets = kept_sets(directory, page)
    page.write_text(f"{before}{BEGIN}\n{generated(sets)}\n{END}{after}", encoding="utf-8")


if __name__ == "__main__":
    renew(*map(Path, sys.argv[1:]))
