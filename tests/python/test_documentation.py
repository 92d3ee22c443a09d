"""What the documentation shows is what comes; read from the source tree, where there is one."""

import doctest
import re
from pathlib import Path

import pytest

import orvane
from support import ERRORS, evaluate, execute, refused

ROOT = Path(__file__).parents[2]
ARRAYS = ROOT / "docs" / "arrays.md"


def code_on(page: str) -> str:
    if page == "help(orvane)":
        return orvane.__doc__
    text = (ROOT / page).read_text("utf-8")
    return "\n".join(re.findall(r"```python\n(.*?)```", text, re.DOTALL))


PAGES = [path.relative_to(ROOT).as_posix() for path in (ROOT / "docs").glob("*.md")]


@pytest.mark.parametrize(
    "page", ["help(orvane)", *(page for page in ["README.md", *PAGES] if ">>>" in code_on(page))]
)
def test_the_examples(page):
    code = code_on(page)
    if "import numpy" in code:
        pytest.importorskip("numpy")
    examples = doctest.DocTestParser().get_doctest(code, {}, page, page, 0)
    outcome = doctest.DocTestRunner().run(examples)
    assert outcome == doctest.TestResults(failed=0, attempted=len(examples.examples))
    assert examples.examples


def rows_of_table(heading: str) -> list[tuple[str, str]]:
    """The rows of the table of two columns that begins with this line."""
    _, _, table = ARRAYS.read_text("utf-8").partition(f"{heading}\n|---|---|\n")
    rows = re.match(r"(\|.*\|\n)*", table)[0].splitlines()
    assert rows
    return [re.fullmatch(r"\| `(.*)` \| (.*) \|", row).groups() for row in rows]


@pytest.mark.parametrize(("call", "size"), rows_of_table("| call | size |"))
def test_the_table_of_constructions(call, size):
    assert f"`{evaluate(call).size}`" == size


@pytest.mark.parametrize(("statement", "message"), rows_of_table("| statement | message |"))
def test_the_table_of_messages(statement, message):
    exception, words = re.fullmatch(r"`(\w+)`: (.*)", message).groups()
    a, z = orvane.double([[1, 2, 3], [4, 5, 6]]), orvane.double([1j], is_complex=True)
    with refused(ERRORS.get(exception) or evaluate(exception), words):
        execute(statement, a=a, z=z)
