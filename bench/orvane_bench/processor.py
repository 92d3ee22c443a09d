"""The processor: in words for who reads, and as a name for the folder of its figures."""

from __future__ import annotations

import platform
import re
from dataclasses import dataclass
from pathlib import Path

CACHES = Path("/sys/devices/system/cpu/cpu0/cache")
# What says nothing of the kind: marks, the frequency, the number of cores.
NOISE = re.compile(r"\((R|TM|C)\)|@.*|\b\d+-Core\b|\b(CPU|Processor)\b", re.IGNORECASE)


@dataclass(frozen=True)
class Processor:
    name: str
    """As the processor calls itself, with its family and model where that name says no model."""
    caches: str
    """Of one core: "32 KiB L1, 512 KiB L2, 32 MiB L3"; empty where the system does not tell."""

    @classmethod
    def here(cls) -> Processor:
        return cls(name_of(first_of_cpuinfo()), ", ".join(cache_sizes()))

    def __str__(self) -> str:
        return f"{self.name}, caches of {self.caches}" if self.caches else self.name

    @property
    def slug(self) -> str:
        return re.sub(r"[^a-z0-9]+", "-", self.name.lower()).strip("-")


def first_of_cpuinfo() -> dict[str, str]:
    first, _, _ = Path("/proc/cpuinfo").read_text().partition("\n\n")
    fields = (line.partition(":") for line in first.splitlines())
    return {key.strip(): value.strip() for key, _, value in fields}


def name_of(fields: dict[str, str]) -> str:
    if "model name" not in fields:  # not x86
        part = (fields.get(key, "") for key in ("CPU implementer", "CPU part"))
        return " ".join([platform.machine(), *part]).strip()
    name = " ".join(NOISE.sub(" ", fields["model name"]).split())
    if not re.search(r"\d", name):  # as virtual machines show it
        name += f" family {fields['cpu family']} model {fields['model']}"
    return name


def cache_sizes() -> list[str]:
    sizes = []
    for directory in sorted(CACHES.glob("index*")):
        level, kind, size = (
            (directory / field).read_text().strip() for field in ("level", "type", "size")
        )
        if kind != "Instruction":
            kibibytes = int(size.removesuffix("K"))
            whole = kibibytes % 1024 == 0
            sizes.append(
                f"{kibibytes // 1024} MiB L{level}" if whole else f"{kibibytes} KiB L{level}"
            )
    return sizes
