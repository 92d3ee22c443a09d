"""What becomes of the pages on their way to the site."""

from __future__ import annotations

import logging
import re
from pathlib import Path

from docutils import nodes
from sphinx import addnodes
from sphinx.domains.c import CDomain
from sphinx.domains.cpp import CPPDomain
from sphinx.transforms.post_transforms import SphinxPostTransform

CONTENTS = Path(__file__).parent / "contents.md"


def add_contents(app, docname, source):
    """The contents are no part of the first page, which is read without Sphinx as well."""
    if docname == app.config.root_doc:
        source[0] += CONTENTS.read_text("utf-8")


def without_namespaces(app, doctree):
    """What a header declares, without a level of indentation for each namespace around it.

    Links to a namespace lead to where it is opened first.
    """
    for described in list(doctree.findall(addnodes.desc)):
        if described.astext().startswith("namespace "):
            around, place = described.parent, described.parent.index(described)
            around["ids"] += [each for each in described[0]["ids"] if each not in around["ids"]]
            around[place : place + 1] = described[-1].children


def tells_more_than_namespaces(record):
    """Every header opens the namespaces again; Sphinx takes that for declarations."""
    again = r"Duplicate C\+\+ declaration.*cpp:type:: \w+'"
    return not re.search(again, record.getMessage(), re.DOTALL)


def without_last_line(app, doctree):
    """An example in Python ends with an empty line, for who runs it."""
    for block in doctree.findall(nodes.literal_block):
        block.rawsource = block.rawsource.rstrip()
        block[:] = [nodes.Text(block.astext().rstrip())]


class LabelledCells(SphinxPostTransform):
    """Cells say of which column they are, for screens on which they stand one below the other.

    The style sheet shows it there alone. Tables of two columns fit; large ones stay as they are.
    """

    default_priority = 500
    formats = ("html",)

    def run(self, **_):
        for group in self.document.findall(nodes.tgroup):
            heads = next(group.findall(nodes.thead)).findall(nodes.entry)
            names = [entry.astext() for entry in heads]
            rows = next(group.findall(nodes.tbody)).children
            if len(names) > 4 and len(rows) > 20:
                group.parent["classes"].append("large")
            elif len(names) > 2:
                group.parent["classes"].append("stacked")
                for row in rows:
                    for name, entry in zip(names, row, strict=True):
                        if name and entry.astext():
                            entry[0].insert(0, nodes.inline("", f"{name}: ", classes=["column"]))


class BreakableCode(SphinxPostTransform):
    """Code in tables may go on in the next line behind a bracket and the like."""

    default_priority = 500
    formats = ("html",)

    def run(self, **_):
        for entry in self.document.findall(nodes.entry):
            for code in entry.findall(nodes.literal):
                first, *others = re.split(r"(?<=\w[(<.])(?=\w)|(?<=::)", code.astext())
                code[:] = [nodes.Text(first)]
                for part in others:
                    code += [nodes.raw("", "<wbr>", format="html"), nodes.Text(part)]


class WithoutParameters:
    """Their names would stand before the rest in what the search finds."""

    def get_objects(self):
        return (each for each in super().get_objects() if not each[2].endswith("Param"))


class CObjects(WithoutParameters, CDomain):
    pass


class CppObjects(WithoutParameters, CPPDomain):
    pass


def setup(app):
    app.add_domain(CObjects, override=True)
    app.add_domain(CppObjects, override=True)
    app.connect("source-read", add_contents)
    app.connect("doctree-read", without_namespaces)
    app.connect("doctree-read", without_last_line)
    app.add_post_transform(LabelledCells)
    app.add_post_transform(BreakableCode)
    logging.getLogger("sphinx.sphinx.domains.cpp").addFilter(tells_more_than_namespaces)
    return {"parallel_read_safe": True, "version": "1"}
