"""A directive that shows what Python sources and stubs declare, without importing anything.

`{declared} FILE` with names as its content: functions with their signatures, classes as they are
called. `members` names classes whose members are shown, as far as they have a docstring, under the
name of another class.
"""

from __future__ import annotations

import ast
import re
from pathlib import Path
from typing import ClassVar

from docutils.parsers.rst import directives
from sphinx.util.docutils import SphinxDirective

Function = ast.FunctionDef | ast.AsyncFunctionDef


def decorators(node: Function) -> set[str]:
    return {ast.unparse(each) for each in node.decorator_list}


def is_for_readers(annotation: ast.expr) -> bool:
    """Names that begin with an underscore say something to type checkers alone."""
    return not re.search(r"\b_[A-Za-z]", ast.unparse(annotation))


def signature(node: Function, is_method: bool) -> str:
    """As Python writes it, without annotations that readers can make nothing of."""
    arguments = node.args
    for each in (*arguments.posonlyargs, *arguments.args, *arguments.kwonlyargs, arguments.vararg):
        if each is not None and each.annotation and not is_for_readers(each.annotation):
            each.annotation = None
    if is_method:
        del (arguments.posonlyargs or arguments.args)[0]
    text = f"{node.name}({ast.unparse(arguments).removeprefix('/, ')})"
    if node.returns is not None and is_for_readers(node.returns):
        text += f" -> {ast.unparse(node.returns)}"
    return text


def constructor(node: ast.ClassDef) -> str:
    """All parameters of the first overload; what else there is tells them apart by their values."""
    made = [each for each in node.body if isinstance(each, Function) and each.name == "__new__"]
    if not made:
        return node.name
    for each in made[0].args.args:
        each.annotation = None
    return f"{node.name}({', '.join(ast.unparse(made[0].args).split(', ')[1:])})"


def describe(kind: str, signature: str, docstring: str, *options: str) -> list[str]:
    return [f"````{{py:{kind}}} {signature}", *options, "", *docstring.splitlines(), "````", ""]


def members(node: ast.ClassDef) -> list[str]:
    lines: list[str] = []
    known: set[str] = set()
    for each in node.body:
        text = isinstance(each, Function) and ast.get_docstring(each)
        if not text:
            continue
        if "property" in decorators(each):
            shown = each.returns is not None and is_for_readers(each.returns)
            options = (f":type: {ast.unparse(each.returns)}",) if shown else ()
            lines += describe("property", each.name, text, *options)
        else:  # overloads stand one below the other, and the first is what links lead to
            options = (":no-index:",) if each.name in known else ()
            lines += describe("method", signature(each, is_method=True), text, *options)
        known.add(each.name)
    return lines


class Declared(SphinxDirective):
    """See the module."""

    required_arguments = 1
    has_content = True
    option_spec: ClassVar[dict] = {"members": directives.unchanged}

    def run(self):
        path = Path(self.env.srcdir) / self.arguments[0]
        self.env.note_dependency(str(path))
        known = {
            node.name: node  # of overloads the last, which is the one that runs
            for node in ast.parse(path.read_text("utf-8")).body
            if isinstance(node, Function | ast.ClassDef)
        }
        lines = []
        for name in self.options.get("members", "").split():
            lines += members(known[name])
        for name in self.content:
            node = known.get(name)
            if node is None:
                raise self.error(f"{self.arguments[0]} declares no {name}")
            text = ast.get_docstring(node) or ""
            if isinstance(node, ast.ClassDef):
                kind = "exception" if name.endswith("Error") else "class"
                lines += describe(kind, constructor(node), text)
            else:
                lines += describe("function", signature(node, is_method=False), text)
        return self.parse_text_to_nodes("\n".join(lines))


def setup(app):
    app.add_directive("declared", Declared)
    return {"parallel_read_safe": True, "version": "1"}
