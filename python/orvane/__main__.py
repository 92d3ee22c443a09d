"""``python -m orvane``: what build systems want to know."""

import argparse
import shlex
import sysconfig

from . import __version__
from ._sdk import get_cmake_dir, get_include, get_library_dir


def include_flags() -> str:
    """Compiler flags for the headers, Python's own among them."""
    paths = sysconfig.get_paths()
    directories = dict.fromkeys([paths["include"], paths["platinclude"], get_include()])
    return shlex.join(f"-I{directory}" for directory in directories)


def library_flags() -> str:
    """Linker flags for the data-array library."""
    return shlex.join([f"-L{get_library_dir()}", "-lOrvaneDataArray"])


def main() -> None:
    parser = argparse.ArgumentParser(
        prog="python -m orvane", description="Tells what build systems want to know."
    )
    answers = {
        "--version": (__version__, "the version"),
        "--cmake-dir": (get_cmake_dir(), "the folder for CMake's Orvane_DIR"),
        "--includes": (include_flags(), "compiler flags for the headers, Python's own among them"),
        "--libs": (library_flags(), "linker flags for the data-array library"),
    }
    question = parser.add_mutually_exclusive_group(required=True)
    for option, (answer, description) in answers.items():
        question.add_argument(
            option, action="store_const", dest="answer", const=answer, help=f"print {description}"
        )
    print(parser.parse_args().answer)


if __name__ == "__main__":
    main()
