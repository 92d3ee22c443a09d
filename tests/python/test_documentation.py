"""What the documentation shows is what comes; read from the source tree, where there is one."""

import doctest
import re
import shlex
from pathlib import Path

import pytest

import orvane
from native_clients import COMPILER, ask_package, run
from support import ERRORS, evaluate, execute, refused

ROOT = Path(__file__).parents[2]
ARRAYS = ROOT / "docs" / "arrays.md"


PAGES = ["README.md", *(f"docs/{path.name}" for path in (ROOT / "docs").glob("*.md"))]


def blocks_on(page: str, language: str) -> list[str]:
    text = (ROOT / page).read_text("utf-8")
    return re.findall(rf"```{language}\n(.*?)```", text, re.DOTALL)


def code_on(page: str) -> str:
    return orvane.__doc__ if page == "help(orvane)" else "\n".join(blocks_on(page, "python"))


@pytest.mark.parametrize(
    "page", ["help(orvane)", *(page for page in PAGES if ">>>" in code_on(page))]
)
def test_the_examples(page):
    code = code_on(page)
    for library in re.findall(r"import (numpy|dask\.array)", code):
        pytest.importorskip(library)
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


PROLOGUE = """
namespace python = orvane::python;
struct DLManagedTensorVersioned;
void consume(DLManagedTensorVersioned*);
void compute(orvane::data::TypedArray<double>&);
"""
FUNCTION = "python::Reference part(pybind11::module_ module, PyObject* object, PyObject* capsule) {"


def test_the_code_in_cpp(tmp_path):
    folders = ["-I" + pytest.importorskip("pybind11").get_include(), "-I/usr/include/eigen3"]
    included, source = set(), PROLOGUE
    for i, block in enumerate(block for page in PAGES for block in blocks_on(page, "cpp")):
        if "Eigen" in block and not Path("/usr/include/eigen3").is_dir():
            continue
        included |= set(re.findall("#include.*\n", block))
        code = re.sub("#include.*", "", block)
        is_whole = "MODULE(" in code or "PyInit_" in code
        source += f"namespace code{i} {{ {code if is_whole else f'{FUNCTION} {code} }}'} }}\n"
    (tmp_path / "code.cpp").write_text("".join(sorted(included)) + source)
    flags = [*shlex.split(ask_package("--includes")), *folders, "-std=c++20", "-fsyntax-only"]
    run(*COMPILER, *flags, tmp_path / "code.cpp")


INTERNAL = "argument element_address function_resolver lend owner_count reference_holder"


def test_the_reference_tells_of_every_name_and_header():
    pages = (ROOT / "docs" / "reference").glob("*.md")
    told = set(re.findall(r"[\w.]+", "".join(page.read_text("utf-8") for page in pages)))
    told |= {f"{name}.hpp" for name in f"{INTERNAL} set_element shaped_loan throw_if_error".split()}
    paths = (ROOT / "sdk" / "include").rglob("*.h*"), (ROOT / "src" / "data_client").glob("*.h*")
    names = {*orvane.__all__, *(path.name for both in paths for path in both)}
    for package in ("dask", "files", "mpi"):
        source = (ROOT / "python" / "orvane" / package / "__init__.py").read_text("utf-8")
        names |= set(re.findall(r'"(\w+)"', source.partition("__all__")[2]))
    assert names - told == set()
