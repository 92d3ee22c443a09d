"""What becomes of the pages on their way to the site."""

from __future__ import annotations

import logging
import re
from pathlib import Path

from docutils import nodes
from sphinx import addnodes
from sphinx.transforms.post_transforms import SphinxPostTransform

CONTENTS = Path(__file__).parent / "contents.md"


def add_contents(app, docname, source):
    """The contents are no part of the first page, which is read without Sphinx as well."""
    if docname == app.config.root_doc:
        source[0] += CONTENTS.read_text("utf-8")


def without_namespaces(app, doctree):
    """What a header declares, without a level of indentation for each namespace around it."""
    for described in list(doctree.findall(addnodes.desc)):
        if described.astext().startswith("namespace "):
            place = described.parent.index(described)
            described.parent[place : place + 1] = described[-1].children


def tells_more_than_namespaces(record):
    """Every header opens the namespaces again; Sphinx takes that for declarations."""
    again = r"Duplicate C\+\+ declaration.*cpp:type:: \w+'"
    return not re.search(again, record.getMessage(), re.DOTALL)


class LabelledCells(SphinxPostTransform):
    """Cells say of which column they are, for screens on which they stand one below the other.

    The style sheet shows it there alone. Tables of two columns fit, those of many stay as they are.
    """

    default_priority = 500
    formats = ("html",)

    def run(self, **_):
        for group in self.document.findall(nodes.tgroup):
            heads = [
                entry.astext() for entry in next(group.findall(nodes.thead)).findall(nodes.entry)
            ]
            if not 3 <= len(heads) <= 4:
                continue
            group.parent["classes"].append("stacked")
            for row in next(group.findall(nodes.tbody)):
                for head, entry in zip(heads, row, strict=True):
                    if head and entry.astext():
                        entry[0].insert(0, nodes.inline("", f"{head}: ", classes=["column"]))


def setup(app):
    app.connect("source-read", add_contents)
    app.connect("doctree-read", without_namespaces)
    app.add_post_transform(LabelledCells)
    logging.getLogger("sphinx.sphinx.domains.cpp").addFilter(tells_more_than_namespaces)
    return {"parallel_read_safe": True, "version": "1"}
