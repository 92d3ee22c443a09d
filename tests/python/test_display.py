"""What IPython and Jupyter show of arrays."""

import re
import zlib
from base64 import b64decode
from pathlib import Path

import pytest

import orvane
from orvane.display import glance, heat, markup, text
from support import check, evaluate, python, table

ROOT = Path(__file__).parents[2]
SITE = str(Path(orvane.__file__).parents[1])
BIG = 2**64 - 1
TEXTS = {
    "double()": "orvane.double of size (0, 0), 0 bytes",
    "int8(size=(0, 3, 2))": "orvane.int8 of size (0, 3, 2), 0 bytes",
    "double([[1, 0.1], [1/3, 123456789]])": """\
orvane.double of size (2, 2), 32 bytes
      1.0         0.1
  0.33333  1.2346e+08""",
    "int8([1 + 2j, -3j], is_complex=True)": """\
orvane.int8 of size (1, 2), complex, 4 bytes
  1.0+2.0j  0.0-3.0j""",
    "int64([range(i, i + 9) for i in range(8)])": """\
orvane.int64 of size (8, 9), 576 bytes
    0    1    2  ...    6    7    8
    1    2    3  ...    7    8    9
    2    3    4  ...    8    9   10
  ...  ...  ...  ...  ...  ...  ...
    5    6    7  ...   11   12   13
    6    7    8  ...   12   13   14
    7    8    9  ...   13   14   15""",
    "uint64([2**64 - 1] * 9)": f"""\
orvane.uint64 of size (1, 9), 72 bytes
  {BIG}  ...  {BIG}""",
    "uint8(range(48), size=(2, 3, 4, 2))[:][1]": """\
orvane.uint8 of size (3, 4, 2), 24 bytes
[0]:
   1  25
   7  31
  13  37
  19  43
[2]:
   5  29
  11  35
  17  41
  23  47""",
}


@pytest.mark.parametrize("expression", TEXTS)
def test_texts(expression):
    assert "\n".join(text.lines_of(evaluate(expression), 79)) == TEXTS[expression]


def test_the_page_shows_what_comes():
    page = (ROOT / "docs" / "looking.md").read_text("utf-8")
    call, lines = re.search(r"In \[3\]: (.*)\nOut\[3\]:\n(.*?)```", page, re.DOTALL).groups()
    assert text.lines_of(evaluate(call, orvane=orvane), 79) == lines.splitlines()


@table("""
heading(int8([1])) -> "orvane.int8 of size (1, 1), 1 byte"
heading(int8(size=(1000, 1))) -> "orvane.int8 of size (1000, 1), 1.0 kB"
heading(double(size=(1000, 1000))) -> "orvane.double of size (1000, 1000), 8.0 MB"
heading(single(size=(50, 5), is_complex=True)) -> "orvane.single of size (50, 5), complex, 2.0 kB"
places([[0, 1], [2, 4]]) -> [[0, 63], [126, 252]]
places([[2**64 - 1, 2**64 - 2, 2**64 - 3]]) -> [[252, 126, 0]]
places([[1e308, -1e308, 0.0]]) -> [[252, 0, 126]]
places([[nan, inf, -inf, 1.0]]) -> [[253, 254, 255, 126]]
places([[True, False]]) -> [[252, 0]]
places([[3 + 4j, 0j, complex(nan, inf), complex(nan, 1)]]) -> [[252, 0, 254, 253]]
places([[1.7e308 + 1.7e308j, 1j]]) -> [[254, 126]]
""")
def test_headings_and_colours(expression, answer):
    def places(sample):
        return [list(row) for row in heat.heat_map_of(sample).rows]

    check(expression, answer, places=places, heading=glance.heading_of)


def picture_in(shown):
    """The places in the palette, row by row, that a picture of a page has."""
    content = b64decode(re.search(r"data:image/png;base64,([^\"]+)", shown)[1])
    assert content.startswith(b"\x89PNG\r\n\x1a\n")
    chunks, place = {}, 8
    while place < len(content):
        length = int.from_bytes(content[place : place + 4], "big")
        name, body = content[place + 4 : place + 8], content[place + 8 : place + 8 + length]
        assert zlib.crc32(name + body).to_bytes(4, "big") == content[place + 8 + length :][:4]
        chunks[name.decode()] = body
        place += 12 + length
    assert list(chunks) == ["IHDR", "PLTE", "IDAT", "IEND"]
    width, height = (int.from_bytes(chunks["IHDR"][at : at + 4], "big") for at in (0, 4))
    assert chunks["IHDR"][8:] == bytes((8, 3, 0, 0, 0))
    assert chunks["PLTE"] == bytes(part for colour in heat.PALETTE for part in colour)
    points = zlib.decompress(chunks["IDAT"])
    assert len(points) == height * (width + 1)
    rows = [points[at : at + width + 1] for at in range(0, len(points), width + 1)]
    assert not any(row[0] for row in rows)
    return [list(row[1:]) for row in rows]


@table("""
double(range(18000), size=(90, 200)) -> (45, 50), ["one row of 2, one column of 4", ">17728.0<"]
double([[1, nan], [inf, -inf]]) -> (2, 2), ["nan", "inf", "-inf", "1.0"]
single([[3 + 4j, 0]] * 9, is_complex=True) -> (9, 2), ["0.0", "5.0", "(magnitude)"]
logical([[True] * 65]) -> (1, 33), ["False", "True", "one column of 2"]
int8(size=(8, 1)) -> (8, 1), ['4em"><span', "</span>0<"]
int8(size=(64, 128)) -> (64, 64), ["one column of 2"]
int8(range(120), size=(3, 8, 5))[1:] -> (8, 5), ["[0]", "[1]", ">1<", ">119<"]
int8(size=(1, 7)) -> None, [">0<"]
int8(size=(0, 7)) -> None, ["of size (0, 7), 0 bytes"]
""")
def test_pages(expression, answer):
    shown = markup.markup_of(evaluate(expression))
    extents, words = evaluate(answer)
    assert ("<img" in shown) == (extents is not None)
    if extents:
        rows = picture_in(shown)
        assert (len(rows), len(rows[0])) == extents
    for word in words:
        assert word in shown, shown
    told = re.findall(r"</?(\w+)", shown)
    assert all(told.count(tag) % 2 == 0 for tag in set(told) - {"img"})


@pytest.fixture
def shell():
    formatters = pytest.importorskip("IPython.core.formatters")
    shell = type("Shell", (), {"display_formatter": formatters.DisplayFormatter()})()
    orvane.load_ipython_extension(shell)
    return shell


def test_what_is_shown_among_other_things_and_what_went_wrong(shell, capsys):
    def shown(value):
        return shell.display_formatter.format(value)[0]

    small, large = orvane.int8([[1, 2, 3], [4, 5, 6]]), orvane.double(size=(30, 30))
    row = small[1]
    assert shown(small)["text/plain"] == "orvane.int8 of size (2, 3), 6 bytes\n  1  2  3\n  4  5  6"
    assert "<img" in shown(large)["text/html"]
    listed = "[orvane.int8([4,5,6]), {'x': <orvane.double of size (30, 30), 7.2 kB>}]"
    assert shown([row, {"x": large}]) == {"text/plain": listed}
    small.reshape(1, 6)
    lost = "<orvane.int8: IndexError: index has an invalid value: 5>"
    assert shown(row) == {"text/plain": lost}
    assert shown((row,)) == {"text/plain": f"({lost},)"}
    deep = orvane.int8(size=(2, 2, 2))[1][1]
    assert "of size (2,)" in shown(deep)["text/plain"]
    fixed = (whole := orvane.int8(size=(2, 2, 2)))[1][1]
    whole.reshape(8, 1)
    assert shown(fixed) == {"text/plain": "<orvane.int8: RuntimeError: too many indices.>"}
    assert repr(large).startswith("orvane.double([[0.0,0.0")
    others = shell.display_formatter.formatters["text/plain"]
    others.for_type(orvane.int8, lambda array, printer, cycle: printer.text("mine"))
    orvane.unload_ipython_extension(shell)
    assert shown(small) == {"text/plain": "mine"}
    assert shown(large) == {"text/plain": repr(large)}
    assert capsys.readouterr() == ("", "")


def test_ipython_loads_it(tmp_path):
    pytest.importorskip("IPython")
    profile = tmp_path / "profile_default"
    profile.mkdir()
    line = 'c.InteractiveShellApp.extensions.append("orvane")'
    assert line in orvane.display.__doc__
    (profile / "ipython_config.py").write_text(f"c = get_config()\n{line}\n")
    start = f"import sys; sys.path.insert(0, {SITE!r})\nimport orvane\n"
    assert python(f"{start}print('orvane.display' in sys.modules)") == "False\n"
    run = "import IPython; IPython.start_ipython(['-c', {code!r}])"
    told = "orvane.int8 of size (1, 2), 2 bytes\n  1  2\n"
    array = "import orvane; orvane.int8([1, 2])"
    by_hand = f"%load_ext orvane\n{array}"
    elsewhere = {"IPYTHONDIR": str(tmp_path / "nowhere")}
    for code, settings, suffix in (
        (array, {"IPYTHONDIR": str(tmp_path)}, told),
        (by_hand, elsewhere, told),
        (
            f"{by_hand}\n%unload_ext orvane\norvane.int8([1, 2])",
            elsewhere,
            "orvane.int8([[1,2]])\n",
        ),
    ):
        shown = python(start + run.format(code=code), "-W", "ignore", **settings)
        shown = re.sub(r"\x1b\[[\d;]*m", "", shown)  # colours
        assert shown.strip().endswith(suffix.strip()), shown
