"""What the ranks tell each other before anything is sent: either they agree, or all of them raise.

MPI does not find out that two ranks mean different things: elements land in the wrong place, or
beyond the end of an array, or the program stands still. So each operation of all ranks begins with
a round in which every rank says in a few bytes what it gives and takes, or why it cannot.
"""

from __future__ import annotations

import pickle
from collections.abc import Iterator, Sequence
from contextlib import ExitStack, contextmanager
from operator import index
from typing import TYPE_CHECKING, Any, NamedTuple

from .blocks import Block, Form
from .engine import communicator, engine
from .waiting import VARIABLE, missing_ranks

if TYPE_CHECKING:
    from mpi4py.MPI import Comm as _Comm  # type: ignore[import-not-found, unused-ignore]

_ROOM = 160
"""Bytes from every rank in one round; whoever has more to say does so in a second one."""


class RankError(RuntimeError):
    """What the ranks want does not fit together, or one of them cannot do its part.

    In what all ranks do, it is raised on all of them, with the same words, and nothing has been
    sent. ``rank`` is the one that the words speak of.
    """

    def __init__(self, words: str, rank: int) -> None:
        super().__init__(words, rank)
        self.rank = rank

    def __str__(self) -> str:
        return str(self.args[0])


class Told(NamedTuple):
    """What one rank says."""

    operation: str
    settings: dict[str, int | str]
    given: Form | None = None
    taken: Form | None = None
    counts: tuple[int, ...] | None = None
    failure: str | None = None
    has_gaps: bool = False


class Meeting:
    """One operation of all ranks of a communicator.

        with Meeting("bcast", comm, root=root) as meeting:
            with meeting.agreed():
                ...  # look at the arguments, lend the arrays
            ...      # judge what was told, alike on all ranks
            meeting.make_room(forms)
            ...      # send

    What an array is lent for ends with it.
    """

    def __init__(self, operation: str, comm: _Comm | None, **settings: int) -> None:
        self.comm = communicator(comm)
        if self.comm.Is_inter():
            raise ValueError(f"{operation} is for a communicator of one group of ranks")
        self.operation = operation
        self.settings: dict[str, int | str] = {**settings}
        self.given: Block | None = None
        self.taken: Block | None = None
        self.counts: tuple[int, ...] | None = None
        self.told: list[Told] = []
        self.owned = ExitStack()

    def __enter__(self) -> Meeting:
        return self

    def __exit__(self, *error: object) -> None:
        self.owned.close()

    @property
    def root(self) -> int:
        return int(self.settings["root"])

    @property
    def is_root(self) -> bool:
        return bool(self.comm.rank == self.root)

    def give(self, array: Any) -> None:
        self.given = Block(array, self.owned)

    def take(self, array: Any) -> None:
        """Into the elements of this array, if there is one."""
        if array is not None:
            self.taken = Block(array, self.owned, is_written=True)

    @contextmanager
    def agreed(self) -> Iterator[None]:
        """A part of the operation that all ranks have to get through; then each knows of all.

        An exception inside is a RankError on every rank.
        """
        try:
            yield
            self._check_settings()
        except Exception as error:
            self._tell(f"{type(error).__name__}: {error}", error)
        else:
            self._tell()

    def make_room(self, forms: Sequence[Form | None]) -> None:
        """Has every rank take an array of its form: the one that it has named, else a new one."""
        for rank, (form, told) in enumerate(zip(forms, self.told, strict=True)):
            if form and told.taken and told.taken != form:
                raise self.refusal(rank, f"out is {told.taken}, what comes is {form}")
        if any(form and not told.taken for form, told in zip(forms, self.told, strict=True)):
            with self.agreed():
                mine = forms[self.comm.rank]
                if mine and not self.taken:
                    self.take(mine.make())

    def set_apart(self) -> None:
        if self.given and self.taken:
            self.given.set_apart(self.taken)

    def refusal(self, rank: int, words: str) -> RankError:
        return RankError(f"{self.operation}: rank {rank}: {words}", rank)

    def _check_settings(self) -> None:
        for name in ("root", "axis"):
            if name in self.settings:
                self.settings[name] = index(self.settings[name])  # type: ignore[arg-type]
        if "root" in self.settings and not 0 <= self.root < self.comm.size:
            raise ValueError(f"root is {self.root}, and there are {self.comm.size} ranks")

    def _tell(self, failure: str | None = None, cause: Exception | None = None) -> None:
        given = self.given.form if self.given else None
        taken = self.taken.form if self.taken else None
        settings = {} if failure else self.settings
        has_gaps = any(each.has_gaps for each in (self.given, self.taken) if each)
        told = Told(self.operation, settings, given, taken, self.counts, failure, has_gaps)
        self.told = exchange(self.comm, told)
        first = self.told[0]
        for rank, told in enumerate(self.told):
            if told.operation != first.operation:
                words = f"rank {rank} calls {told.operation}, rank 0 {first.operation}"
                raise RankError(words, rank) from cause
        for rank, told in enumerate(self.told):
            if told.failure:
                raise self.refusal(rank, told.failure) from cause
        for rank, told in enumerate(self.told):
            for name, value in told.settings.items():
                if value != first.settings[name]:
                    words = f"{name} is {value}, on rank 0 it is {first.settings[name]}"
                    raise self.refusal(rank, words)


def exchange(comm: Any, told: Told) -> list[Told]:
    """What all ranks say, by rank."""
    MPI = engine()  # noqa: N806
    record = pickle.dumps(tuple(map(_plain, told)))
    is_long = len(record) >= _ROOM
    sent = (b"\1" if is_long else b"\0" + record).ljust(_ROOM, b"\0")
    heard = bytearray(_ROOM * comm.size)
    messages = [sent, MPI.BYTE], [heard, MPI.BYTE]
    missing = missing_ranks(comm, *messages)
    if missing:
        ranks = f"rank{'s' * (len(missing) > 1)} {', '.join(map(str, missing))}"
        words = f"{told.operation}: no word from {ranks} within the time that {VARIABLE} gives"
        raise RankError(words, missing[0])
    records = [bytes(heard[at : at + _ROOM]) for at in range(0, len(heard), _ROOM)]
    if any(each[0] for each in records):
        more = comm.allgather(record if is_long else b"")
        records = [long or each[1:] for long, each in zip(more, records, strict=True)]
    else:
        records = [each[1:] for each in records]
    read = {each: _read(each) for each in set(records)}  # most say the same
    return [read[each] for each in records]


def _plain(value: Any) -> Any:
    return tuple(value) if isinstance(value, Form) else value


def _read(record: bytes) -> Told:
    operation, settings, given, taken, *others = pickle.loads(record)
    return Told(operation, settings, given and Form(*given), taken and Form(*taken), *others)
