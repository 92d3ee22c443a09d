"""A walk through the arrays on real data: 1,797 handwritten digits of 8 x 8 pixels.

Every step says what it does, shows a result, and checks it against an answer that was found another
way.
"""

import argparse
import itertools
import json
import pickle
import time
from array import array
from pathlib import Path

import numpy as np

import orvane
import spectral
from digits import INK, SIDE, Digits, read_digits
from picture import as_text, side_by_side, write_sheet


def heading(text: str) -> None:
    print(f"\n--- {text}\n")


def check(claim: str, holds: bool) -> None:
    """Prints a claim that holds; one that does not ends the demo."""
    if not holds:
        raise SystemExit(f"WRONG: {claim}")
    print(f"  checked: {claim}")


def image_stack(digits: Digits) -> orvane.uint8:
    """The images as an array of rows x columns x images, by way of the buffer protocol.

    The bytes are laid out pixel by pixel, each for all images, and given the three dimensions by a
    memoryview. That is row-major order; the array turns it into the column-major order in which it
    keeps its elements.
    """
    heading("The images, by way of the buffer protocol")
    planes = b"".join(map(bytes, zip(*digits.images, strict=True)))
    stack = orvane.uint8(memoryview(planes).cast("B", (SIDE, SIDE, len(digits.images))))
    print(f"  {len(planes):,} bytes became an array of size {stack.size}")
    print(f"  the middle pixel of the first ten images: {stack[4][4][0:10]!r}")
    return stack


def image_matrix(digits: Digits) -> orvane.double:
    """The images as a matrix of images x pixels, by way of nested lists."""
    heading("The images as a matrix, by way of nested lists")
    matrix = orvane.double(digits.images)
    print(f"  {len(matrix):,} lists of {len(matrix[0])} became a matrix of size {matrix.size}")
    print(f"  the third row of the first image: {matrix[0][16:24]}")
    return matrix


def single_images(stack: orvane.uint8, matrix: orvane.double, digits: Digits) -> None:
    """Single images by chained subscripts: one subscript a dimension, integers and slices."""
    heading("Single images, by chained subscripts")
    chosen = [digits.labels.index(label) for label in range(5)]
    images = [[[stack[r][c][i] for c in range(SIDE)] for r in range(SIDE)] for i in chosen]
    print(side_by_side([as_text(image) for image in images]))
    print()
    for i, image in zip(chosen, images, strict=True):
        check(
            f"image {i} is the same in the stack, in the matrix and in the file",
            list(itertools.chain(*image)) == list(matrix[i]) == digits.images[i],
        )
    row_backwards = list(matrix[chosen[2]][16:24][::-1])
    check(
        "a slice of a slice selects from what the first one selected",
        row_backwards == digits.images[chosen[2]][16:24][::-1],
    )


def export_to_numpy(stack: orvane.uint8, digits: Digits) -> np.ndarray:
    """The same memory as a NumPy array; nothing is copied."""
    heading("To NumPy, without a copy")
    pixels = np.asarray(memoryview(stack))
    print(f"  {pixels.dtype} array of shape {pixels.shape} and strides {pixels.strides}")
    check("a second export shows the same memory", np.shares_memory(pixels, np.asarray(stack)))
    check("it is column-major", pixels.flags.f_contiguous)
    check("it is read-only", not pixels.flags.writeable)
    expected = np.array(digits.images).reshape(-1, SIDE, SIDE).transpose(1, 2, 0)
    check("all of its pixels are those of the file", np.array_equal(pixels, expected))
    return pixels


def draw(pixels: np.ndarray, digits: Digits, output: Path) -> None:
    """Pictures: the average of each digit in the terminal, the first 200 images as a PNG file."""
    heading("Pictures")
    labels = np.array(digits.labels)
    averages = [pixels[:, :, labels == label].mean(axis=2) for label in range(10)]
    print("  The average of each digit:\n")
    for half in (averages[:5], averages[5:]):
        print(side_by_side([as_text(average.tolist()) for average in half]), end="\n\n")
    sheet = output / "digits.png"
    write_sheet(pixels[:, :, :200], sheet, columns=20)
    print(f"  The first 200 images were written to {sheet}")


def change_through_a_view(matrix: orvane.double, digits: Digits) -> None:
    """A frame of ink around the first image: a view is written to, the matrix has it."""
    heading("Changing elements through a view")
    image = matrix[0]
    image[:SIDE] = image[-SIDE:] = [INK] * SIDE
    for start in range(SIDE, SIDE**2 - SIDE, SIDE):
        image[start] = image[start + SIDE - 1] = INK
    original = [digits.images[0][start : start + SIDE] for start in range(0, SIDE**2, SIDE)]
    framed = [list(image[start : start + SIDE]) for start in range(0, SIDE**2, SIDE)]
    print(side_by_side([as_text(original), as_text(framed)]))
    print()
    edge = [INK] * SIDE
    expected = [edge, *([INK, *row[1:-1], INK] for row in original[1:-1]), edge]
    in_a_row = list(itertools.chain(*expected))
    check("the matrix, of which it is a view, has the frame", list(matrix[0]) == in_a_row)
    check("so has its exported memory", np.asarray(matrix)[0].tolist() == in_a_row)
    image[:] = digits.images[0]
    check("all else is as it was", np.array_equal(np.asarray(matrix), digits.images))


def clone(matrix: orvane.double, digits: Digits) -> None:
    """A clone is an array of its own."""
    heading("Cloning")
    three = matrix[0:3].clone()
    print(f"  a clone of the first three images is an array of size {three.size}")
    three[0] = [0] * SIDE**2
    check("writing to a clone leaves the matrix alone", list(matrix[0]) == digits.images[0])
    check("the rest of the clone is what was cloned", list(three[2]) == digits.images[2])


def reshape(stack: orvane.uint8, pixels: np.ndarray, digits: Digits) -> None:
    """Other dimensions for the same elements, in place; column by column, as they are stored."""
    heading("Reshaping in place")
    address, count = stack.buffer_info()
    stack.reshape(SIDE**2, len(digits.images))
    print(f"  the {count:,} pixels are now of size {stack.size}")
    columns_of_fifth = [pixel for column in pixels[:, :, 5].T.tolist() for pixel in column]
    check(
        "a column holds an image, column by column",
        [row[5] for row in stack] == columns_of_fifth,
    )
    check("no element has moved", stack.buffer_info() == (address, count))
    check("the earlier export keeps its dimensions", pixels.shape == (SIDE, SIDE, 1797))
    stack.reshape(pixels.shape)


def compare(stack: orvane.uint8) -> None:
    """Equality is that of type, nesting and elements."""
    heading("Comparing")
    other = orvane.uint8(memoryview(stack).tolist())
    check(f"{stack.buffer_info()[1]:,} elements are equal to a copy", stack == other)
    row = other[7][7]
    row[1796] = INK - row[1796]
    check("with one pixel inverted they are not", stack != other)
    check("types have to be the same", orvane.int16(other) != other)


def pickle_to_disk(matrix: orvane.double, output: Path) -> None:
    """To a file and back."""
    heading("Pickling to disk")
    output.mkdir(parents=True, exist_ok=True)
    file = output / "digits.pickle"
    file.write_bytes(pickle.dumps(matrix, protocol=pickle.HIGHEST_PROTOCOL))
    restored = pickle.loads(file.read_bytes())
    print(f"  {file} has {file.stat().st_size:,} bytes")
    check("what comes back is of the same type and size", type(restored) is type(matrix))
    check("and equal to what was written", restored.size == matrix.size and restored == matrix)


def principal_components(matrix: orvane.double, output: Path) -> None:
    """The digits' principal components, by the native module of examples/native_client.

    The matrix goes to LAPACK as it lies in memory, column by column, and the results come back as
    arrays.
    """
    heading("Principal components, computed natively")
    count = SIDE * SIDE
    arrays = spectral.principal_components(matrix, count)
    print(f"  arrays of size {', '.join(str(each.size) for each in arrays)}")
    data, means, components, scores = (np.asarray(each) for each in (matrix, *arrays))
    check("the components are orthonormal", np.allclose(components @ components.T, np.eye(count)))

    # What k components leave out is what the other singular values hold.
    centred = orvane.double(np.asfortranarray(data - means))
    energies = np.asarray(spectral.singular_values(centred)).ravel() ** 2
    restored, differences = {}, []
    for k in (1, 4, 16, 32, count):
        restored[k] = means + scores[:, :k] @ components[:k]
        error = np.linalg.norm(data - restored[k]) / np.linalg.norm(data - means)
        print(f"  reconstruction error with {k:2} of {count} components: {error:7.2%}")
        differences.append(abs(error - np.sqrt(energies[k:].sum() / energies.sum())))
    check("the singular values say the same of every error", max(differences) < 1e-7)

    def as_images(rows: np.ndarray) -> np.ndarray:
        return rows.reshape(-1, SIDE, SIDE).transpose(1, 2, 0)

    # Paper is the most negative weight, ink the most positive.
    weights = (components / np.abs(components).max(axis=1, keepdims=True) + 1) / 2 * INK
    shown = as_images(weights[:10])
    print("\n  The first five components:\n")
    print(side_by_side([as_text(shown[:, :, i].tolist()) for i in range(5)]))
    sheet = output / "components.png"
    digits = [data[:10], *(restored[k][:10] for k in (1, 4, 16, 32))]
    write_sheet(np.dstack([shown, *map(as_images, digits)]), sheet, columns=10)
    print(f"\n  {sheet}: ten components; ten digits; the same from 1, 4, 16 and 32 components")


def a_million_elements() -> None:
    """Subscripts, iteration and text at size: element (i, j, k) holds 10,000 i + 100 j + k."""
    heading("A million elements in three dimensions")
    side = 100
    numbers = array("d", range(side**3))
    started = time.perf_counter()
    cube = orvane.double(memoryview(numbers).cast("B").cast("d", (side, side, side)))
    print(f"  size {cube.size}")
    check(
        "chained subscripts give every 37th element its value",
        all(cube[n // side**2][n // side % side][n % side] == n for n in range(0, side**3, 37)),
    )
    iterated = [[list(row) for row in plane] for plane in cube]
    in_rows = [numbers[n : n + side].tolist() for n in range(0, side**3, side)]
    expected = [in_rows[n : n + side] for n in range(0, side**2, side)]
    check("iteration gives all of them in order", iterated == expected)
    text = str(cube)
    check("str() prints all of them, nested by index", json.loads(text) == expected)
    check("there is not a blank in it", " " not in text)
    check("repr() adds the name of the type", repr(cube) == f"orvane.double({text})")
    print(f"  {len(text):,} characters; all of this took {time.perf_counter() - started:.2f} s")


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--output", type=Path, default=Path("output"), help="where pictures go")
    output: Path = parser.parse_args().output

    digits = read_digits()
    print(f"orvane {orvane.__version__}: {len(digits.images):,} handwritten digits")
    stack = image_stack(digits)
    matrix = image_matrix(digits)
    single_images(stack, matrix, digits)
    pixels = export_to_numpy(stack, digits)
    draw(pixels, digits, output)
    change_through_a_view(matrix, digits)
    clone(matrix, digits)
    reshape(stack, pixels, digits)
    compare(stack)
    pickle_to_disk(matrix, output)
    a_million_elements()
    principal_components(matrix, output)
    print("\nEverything that was checked holds.")


if __name__ == "__main__":
    main()
