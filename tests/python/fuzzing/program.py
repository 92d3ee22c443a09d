"""One program: operations on a pool, told by a seed alone. Each operation draws by a chance of its
own, so that a program without some of its operations is still the same program."""

from . import hostile, native, operations
from .native import NativeJudge
from .threads import threads
from .values import Chance

WEIGHTS = operations.OPERATIONS | hostile.OPERATIONS | native.OPERATIONS


class Program(NativeJudge):
    present: "Program"

    def __init__(self, seed: int) -> None:
        super().__init__()
        chance = Chance(seed)
        self.seed, self.length = seed, chance.randint(8, 60)
        self.has_threads = chance.random() < 0.06
        self.weights = WEIGHTS | {threads: 1} if self.has_threads else WEIGHTS
        self.trail: list[str] = []
        Program.present = self

    def step(self, number: int) -> None:
        self.chance = Chance(self.seed * 1009 + number)
        (operation,) = self.chance.choices(list(self.weights), list(self.weights.values()))
        self.trail.append(f"{number}: {operation.__module__}.{operation.__name__}")
        operation(self)
        self.check()


def run(seed: int, operations: list[int] | None = None) -> None:
    """A program, or only some of its operations."""
    program = Program(seed)
    for number in range(program.length) if operations is None else operations:
        program.step(number)
    program.close()
